"""Part 1.1 / DESIGN.md: the DAO semantics the Parts rely on."""

from __future__ import annotations

import os
import sqlite3

import pytest

from varemo_contas.data.dao import Database, RecordsetType
from varemo_contas.data.errors import JetError


def test_open_missing_file_is_jet_error_3024(tmp_path):
    with pytest.raises(JetError) as info:
        Database.open(str(tmp_path / "nada.mdb"))
    assert info.value.number == 3024
    assert not (tmp_path / "nada.mdb").exists()


def test_open_garbage_bytes_is_jet_error_3049(tmp_path):
    path = tmp_path / "empresa.mdb"
    path.write_bytes(b"Standard Jet DB\x00" + os.urandom(4000))
    with pytest.raises(JetError) as info:
        Database.open(str(path))
    assert info.value.number == 3049


def test_open_empty_file_is_not_a_database(tmp_path):
    path = tmp_path / "empresa.mdb"
    path.write_bytes(b"")
    with pytest.raises(JetError) as info:
        Database.open(str(path))
    assert info.value.number == 3049


def test_new_recordset_stands_on_its_first_row(db: Database):
    rs = db.open_recordset("NivelCategoria0", RecordsetType.TABLE)
    assert not rs.bof and not rs.eof
    assert rs.absolute_position == 0
    assert rs["Nome"] == "Receitas"
    assert rs.record_count == 3


def test_empty_recordset_is_bof_and_eof(db: Database):
    rs = db.open_recordset("SELECT * FROM NivelCategoria4 WHERE Codigo = 999")
    assert rs.bof and rs.eof
    assert rs.record_count == 0
    with pytest.raises(JetError) as info:
        rs["Nome"]
    assert info.value.number == 3021


def test_moves_reach_bof_and_eof(db: Database):
    rs = db.open_recordset("SELECT * FROM NivelCategoria0")
    rs.move_last()
    assert rs["Nome"] == "Vazia"
    rs.move_next()
    assert rs.eof and not rs.bof
    with pytest.raises(JetError):
        rs.move_next()
    rs.move_first()
    rs.move_previous()
    assert rs.bof
    with pytest.raises(JetError):
        rs.move_previous()


def test_bookmarks_return_to_a_row(db: Database):
    rs = db.open_recordset("SELECT * FROM NivelCategoria4 ORDER BY Nome")
    rs.move_next()
    rs.move_next()
    mark = rs.bookmark
    name = rs["Nome"]
    rs.move_last()
    rs.bookmark = mark
    assert rs["Nome"] == name


def test_absolute_position_can_be_set(db: Database):
    rs = db.open_recordset("SELECT * FROM NivelCategoria0")
    rs.absolute_position = 2
    assert rs["Codigo"] == 3


def test_find_first_next_previous_last_and_no_match(db: Database):
    rs = db.open_recordset("SELECT * FROM NivelCategoria4 ORDER BY Codigo")
    assert rs.find_first("Nome = 'pão francês'")
    assert rs["Codigo"] == 1
    assert rs.find_next("Nome = 'Pão francês'")
    assert rs["Codigo"] == 4
    assert not rs.find_next("Nome = 'Pão francês'")
    assert rs.no_match
    assert rs["Codigo"] == 4  # a failed find leaves the row where it was
    assert rs.find_last("CodigoProduto <> 0")
    assert rs["Codigo"] == 5
    assert rs.find_previous("CodigoProduto <> 0")
    assert rs["Codigo"] == 4


def test_find_with_table_prefixed_criteria_on_a_join(db: Database):
    rs = db.open_recordset(
        "SELECT * FROM (NivelCategoria1 LEFT JOIN NivelCategoria0 ON "
        "NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
        "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome;"
    )
    rs.find_first("NivelCategoria0.Nome <> 'Despesas'")
    assert rs["NivelCategoria1.Nome"] == "Receitas Clientes"


def test_criteria_with_apostrophe_is_jet_syntax_error(db: Database):
    rs = db.open_recordset("NivelCategoria1", RecordsetType.TABLE)
    with pytest.raises(JetError) as info:
        rs.find_first("Nome = 'D'Avila' AND CodigoCategoria0 = 2")
    assert info.value.number == 3077


def test_criteria_with_unknown_field_is_jet_error(db: Database):
    rs = db.open_recordset("NivelCategoria1", RecordsetType.TABLE)
    with pytest.raises(JetError) as info:
        rs.find_first("Apelido = 'x'")
    assert info.value.number == 3070


def test_null_never_matches_a_comparison(db: Database):
    rs = db.open_recordset("NivelCategoria1", RecordsetType.TABLE)
    assert rs.find_first("Travado = False")
    assert rs["Codigo"] == 4
    assert rs.find_first("Travado Is Null")
    assert rs["Codigo"] == 3


def test_add_new_then_find_by_name_and_parent_reads_the_new_code(db: Database):
    rs = db.open_recordset("NivelCategoria3", RecordsetType.TABLE)
    rs.move_first()
    before = rs["Codigo"]
    rs.add_new()
    rs["Nome"] = "Água e esgoto"
    rs["CodigoCategoria2"] = 5
    rs.update()
    assert rs["Codigo"] == before  # DAO: the current row is the one before AddNew
    assert rs.find_first("Nome = 'Água e esgoto' AND CodigoCategoria2 = 5")
    assert rs["Codigo"] == 8
    assert db.scalar("SELECT Nome FROM NivelCategoria3 WHERE Codigo = 8") == "Água e esgoto"


def test_edit_and_update_write_the_row(db: Database):
    rs = db.open_recordset("NivelCategoria4", RecordsetType.TABLE)
    rs.find_first("Codigo = 9")
    rs.edit()
    rs["Nome"] = "CDB Banco"
    assert rs["Nome"] == "CDB Banco"
    rs.update()
    assert rs["Nome"] == "CDB Banco"
    assert db.scalar("SELECT Nome FROM NivelCategoria4 WHERE Codigo = 9") == "CDB Banco"


def test_setting_a_field_without_edit_is_refused(db: Database):
    rs = db.open_recordset("NivelCategoria4", RecordsetType.TABLE)
    with pytest.raises(JetError) as info:
        rs["Nome"] = "x"
    assert info.value.number == 3020


def test_joined_rows_are_read_only(db: Database):
    rs = db.open_recordset(
        "SELECT * FROM (NivelCategoria1 LEFT JOIN NivelCategoria0 ON "
        "NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0);"
    )
    with pytest.raises(JetError) as info:
        rs.edit()
    assert info.value.number == 3027


def test_delete_then_move_next_reaches_the_following_row(db: Database):
    rs = db.open_recordset("SELECT * FROM NivelCategoria4 ORDER BY Codigo")
    rs.find_first("Codigo = 3")
    rs.delete()
    with pytest.raises(JetError):
        rs["Nome"]
    rs.move_next()
    assert rs["Codigo"] == 4
    assert rs.record_count == 8
    assert db.scalar("SELECT COUNT(*) AS n FROM NivelCategoria4 WHERE Codigo = 3") == 0


def test_delete_the_last_row_then_move_next_is_eof(db: Database):
    rs = db.open_recordset("SELECT * FROM NivelCategoria4 ORDER BY Codigo")
    rs.move_last()
    rs.delete()
    rs.move_next()
    assert rs.eof


def test_booleans_and_dates_come_back_as_python_values(db: Database):
    rs = db.open_recordset("SELECT * FROM Venda WHERE Codigo = 4")
    import datetime

    assert rs["Venda"] is False
    assert rs["DataDocumento"] == datetime.date(2026, 3, 10)


def test_transaction_rolls_back_every_row_of_a_failed_action(db: Database):
    rs = db.open_recordset("NivelCategoria1", RecordsetType.TABLE)
    with pytest.raises(JetError), db.transaction():
        rs.add_new()
        rs["Nome"] = "Setor novo"
        rs["CodigoCategoria0"] = 2
        rs.update()
        db.execute("UPDATE NivelCategoria2 SET Nome = 'x'' WHERE Codigo = 1")
    assert db.scalar("SELECT COUNT(*) AS n FROM NivelCategoria1") == 4
    assert rs.record_count == 4  # the cached rows forget the rolled-back row


def test_commit_kept_waiting_by_a_reader_rolls_back_and_the_cache_forgets(
    db: Database, seeded_path: str
) -> None:
    """Issue 6: another module's open read outlasting the busy timeout fails COMMIT itself;
    the action is abandoned like any other failure, cached rows included."""
    db.connection.execute("PRAGMA busy_timeout = 50")
    rs = db.open_recordset("NivelCategoria1", RecordsetType.TABLE)
    reader = sqlite3.connect(seeded_path, isolation_level=None)
    reader.execute("BEGIN")
    reader.execute("SELECT COUNT(*) FROM NivelCategoria1").fetchone()
    try:
        with pytest.raises(JetError) as info, db.transaction():
            rs.add_new()
            rs["Nome"] = "Setor novo"
            rs["CodigoCategoria0"] = 2
            rs.update()
        assert info.value.number == 3218
        assert not db.in_transaction
    finally:
        reader.execute("ROLLBACK")
        reader.close()
    assert db.scalar("SELECT COUNT(*) AS n FROM NivelCategoria1") == 4
    assert rs.record_count == 4
    with db.transaction():  # the connection is free for the next action
        db.execute("DELETE * FROM Procura;")


def test_transaction_commits(db: Database):
    with db.transaction():
        db.execute("DELETE * FROM Procura;")
        db.execute("INSERT INTO Procura SELECT Codigo FROM NivelCategoria4;")
    assert db.scalar("SELECT COUNT(*) AS n FROM Procura") == 9


def test_locked_database_is_jet_error_3218(db: Database, seeded_path, monkeypatch):
    from varemo_contas.data import dao

    monkeypatch.setattr(dao, "BUSY_TIMEOUT_SECONDS", 0.1)
    other = sqlite3.connect(seeded_path, isolation_level=None)
    other.execute("BEGIN IMMEDIATE")
    try:
        quick = Database.open(seeded_path)
        with pytest.raises(JetError) as info:
            quick.execute("DELETE * FROM Procura;")
        assert info.value.number == 3218
        quick.close()
    finally:
        other.execute("ROLLBACK")
        other.close()


def test_statement_hook_sees_each_statement(db: Database):
    seen = []
    db.statement_hook = seen.append
    db.execute("DELETE * FROM Procura;")
    assert seen == ["DELETE FROM Procura;"]
