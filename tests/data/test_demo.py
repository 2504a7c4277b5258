"""The demo installation and the benchmark generator: files and the shape of Part 1.1."""

from __future__ import annotations

import datetime
import importlib.util
import os
import sqlite3
import time
from collections.abc import Iterator
from pathlib import Path
from types import ModuleType

import pytest

import varemo_contas
from varemo_contas.data import demo

TODAY = datetime.date(2026, 3, 31)
SPECIAL = {
    ("Receitas Clientes", "Vendas Produtos"): False,
    ("Receitas Clientes", "Vendas Insumos"): True,
    ("Despesas Fornecedores", "Fornecedores Produtos"): False,
    ("Despesas Fornecedores", "Fornecedores Insumos"): True,
}
RESOURCES = Path(varemo_contas.__file__).resolve().parent / "resources"


def _load_generator() -> ModuleType:
    path = Path(__file__).resolve().parents[2] / "bench" / "generate.py"
    spec = importlib.util.spec_from_file_location("bench_generate", path)
    assert spec is not None and spec.loader is not None
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


@pytest.fixture(scope="module")
def installation(tmp_path_factory: pytest.TempPathFactory) -> tuple[Path, str]:
    folder = tmp_path_factory.mktemp("demo")
    return folder, demo.build_demo(str(folder), today=TODAY)


@pytest.fixture(scope="module")
def generated(tmp_path_factory: pytest.TempPathFactory) -> str:
    path = str(tmp_path_factory.mktemp("bench") / "gerado.mdb")
    _load_generator().generate_company(path, items=500, lines=5000, seed=1, end=TODAY)
    return path


def _connect(path: str) -> sqlite3.Connection:
    return sqlite3.connect(f"file:{path}?mode=ro", uri=True)


@pytest.fixture
def demo_db(installation: tuple[Path, str]) -> Iterator[sqlite3.Connection]:
    connection = _connect(str(installation[0] / "empresa" / "Dados" / "empresa.mdb"))
    yield connection
    connection.close()


@pytest.fixture(params=["demo", "gerado"])
def company(
    request: pytest.FixtureRequest, installation: tuple[Path, str], generated: str
) -> Iterator[sqlite3.Connection]:
    """Both databases must have the same shape."""
    if request.param == "demo":
        path = str(installation[0] / "empresa" / "Dados" / "empresa.mdb")
    else:
        path = generated
    connection = _connect(path)
    yield connection
    connection.close()


def _paths(connection: sqlite3.Connection) -> dict[tuple[int, int], tuple[str, ...]]:
    """(level, Codigo) -> names from the Categoria down."""
    paths: dict[tuple[int, int], tuple[str, ...]] = {}
    for code, name in connection.execute("SELECT Codigo, Nome FROM NivelCategoria0"):
        paths[(0, code)] = (name,)
    for level in range(1, 5):
        query = f"SELECT Codigo, Nome, CodigoCategoria{level - 1} FROM NivelCategoria{level}"
        for code, name, parent in connection.execute(query):
            paths[(level, code)] = (*paths[(level - 1, parent)], name)
    return paths


# --- the installation ------------------------------------------------------------------


def test_installation_files(installation: tuple[Path, str]) -> None:
    folder, program = installation
    assert program == str(folder / "programa") + os.sep
    data = Path(program, "Caminho.dad").read_text(encoding="utf-8").splitlines()[0]
    assert data == str(folder / "empresa") + os.sep
    assert os.path.isabs(data)
    # Part 1.2: the data folder is a plain prefix.
    assert os.path.isfile(data + "Empresa.ini")
    assert demo.COMPANY in Path(data + "Empresa.ini").read_text(encoding="utf-8")
    assert os.path.isfile(os.path.join(data + "Dados", "empresa.mdb"))
    assert os.path.isdir(data + "Imagens")
    for name in ("Sons", "Ajuda"):
        source = RESOURCES / name
        if source.is_dir():
            expected = {p.relative_to(source) for p in source.rglob("*")}
            copied = {p.relative_to(Path(program, name)) for p in Path(program, name).rglob("*")}
            assert expected <= copied


def test_build_is_reused_unless_rebuilt(tmp_path: Path) -> None:
    started = time.perf_counter()
    program = demo.build_demo(str(tmp_path / "x"), today=TODAY)
    assert time.perf_counter() - started < 3
    database = tmp_path / "x" / "empresa" / "Dados" / "empresa.mdb"
    with sqlite3.connect(database) as connection:
        connection.execute("UPDATE DadosEmpresa SET Nome = 'Alterado'")
    connection.close()

    assert demo.build_demo(str(tmp_path / "x")) == program
    with _connect(str(database)) as connection:
        assert connection.execute("SELECT Nome FROM DadosEmpresa").fetchone() == ("Alterado",)
    connection.close()

    assert demo.build_demo(str(tmp_path / "x"), rebuild=True, today=TODAY) == program
    with _connect(str(database)) as connection:
        assert connection.execute("SELECT Nome FROM DadosEmpresa").fetchone() == (demo.COMPANY,)
    connection.close()
    assert not os.path.exists(str(database) + ".novo")


def test_demo_is_deterministic_for_a_date(tmp_path: Path, demo_db: sqlite3.Connection) -> None:
    demo.build_demo(str(tmp_path), today=TODAY)
    other = _connect(str(tmp_path / "empresa" / "Dados" / "empresa.mdb"))
    try:
        for table in ("NivelCategoria4", "Produtos", "Venda", "CompraProdutos", "RelatorioItens"):
            query = f"SELECT * FROM {table} ORDER BY rowid"
            assert other.execute(query).fetchall() == demo_db.execute(query).fetchall()
    finally:
        other.close()


def test_company_record(demo_db: sqlite3.Connection) -> None:
    rows = demo_db.execute(
        "SELECT Nome, Morto, InicioSemana, RetroAtivo, Cnpj, Endereco, Cidade, Uf, Telefone "
        "FROM DadosEmpresa"
    ).fetchall()
    assert len(rows) == 1
    nome, morto, inicio, retro, *rest = rows[0]
    assert (nome, morto, inicio, retro) == ("Padaria e Confeitaria Pão Dourado Ltda", 0, 1, 0)
    assert all(rest)


def test_demo_sizes(demo_db: sqlite3.Connection) -> None:
    def count(sql: str) -> int:
        return demo_db.execute(sql).fetchone()[0]

    assert 250 <= count("SELECT COUNT(*) FROM NivelCategoria4") <= 400
    lines = count("SELECT COUNT(*) FROM VendaProdutos") + count(
        "SELECT COUNT(*) FROM CompraProdutos"
    )
    assert 10_000 <= lines <= 30_000
    goods = count("SELECT COUNT(*) FROM Linhas WHERE Insumo = 0")
    raw = count("SELECT COUNT(*) FROM Linhas WHERE Insumo = 1")
    assert 8 <= goods <= 10 and 4 <= raw <= 5
    sizes = [
        size
        for (size,) in demo_db.execute(
            "SELECT COUNT(Produtos.CodigoProduto) FROM Linhas LEFT JOIN Produtos "
            "ON Produtos.CodigoLinha = Linhas.CodigoLinha GROUP BY Linhas.CodigoLinha"
        )
    ]
    assert sizes.count(0) == 1
    assert all(5 <= size <= 20 for size in sizes if size)


def test_demo_movements_span_the_year_before_the_build(demo_db: sqlite3.Connection) -> None:
    for table in ("Venda", "Compra"):
        first, last = demo_db.execute(
            f"SELECT MIN(DataDocumento), MAX(DataDocumento) FROM {table}"
        ).fetchone()
        assert datetime.date.fromisoformat(last) <= TODAY
        assert datetime.date.fromisoformat(first) >= TODAY - datetime.timedelta(days=365)
        assert (TODAY - datetime.date.fromisoformat(first)).days > 330
    quotes, total = demo_db.execute("SELECT SUM(Venda = 0), COUNT(*) FROM Venda").fetchone()
    assert 0.05 <= quotes / total <= 0.15


def test_demo_prices_are_reais(demo_db: sqlite3.Connection) -> None:
    for table in ("VendaProdutos", "CompraProdutos"):
        low, high = demo_db.execute(
            f"SELECT MIN(PrecoUnit), MAX(PrecoUnit) FROM {table}"
        ).fetchone()
        assert low > 0 and high < 20_000
        assert demo_db.execute(
            f"SELECT COUNT(*) FROM {table} "
            "WHERE ROUND(PrecoUnit, 2) <> PrecoUnit OR QdeComprada <= 0"
        ).fetchone() == (0,)


def test_demo_reports(demo_db: sqlite3.Connection) -> None:
    names = {name for (name,) in demo_db.execute("SELECT NomeRelatorio FROM Relatorios")}
    assert names == {"Resultado Mensal", "Despesas Fixas"}
    stored = demo_db.execute(
        "SELECT Imagem, COUNT(*) FROM RelatorioItens INNER JOIN Relatorios "
        "ON Relatorios.CodigoRelatorio = RelatorioItens.CodigoRelatorio "
        "WHERE NomeRelatorio = 'Despesas Fixas' GROUP BY Imagem"
    ).fetchall()
    assert {imagem for imagem, _ in stored} == {2, 3}


# --- the shape, for the demo and the generated database -----------------------------


def test_categories(company: sqlite3.Connection) -> None:
    rows = company.execute("SELECT Codigo, Nome FROM NivelCategoria0 ORDER BY Codigo").fetchall()
    assert rows == [(1, "Receitas"), (2, "Despesas")]


def test_every_parent_exists(company: sqlite3.Connection) -> None:
    for level in range(1, 5):
        orphans = company.execute(
            f"SELECT COUNT(*) FROM NivelCategoria{level} WHERE CodigoCategoria{level - 1} "
            f"NOT IN (SELECT Codigo FROM NivelCategoria{level - 1})"
        ).fetchone()
        assert orphans == (0,)
    assert company.execute(
        "SELECT COUNT(*) FROM Produtos WHERE CodigoLinha NOT IN (SELECT CodigoLinha FROM Linhas)"
    ).fetchone() == (0,)


def test_no_duplicate_names_within_a_parent(company: sqlite3.Connection) -> None:
    # Part 2.5 looks duplicates up by name within the parent, as Jet compares: case-insensitive.
    paths = _paths(company)
    lowered = [tuple(name.lower() for name in path) for path in paths.values()]
    assert len(set(lowered)) == len(lowered)
    lines = [name.lower() for (name,) in company.execute("SELECT NomeLinha FROM Linhas")]
    assert len(set(lines)) == len(lines)
    products = company.execute("SELECT CodigoLinha, LOWER(NomeProduto) FROM Produtos").fetchall()
    assert len(set(products)) == len(products)


def test_no_name_holds_an_apostrophe(company: sqlite3.Connection) -> None:
    # Part 1.1: a name with an apostrophe breaks the quoted SQL; the data must not hold one.
    names = [path[-1] for path in _paths(company).values()]
    names += [n for (n,) in company.execute("SELECT NomeLinha FROM Linhas")]
    names += [n for (n,) in company.execute("SELECT NomeProduto FROM Produtos")]
    assert not [name for name in names if "'" in name]


def test_special_groups_mirror_lines_and_products(company: sqlite3.Connection) -> None:
    paths = _paths(company)
    groups = [path for (level, _), path in paths.items() if level == 2]
    for (sector, group), insumo in SPECIAL.items():
        # Exact, case-sensitive names (Part 1.1), each once.
        assert len([p for p in groups if p[1:] == (sector, group)]) == 1
        lines = {
            name: code
            for code, name in company.execute(
                "SELECT CodigoLinha, NomeLinha FROM Linhas WHERE Insumo = ?", (int(insumo),)
            )
        }
        contas = {
            p[3] for (level, _), p in paths.items() if level == 3 and p[1:3] == (sector, group)
        }
        assert contas == set(lines)
        for name, code in lines.items():
            products = {
                n
                for (n,) in company.execute(
                    "SELECT NomeProduto FROM Produtos WHERE CodigoLinha = ?", (code,)
                )
            }
            items = {
                p[4]
                for (level, _), p in paths.items()
                if level == 4 and p[1:4] == (sector, group, name)
            }
            assert items == products


def test_a_line_without_products(company: sqlite3.Connection) -> None:
    empty = company.execute(
        "SELECT NomeLinha FROM Linhas WHERE CodigoLinha NOT IN (SELECT CodigoLinha FROM Produtos)"
    ).fetchall()
    assert len(empty) == 1


def test_travado_has_all_three_states(company: sqlite3.Connection) -> None:
    for level in (1, 2):
        states = {t for (t,) in company.execute(f"SELECT Travado FROM NivelCategoria{level}")}
        assert states == {None, 0, 1}
    locked = {
        n for (n,) in company.execute("SELECT Nome FROM NivelCategoria1 WHERE Travado = 1")
    } | {n for (n,) in company.execute("SELECT Nome FROM NivelCategoria2 WHERE Travado = 1")}
    assert {"Receitas Clientes", "Despesas Fornecedores", "Fornecedores Produtos"} <= locked


def test_product_linked_items(company: sqlite3.Connection) -> None:
    paths = _paths(company)
    product = {
        code: (line, name)
        for code, line, name in company.execute(
            "SELECT CodigoProduto, NomeLinha, NomeProduto FROM Produtos "
            "INNER JOIN Linhas ON Linhas.CodigoLinha = Produtos.CodigoLinha"
        )
    }
    linked = unlinked = 0
    for code, produto in company.execute("SELECT Codigo, CodigoProduto FROM NivelCategoria4"):
        path = paths[(4, code)]
        if path[1:3] in SPECIAL:
            if produto:
                linked += 1
                assert product[produto] == (path[3], path[4])
            else:
                unlinked += 1
        else:
            assert produto == 0
    assert linked > unlinked > 0
    assert company.execute("SELECT COUNT(*) FROM NivelCategoria4 WHERE Marca <> 0").fetchone() == (
        0,
    )
    assert company.execute("SELECT COUNT(*) FROM Procura").fetchone() == (0,)


@pytest.mark.parametrize(
    ("table", "documents", "category"),
    [("VendaProdutos", "Venda", "Receitas"), ("CompraProdutos", "Compra", "Despesas")],
)
def test_movement_lines_point_at_products_and_items(
    company: sqlite3.Connection, table: str, documents: str, category: str
) -> None:
    paths = _paths(company)
    sector_of = {}
    for (level, code), path in paths.items():
        if level == 4:
            sector_of[code] = next(c for (lv, c), p in paths.items() if lv == 1 and p == path[:2])
    line_of = dict(company.execute("SELECT CodigoProduto, CodigoLinha FROM Produtos"))
    kinds = set()
    rows = company.execute(f"SELECT Codigo, CodigoProduto, CodigoSetor, Produto FROM {table}")
    codes = {c for (c,) in company.execute(f"SELECT Codigo FROM {documents}")}
    for document, produto, setor, flag in rows:
        assert document in codes
        kinds.add(flag)
        if flag:
            assert line_of[produto] == setor
        else:
            # Part 1.1: an ordinary item of the right category, with its level-1 sector.
            path = paths[(4, produto)]
            assert path[0] == category and path[1:3] not in SPECIAL
            assert sector_of[produto] == setor
    assert kinds == {0, 1}
    quotes = company.execute("SELECT COUNT(*) FROM Venda WHERE Venda = 0").fetchone()[0]
    assert quotes > 0
    text = company.execute(f"SELECT DataDocumento FROM {documents} LIMIT 1").fetchone()[0]
    assert datetime.date.fromisoformat(text).isoformat() == text


def test_saved_reports_follow_the_check_rules(company: sqlite3.Connection) -> None:
    paths = _paths(company)
    children: dict[tuple[str, ...], list[tuple[int, int]]] = {}
    node_of = {path: node for node, path in paths.items()}
    for node, path in paths.items():
        children.setdefault(path[:-1], []).append(node)
    reports = [c for (c,) in company.execute("SELECT CodigoRelatorio FROM Relatorios")]
    assert len(reports) >= 2
    for report in reports:
        rows = company.execute(
            "SELECT Nivel, CodigoConta, Imagem FROM RelatorioItens WHERE CodigoRelatorio = ?",
            (report,),
        ).fetchall()
        assert rows
        stored = {}
        for nivel, code, imagem in rows:
            assert nivel in {"N0", "N1", "N2", "N3", "N4"} and imagem in (2, 3)
            node = (int(nivel[1]), code)
            assert node in paths and node not in stored
            stored[node] = imagem
        for node, imagem in stored.items():
            path = paths[node]
            if len(path) > 1:
                assert node_of[path[:-1]] in stored  # an ancestor of a chosen node is marked
            kids = [stored.get(child, 0) for child in children.get(path, [])]
            if imagem == 3:
                assert all(kid == 3 for kid in kids)
            else:
                assert any(kids) and not all(kid == 3 for kid in kids)


# --- the generator ---------------------------------------------------------------------


def test_generator_counts(generated: str) -> None:
    connection = _connect(generated)
    try:

        def count(table: str) -> int:
            return connection.execute(f"SELECT COUNT(*) FROM {table}").fetchone()[0]

        assert count("NivelCategoria4") == 500
        assert count("VendaProdutos") + count("CompraProdutos") == 5000
        assert count("VendaProdutos") > count("CompraProdutos") > 0
        special = count("Produtos") * 2
        assert 0 < special < 500
    finally:
        connection.close()


def test_generator_replaces_a_file_and_scales(tmp_path: Path) -> None:
    generator = _load_generator()
    path = tmp_path / "g.mdb"
    path.write_bytes(b"lixo")
    generator.generate_company(str(path), items=2000, lines=100, seed=3, end=TODAY)
    connection = _connect(str(path))
    try:
        assert connection.execute("SELECT COUNT(*) FROM NivelCategoria4").fetchone() == (2000,)
        assert connection.execute("SELECT COUNT(*) FROM VendaProdutos").fetchone() == (60,)
    finally:
        connection.close()
    with pytest.raises(ValueError):
        generator.generate_company(str(path), items=3, lines=10)
