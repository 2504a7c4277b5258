"""Part 1.3: the error log record, its file and the user's message."""

from __future__ import annotations

import os
import stat
import sys
from collections.abc import Iterator
from datetime import datetime
from pathlib import Path

import pytest
from PySide6.QtCore import QLocale

from varemo_contas.app import desktop, errorlog
from varemo_contas.app.state import State

NOVEMBER = datetime(2025, 11, 7, 9, 5)
HEADER = b"***** NAO APAGUE AS LINHAS ABAIXO *****\r\n\r\n"


@pytest.fixture
def portuguese() -> Iterator[None]:
    """Portuguese (Brazil) settings, whatever the machine's are; restored afterwards."""
    previous = QLocale()
    QLocale.setDefault(QLocale(QLocale.Language.Portuguese, QLocale.Country.Brazil))
    yield
    QLocale.setDefault(previous)


@pytest.fixture
def state(tmp_path: Path) -> State:
    (tmp_path / "dados_empresa" / "Dados").mkdir(parents=True)
    return State(data_folder=str(tmp_path / "dados_empresa") + os.sep, user_name="")


def log_file(state: State) -> Path:
    return Path(state.data_folder) / "Dados" / "Erros.txt"


def expected_record(state: State, routine: str, description: str, number: int) -> bytes:
    lines = errorlog.record_lines(state, routine, description, number, NOVEMBER)
    return "".join(line + "\r\n" for line in lines).encode("cp1252")


# --- the record ----------------------------------------------------------------------


def test_record_lines_follow_the_table(portuguese: None) -> None:
    state = State(user_name="", title="Plano de Contas", major=1, minor=2, revision=3)
    lines = errorlog.record_lines(state, "Inserindo", "Nenhum registro atual.", 3021, NOVEMBER)
    assert lines == [
        "07-novembro-2025  09:05",
        "Usuário: ",
        "Programa: Plano de Contas",
        "Rotina: Inserindo",
        "Versão 1.2.3",
        "Erro número: 3021",
        "Descrição: Nenhum registro atual.",
        "",
    ]


def test_version_line_is_not_padded() -> None:
    state = State(major=2, minor=7, revision=45)
    lines = errorlog.record_lines(state, "x", "y", 1, NOVEMBER)
    assert lines[4] == "Versão 2.7.45"


def test_date_line_uses_the_full_month_name_of_the_users_language(portuguese: None) -> None:
    assert errorlog.date_line(datetime(2024, 11, 30, 23, 59)) == "30-novembro-2024  23:59"
    assert errorlog.date_line(datetime(2024, 3, 1, 0, 0)) == "01-março-2024  00:00"


def test_date_line_follows_other_languages() -> None:
    english = QLocale(QLocale.Language.English, QLocale.Country.UnitedStates)
    assert errorlog.date_line(NOVEMBER, english) == "07-November-2025  09:05"


def test_user_message_text() -> None:
    state = State(title="Plano de Contas", major=1, minor=2, revision=3)
    message = errorlog.user_message(state, "Excluindo Registro", "Falhou.", 3075)
    assert message == (
        "Erro no Programa Plano de Contas\r"
        "Anote os dados abaixo e informe ao desenvolvedor :\r\r"
        "Rotina em que houve o erro: Excluindo Registro\r"
        "Versão 1.2.3\r"
        "Erro número: 3075\r"
        "Descrição: Falhou."
    )
    assert not message.endswith("\r")
    assert "\n" not in message


def test_routine_names_are_the_tables() -> None:
    assert errorlog.ROTINA_ABRIR_PROGRAMA == "Erro ao Abrir Programa"
    assert errorlog.ROTINA_TOTAL_REGISTROS == "Total de Registros"
    assert errorlog.ROTINA_INSERINDO == "Inserindo"
    assert errorlog.ROTINA_EXCLUINDO == "Excluindo Registro"
    assert errorlog.ROTINA_ORDENAR_NOMES == "Ordenar Nomes"
    assert errorlog.ROTINA_MOVIMENTO == "Erro no Movimento_Click"
    assert errorlog.ROTINA_MOVE_FILTRO == "Erro no Move_Click"
    assert errorlog.ROTINA_TREEVIEW == "Colocando dados no TreeView"


# --- the file ------------------------------------------------------------------------


def test_log_path_uses_the_data_folder_as_a_plain_prefix() -> None:
    state = State(data_folder="/srv/varemo")  # no closing separator: used as written
    assert errorlog.log_path(state) == "/srv/varemo" + "Dados" + os.sep + "Erros.txt"


def test_first_error_writes_header_empty_line_and_record(
    state: State, fake_desktop, portuguese: None
) -> None:
    errorlog.log_error(state, "Inserindo", "Nenhum registro atual.", 3021, now=NOVEMBER)
    data = log_file(state).read_bytes()
    record = expected_record(state, "Inserindo", "Nenhum registro atual.", 3021)
    assert data == HEADER + record
    assert data.count(b"\r\n") == 2 + 8
    assert b"07-novembro-2025  09:05\r\n" in data


def test_second_error_appends_eight_lines_and_no_header(state: State, fake_desktop) -> None:
    errorlog.log_error(state, "Inserindo", "primeiro", 1, now=NOVEMBER)
    first = log_file(state).read_bytes()
    errorlog.log_error(state, "Ordenar Nomes", "segundo", 2, now=NOVEMBER)
    data = log_file(state).read_bytes()
    added = data[len(first) :]
    assert data.startswith(first)
    assert added == expected_record(state, "Ordenar Nomes", "segundo", 2)
    assert added.count(b"\r\n") == 8
    assert data.count(b"NAO APAGUE") == 1


def test_existing_file_without_header_is_only_appended(state: State, fake_desktop) -> None:
    log_file(state).write_bytes(b"linhas de outro modulo\r\n")
    errorlog.log_error(state, "Inserindo", "x", 5, now=NOVEMBER)
    data = log_file(state).read_bytes()
    assert data == b"linhas de outro modulo\r\n" + expected_record(state, "Inserindo", "x", 5)


def test_lines_end_with_cr_lf_only(state: State, fake_desktop) -> None:
    errorlog.log_error(state, "Inserindo", "x", 5, now=NOVEMBER)
    data = log_file(state).read_bytes()
    assert data.endswith(b"\r\n\r\n")  # line 7 then the empty line 8
    assert data.count(b"\n") == data.count(b"\r\n")
    assert data.count(b"\r") == data.count(b"\r\n")


def test_file_is_windows_1252(state: State, fake_desktop) -> None:
    errorlog.log_error(state, "Inserindo", "Descrição com ação", 7, now=NOVEMBER)
    data = log_file(state).read_bytes()
    assert b"Usu\xe1rio: \r\n" in data
    assert b"Vers\xe3o 1.2.3\r\n" in data
    assert b"Erro n\xfamero: 7\r\n" in data
    assert "Descrição: Descrição com ação\r\n".encode("cp1252") in data
    assert "Usuário".encode() not in data  # not UTF-8


def test_unencodable_text_becomes_replacement_characters(state: State, fake_desktop) -> None:
    errorlog.log_error(state, "Inserindo", "falhou 😀 em 中文 ok", 9, now=NOVEMBER)
    data = log_file(state).read_bytes()
    assert b"Descri\xe7\xe3o: falhou ? em ?? ok\r\n" in data
    assert data.count(b"\r\n") == 2 + 8  # nothing dropped, record complete


def test_description_with_line_breaks_is_written_as_it_is(state: State, fake_desktop) -> None:
    description = "primeira linha\r\nsegunda linha\nterceira"
    errorlog.log_error(state, "Inserindo", description, 3000, now=NOVEMBER)
    data = log_file(state).read_bytes()
    assert b"Descri\xe7\xe3o: primeira linha\r\nsegunda linha\nterceira\r\n\r\n" in data
    physical = data[len(HEADER) :].split(b"\r\n")
    assert len(physical) - 1 == 9  # the record spans more than eight CR LF lines


def test_log_error_plays_sound_1_then_shows_the_critical_message(
    state: State, fake_desktop
) -> None:
    errorlog.log_error(state, "Total de Registros", "Falhou.", 3021, now=NOVEMBER)
    assert [call.name for call in fake_desktop.calls] == ["play_sound", "msgbox"]
    assert fake_desktop.sounds == [1]
    (box,) = fake_desktop.boxes
    assert box.prompt == errorlog.user_message(state, "Total de Registros", "Falhou.", 3021)
    assert box.buttons == desktop.vbCritical
    assert box.title == "Tratamento de Erros"


def test_log_error_uses_the_clock_when_no_time_is_given(state: State, fake_desktop) -> None:
    before = datetime.now()
    errorlog.log_error(state, "Inserindo", "x", 1)
    after = datetime.now()
    first_record_line = log_file(state).read_bytes().split(b"\r\n")[2].decode("cp1252")
    assert first_record_line in {errorlog.date_line(before), errorlog.date_line(after)}


def test_missing_dados_folder_loses_the_record_silently(tmp_path: Path, fake_desktop) -> None:
    state = State(data_folder=str(tmp_path / "sem_dados") + os.sep)
    errorlog.log_error(state, "Inserindo", "x", 1, now=NOVEMBER)
    assert not (tmp_path / "sem_dados").exists()
    assert fake_desktop.sounds == [1]
    (box,) = fake_desktop.boxes
    assert box.title == "Tratamento de Erros"
    assert box.buttons == desktop.vbCritical


@pytest.mark.skipif(
    sys.platform == "win32" or (hasattr(os, "geteuid") and os.geteuid() == 0),
    reason="folder permissions do not bind here",
)
def test_read_only_folder_still_plays_the_sound_and_shows_the_message(
    state: State, fake_desktop
) -> None:
    folder = Path(state.data_folder) / "Dados"
    folder.chmod(stat.S_IRUSR | stat.S_IXUSR)
    try:
        errorlog.log_error(state, "Inserindo", "x", 1, now=NOVEMBER)
    finally:
        folder.chmod(stat.S_IRWXU)
    assert not log_file(state).exists()
    assert fake_desktop.sounds == [1]
    assert [box.title for box in fake_desktop.boxes] == ["Tratamento de Erros"]


def test_read_only_log_file_still_plays_the_sound_and_shows_the_message(
    state: State, fake_desktop
) -> None:
    log_file(state).mkdir()  # a folder where the file should be: it cannot be opened
    errorlog.log_error(state, "Inserindo", "x", 1, now=NOVEMBER)
    assert fake_desktop.sounds == [1]
    assert [box.title for box in fake_desktop.boxes] == ["Tratamento de Erros"]


def test_log_error_raises_nothing_when_the_desktop_fails(
    state: State, monkeypatch: pytest.MonkeyPatch
) -> None:
    shown: list[str] = []

    def broken_sound(number: int) -> None:
        raise RuntimeError("no audio")

    def record_box(prompt: str, buttons: int = 0, title: str = "") -> int:
        shown.append(title)
        return desktop.vbOK

    monkeypatch.setattr(desktop, "play_sound", broken_sound)
    monkeypatch.setattr(desktop, "msgbox", record_box)
    errorlog.log_error(state, "Inserindo", "x", 1, now=NOVEMBER)
    assert shown == ["Tratamento de Erros"]
    assert log_file(state).exists()


def test_log_exception_takes_number_and_description_of_a_jet_error(
    state: State, fake_desktop
) -> None:
    from varemo_contas.data.errors import JetError

    errorlog.log_exception(state, "Excluindo Registro", JetError(3021, "Nenhum registro atual."))
    (box,) = fake_desktop.boxes
    assert box.prompt.endswith("Erro número: 3021\rDescrição: Nenhum registro atual.")
    assert b"Erro n\xfamero: 3021\r\n" in log_file(state).read_bytes()


def test_log_exception_of_any_other_exception(state: State, fake_desktop) -> None:
    errorlog.log_exception(state, "Inserindo", ValueError("valor inválido"))
    errorlog.log_exception(state, "Inserindo", KeyError())
    first, second = fake_desktop.boxes
    assert first.prompt.endswith("Erro número: 0\rDescrição: valor inválido")
    assert second.prompt.endswith("Erro número: 0\rDescrição: KeyError")


def test_permission_denied_still_plays_the_sound_and_shows_the_message(
    state: State, fake_desktop, monkeypatch: pytest.MonkeyPatch
) -> None:
    def denied(*args: object, **kwargs: object) -> None:
        raise PermissionError(13, "Permission denied")

    monkeypatch.setattr(errorlog, "open", denied, raising=False)
    errorlog.log_error(state, "Inserindo", "x", 1, now=NOVEMBER)
    assert not log_file(state).exists()
    assert fake_desktop.sounds == [1]
    assert [box.title for box in fake_desktop.boxes] == ["Tratamento de Erros"]


def test_the_log_is_opened_for_writing_only(
    state: State, fake_desktop, monkeypatch: pytest.MonkeyPatch
) -> None:
    modes: list[str] = []
    real_open = open

    def spying_open(path: str, mode: str = "r", *args: object, **kwargs: object):
        modes.append(mode)
        return real_open(path, mode, *args, **kwargs)

    monkeypatch.setattr(errorlog, "open", spying_open, raising=False)
    errorlog.log_error(state, "Inserindo", "x", 1, now=NOVEMBER)
    errorlog.log_error(state, "Inserindo", "y", 2, now=NOVEMBER)
    assert modes == ["wb", "ab"]
