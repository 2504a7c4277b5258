"""Fixtures of the search tests (Part 3.1): a state on the seeded company, marks read back."""

from __future__ import annotations

import os
from collections.abc import Callable, Iterator
from pathlib import Path

import pytest

from varemo_contas.app.state import State
from varemo_contas.data.dao import Database

# Rows the search tests add to the seeded company (tests/conftest.py SEED_SQL):
# an item whose own name and Setor both hold "Receitas" (Part 3.1, "Qualquer campo"),
# names for the text comparisons ("B" is greater than "Ab"), names holding "ab" in any case,
# and an item whose Conta is missing, so that its ancestors' names are Null in the chain.
EXTRA_SQL = """
INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3, CodigoProduto, Marca) VALUES
    (10, 'Receitas de CDB', 7, 0, 0),
    (11, 'Ab', 6, 0, 0),
    (12, 'B', 6, 0, 0),
    (13, 'aB', 6, 0, 0),
    (14, 'Tabela de preços', 5, 0, 0),
    (15, 'CABO de rede', 5, 0, 0),
    (16, 'Item sem conta', 99, 0, 0);
"""


@pytest.fixture
def search_db(seeded_path: str) -> Iterator[Database]:
    import sqlite3

    connection = sqlite3.connect(seeded_path)
    connection.executescript(EXTRA_SQL)
    connection.commit()
    connection.close()
    database = Database.open(seeded_path)
    yield database
    database.close()


@pytest.fixture
def data_folder(tmp_path: Path) -> Path:
    folder = tmp_path / "empresa"
    (folder / "Dados").mkdir(parents=True)
    return folder


@pytest.fixture
def state(search_db: Database, data_folder: Path) -> State:
    return State(database=search_db, data_folder=str(data_folder) + os.sep, user_name="teste")


@pytest.fixture
def marked(search_db: Database) -> Callable[[], set[int]]:
    """`marked()`: the codes of the items with `NivelCategoria4.Marca` = True."""

    def _read() -> set[int]:
        cursor = search_db.connection.execute("SELECT Codigo FROM NivelCategoria4 WHERE Marca")
        return {row[0] for row in cursor}

    return _read


@pytest.fixture
def procura(search_db: Database) -> Callable[[], list[tuple]]:
    """`procura()`: the rows of `Procura` as (Codigo, Marca, Marca1 .. Marca5), by code."""

    def _read() -> list[tuple]:
        cursor = search_db.connection.execute(
            "SELECT Codigo, Marca, Marca1, Marca2, Marca3, Marca4, Marca5 FROM Procura "
            "ORDER BY Codigo, rowid"
        )
        return [tuple(int(value) for value in row) for row in cursor]

    return _read


@pytest.fixture
def jet_texts(search_db: Database, monkeypatch: pytest.MonkeyPatch) -> list[str]:
    """The Jet texts sent to the database from now on (executed or opened), in order."""
    sent: list[str] = []
    execute, open_recordset = search_db.execute, search_db.open_recordset

    def _execute(statement: str) -> int:
        sent.append(statement)
        return execute(statement)

    def _open(source: str, *args: object, **kwargs: object):
        sent.append(source)
        return open_recordset(source, *args, **kwargs)

    monkeypatch.setattr(search_db, "execute", _execute)
    monkeypatch.setattr(search_db, "open_recordset", _open)
    return sent


@pytest.fixture
def error_log(data_folder: Path) -> Callable[[], str]:
    """The shared error log as text, empty when nothing was logged."""

    def _read() -> str:
        path = data_folder / "Dados" / "Erros.txt"
        return path.read_bytes().decode("cp1252") if path.exists() else ""

    return _read
