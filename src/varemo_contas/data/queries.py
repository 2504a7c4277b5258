"""The statement texts the Parts share, joined from the spec's literal pieces in order."""

from __future__ import annotations

# Part 1.1 / 2.5 / 4.1: the left joins of the ancestor chain, from level 3 up to level 0.
JOIN_PIECES = {
    4: "LEFT JOIN NivelCategoria3 ON NivelCategoria3.Codigo = NivelCategoria4.CodigoCategoria3) ",
    3: "LEFT JOIN NivelCategoria2 ON NivelCategoria2.Codigo = NivelCategoria3.CodigoCategoria2) ",
    2: "LEFT JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1) ",
    1: "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) ",
}
ORDER_PIECES = {
    1: "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome;",
    2: "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome;",
    3: "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome, "
    "NivelCategoria3.Nome;",
    # The blank before the semicolon is the spec's and is kept (Part 1.1).
    4: "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome, "
    "NivelCategoria3.Nome, NivelCategoria4.Nome ;",
}
RELOCATION_PREFIX = {level: f"NivelCategoria{level}.Codigo = " for level in range(1, 5)}
LEVEL_NAMES = ("Categoria", "Setor", "Grupo", "Conta", "Item")


def chain_head(level: int) -> str:
    """ "SELECT * FROM ((((NivelCategoria4 " and its shorter forms."""
    return "SELECT * FROM " + "(" * level + f"NivelCategoria{level} "


def chain_joins(level: int) -> str:
    return "".join(JOIN_PIECES[k] for k in range(level, 0, -1))


def joined_level(level: int, where: str = "") -> str:
    """The joined level query of Parts 1.1, 2.5 and 4.1, with an optional WHERE piece."""
    return chain_head(level) + chain_joins(level) + where + ORDER_PIECES[level]


def children_of(level: int, parent_code: int, order: str = " ORDER BY Nome") -> str:
    """Part 2.1: the rows of `level` under one parent ("SELECT * FROM NivelCategoria1 ...")."""
    if level == 0:
        return "SELECT * FROM NivelCategoria0" + order
    return (
        f"SELECT * FROM NivelCategoria{level} WHERE CodigoCategoria{level - 1} = "
        + str(parent_code)
        + order
    )


def name_criteria(level: int, name: str, parent_code: int | None = None) -> str:
    """Part 2.5: "Nome = '" + name + "'" or with the parent piece of its level."""
    if level == 0 or parent_code is None:
        return "Nome = '" + name + "'"
    return "Nome = '" + name + f"' AND CodigoCategoria{level - 1} = " + str(parent_code)


def code_criteria(code: int) -> str:
    return "Codigo = " + str(code)


LINES_AND_PRODUCTS = (
    "SELECT Linhas.CodigoLinha, Linhas.NomeLinha, Linhas.Insumo, Produtos.* "
    + "FROM Linhas INNER JOIN Produtos ON Linhas.CodigoLinha = Produtos.CodigoLinha "
    + " ORDER BY Linhas.Insumo, Linhas.NomeLinha, Produtos.NomeProduto;"
)
PURCHASED_ITEMS = (
    "SELECT CompraProdutos.CodigoProduto, CompraProdutos.Produto "
    + "FROM CompraProdutos WHERE Produto = False; "
)
