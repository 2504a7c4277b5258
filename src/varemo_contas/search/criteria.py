"""Part 3.1: the search's choices, help text and SQL texts, and the numbering of criteria.

Pure rules, no widgets: every statement is joined from the Part's literal pieces in their
order (the level marker from the shared level-4 chain of Part 1.1), and `plan_search` turns
the five criteria rows into numbered criteria and the links that combine them. The bulk
marking statement that the product runs in place of the row-by-row markers is derived from
the markers' own texts, so the same WHERE conditions run (see `bulk_marking_sql`).
"""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass

from varemo_contas.data import queries

CAPTION = "Critérios do Filtro de Procura - Plano de Contas"

# --- the `Campo` choices and the levels whose names they compare ------------------------

QUALQUER_CAMPO = "Qualquer campo"
CAMPOS = (QUALQUER_CAMPO, "Categoria", "Setor", "Grupo", "Conta", "Item")
CAMPO_NIVEL = {"Categoria": 0, "Setor": 1, "Grupo": 2, "Conta": 3, "Item": 4}
# Part 3.1 step 1: "Qualquer campo" runs the markers for Item, Conta, Grupo, Setor, Categoria.
QUALQUER_CAMPO_NIVEIS = (4, 3, 2, 1, 0)

# --- the `Criterio` choices and their SQL operators -------------------------------------

CRITERIOS = ("contenha", "não contenha", "seja maior que", "seja menor que", "seja igual a")
OPERADORES = {
    "contenha": "Like",
    "não contenha": "Not Like",
    "seja maior que": ">",
    "seja menor que": "<",
    "seja igual a": "=",
}

# --- the `Chave` link captions -----------------------------------------------------------

E_O = "e o"
OU = "ou"
LIGACOES = {E_O: " AND ", OU: " OR "}

# --- the help text of `Selecao`, joined from the Part's pieces in order ------------------

SELECAO = (
    "  Para filtrar registros, deve-se escolher os campos, "
    + "os critérios e preencher os conteúdos."
    + "  Quando se escolhe mais de um critério, deve-se "
    + "também escolher se são critérios alternativos (ou), "
    + "ou se são união de critérios (e o).  Para isso basta "
    + "clicar sobre o box (ou) ou (e o) e alterna-se o tipo "
    + "ligação entre critérios."
)

# --- preparation (Part 3.1, each time the window is brought up) -------------------------

LIMPA_MARCAS = "UPDATE NivelCategoria4 SET Marca = False " + "WHERE Marca = True;"
APAGA_PROCURA = "DELETE * FROM Procura;"
ENCHE_PROCURA = "INSERT INTO Procura SELECT Codigo FROM NivelCategoria4;"
PREPARACAO = (LIMPA_MARCAS, APAGA_PROCURA, ENCHE_PROCURA)
ABRE_PROCURA = "SELECT * FROM Procura;"
# Step 4: the full item path of Part 1.1, the level-4 chain ordered by the five names.
CAMINHO_ITENS = queries.joined_level(4)

# --- the search's closing statements (steps 4 to 6) --------------------------------------

COMBINA_INICIO = "UPDATE Procura SET Marca = TRUE WHERE " + "Marca1 = True "
MARCA_ITENS = (
    "UPDATE NivelCategoria4, Procura SET NivelCategoria4.Marca = TRUE "
    "WHERE (Procura.Marca = TRUE) AND NivelCategoria4.Codigo = Procura.Codigo;"
)
CONTA_ITENS = "SELECT COUNT(*) AS Items FROM NivelCategoria4 WHERE Marca = True"
CAMPO_CONTAGEM = "Items"

# The level-4 chain without ORDER BY: the FROM of every level marker (Part 3.1).
_MARKER_HEAD = queries.chain_head(4) + queries.chain_joins(4)
_SELECT_ALL_FROM = "SELECT * FROM "


def operator_for(criterio: str) -> str:
    """The SQL operator of a `Criterio` choice (Part 3.1's table)."""
    try:
        return OPERADORES[criterio]
    except KeyError:
        raise ValueError(f"critério desconhecido: {criterio!r}") from None


def levels_for(campo: str) -> tuple[int, ...]:
    """The levels whose names a `Campo` choice compares, in the order their markers run."""
    if campo == QUALQUER_CAMPO:
        return QUALQUER_CAMPO_NIVEIS
    try:
        return (CAMPO_NIVEL[campo],)
    except KeyError:
        raise ValueError(f"campo desconhecido: {campo!r}") from None


def other_link(caption: str) -> str:
    """A click on `Chave` switches "e o" and "ou"."""
    return OU if caption == E_O else E_O


def link_sql(caption: str) -> str:
    """ "e o" is written " AND ", "ou" " OR " in the combining statement."""
    try:
        return LIGACOES[caption]
    except KeyError:
        raise ValueError(f"ligação desconhecida: {caption!r}") from None


def marker_value(operator: str, content: str) -> str:
    """The content as typed, with stars around it when the operator contains "Like"."""
    return "*" + content + "*" if "Like" in operator else content


def marker_sql(level: int, operator: str, content: str) -> str:
    """The level marker's SELECT: the level-4 chain, no ORDER BY, and the one WHERE."""
    return (
        _MARKER_HEAD
        + f"WHERE NivelCategoria{level}.Nome "
        + operator
        + " '"
        + marker_value(operator, content)
        + "';"
    )


def mark_column(number: int) -> str:
    """ "Marca1" to "Marca5": the `Procura` column of criterion `number`."""
    return "Marca" + str(number)


def procura_criteria(codigo: object) -> str:
    """The find on the `Procura` recordset: "Codigo = " + the item's code."""
    return "Codigo = " + str(codigo)


def combining_sql(links: Sequence[str], count: int) -> str:
    """Step 4: "Marca1 = True " then link k-1 + "Marca" + k + " = True" for k = 2 .. count."""
    sql = COMBINA_INICIO
    for k in range(2, count + 1):
        sql += links[k - 2] + mark_column(k) + " = True"
    return sql


# --- numbering the rows ------------------------------------------------------------------

Row = tuple[str, str, str, str]  # (campo, criterio, conteudo, chave) of one criteria row


@dataclass(frozen=True)
class Criterion:
    """One filled row, numbered among the filled rows (1, 2, 3 ... without gaps)."""

    number: int
    campo: str
    operator: str
    content: str

    @property
    def levels(self) -> tuple[int, ...]:
        return levels_for(self.campo)

    @property
    def markers(self) -> tuple[str, ...]:
        """The level markers' SELECT texts, in the order they run."""
        return tuple(marker_sql(level, self.operator, self.content) for level in self.levels)

    @property
    def plain(self) -> bool:
        """True when the content stays inside its quotes: no apostrophe can end them early."""
        return "'" not in self.content


@dataclass(frozen=True)
class SearchPlan:
    """The numbered criteria and the links collected for them (Part 3.1 steps 1 and 3)."""

    criteria: tuple[Criterion, ...]
    links: tuple[str, ...]

    @property
    def combining_sql(self) -> str:
        return combining_sql(self.links, len(self.criteria))


def is_filled(content: str) -> bool:
    """A row counts when its content, trimmed, is not empty."""
    return content.strip() != ""


def plan_search(rows: Sequence[Row]) -> SearchPlan:
    """Number the filled rows and collect the links of the filled rows from the second on."""
    criteria: list[Criterion] = []
    for campo, criterio, conteudo, _chave in rows:
        if not is_filled(conteudo):
            continue  # an empty row takes no number and no link
        levels_for(campo)  # an unknown choice is our defect: fail before any marker runs
        criteria.append(Criterion(len(criteria) + 1, campo, operator_for(criterio), conteudo))
    # Step 3: from the second row on, every filled row gives its link, in row order.
    links = tuple(link_sql(row[3]) for row in rows[1:] if is_filled(row[2]))
    return SearchPlan(tuple(criteria), links)


# --- the bulk marking statement derived from the markers -----------------------------------


def split_marker(marker: str) -> tuple[str, str]:
    """A level marker's (FROM source, WHERE condition), cut out of the marker's own text."""
    if not marker.startswith(_MARKER_HEAD + "WHERE ") or not marker.endswith(";"):
        raise ValueError(f"não é um marcador de nível: {marker!r}")
    source = marker[len(_SELECT_ALL_FROM) : len(_MARKER_HEAD)]
    condition = marker[len(_MARKER_HEAD) + len("WHERE ") : -1]
    return source, condition


def bulk_marking_sql(criteria: Sequence[Criterion]) -> str:
    """One UPDATE of `Procura` giving the marks that the criteria's markers give row by row.

    Each criterion's column becomes True on the items for which any of its markers' WHERE
    conditions holds (a condition that is Null, as on a missing ancestor, does not hold),
    evaluated over the same level-4 chain in one pass. Marks are only ever set, never
    cleared, as the row-by-row markers do. Only for criteria whose content is `plain`:
    there each condition is one comparison whose value cannot leave its quotes.
    """
    source = ""
    columns, assignments, hits = [], [], []
    for criterion in criteria:
        conditions = []
        for marker in criterion.markers:
            source, condition = split_marker(marker)
            conditions.append("(" + condition + ")")
        name = f"M{criterion.number}"
        column = mark_column(criterion.number)
        columns.append("(" + " OR ".join(conditions) + ") IS TRUE AS " + name)
        assignments.append(f"{column} = ({column} OR M.{name})")
        hits.append("M." + name)
    return (
        "UPDATE Procura SET "
        + ", ".join(assignments)
        + " FROM (SELECT NivelCategoria4.Codigo AS C, "
        + ", ".join(columns)
        + " FROM "
        + source
        + ") AS M WHERE Procura.Codigo = M.C AND ("
        + " OR ".join(hits)
        + ");"
    )
