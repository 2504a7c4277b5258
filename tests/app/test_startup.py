"""Part 1.2: start-up, data location and shutdown, through the `start` seam."""

from __future__ import annotations

import os
import sqlite3

from PySide6.QtCore import Qt

from varemo_contas.app import desktop
from varemo_contas.app.startup import start

NOT_FOUND = "Arquivo não encontrado"


def test_missing_caminho_dad_stops_with_its_message(installation, fake_desktop):
    (installation.program / "Caminho.dad").unlink()
    assert start(str(installation.program)) is None
    [box] = fake_desktop.boxes
    assert box.prompt == "Sumiu o arquivo path da rede"
    assert box.title == NOT_FOUND
    assert box.buttons == desktop.vbExclamation


def test_data_folder_without_closing_separator_misses_empresa_ini(installation, fake_desktop):
    (installation.program / "Caminho.dad").write_text(str(installation.data) + "\r\n")
    assert start(str(installation.program)) is None
    [box] = fake_desktop.boxes
    assert box.prompt == "Sumiu o arquivo Empresa.ini"
    assert box.title == NOT_FOUND
    assert box.buttons == desktop.vbExclamation


def test_empty_caminho_dad_looks_in_the_current_folder(installation, fake_desktop, monkeypatch):
    (installation.program / "Caminho.dad").write_text("")
    monkeypatch.chdir(installation.data)
    window = start(str(installation.program))
    assert window is not None
    assert window.state.data_folder == ""
    assert window.state.company_name == "Padaria Teste Ltda"
    window.Form_Unload()


def test_missing_empresa_ini_stops(installation, fake_desktop):
    (installation.data / "Empresa.ini").unlink()
    assert start(str(installation.program)) is None
    assert [b.prompt for b in fake_desktop.boxes] == ["Sumiu o arquivo Empresa.ini"]


def test_garbage_database_is_the_corrupt_message(installation, fake_desktop):
    installation.database.write_bytes(b"\x00\x01Standard Jet DB" + os.urandom(2048))
    assert start(str(installation.program)) is None
    [box] = fake_desktop.boxes
    assert box.prompt == (
        "Arquivo de banco de dados empresa.mdb corrompido"
        "\rou não é .mdb. Solicite ajuda do Adm. de Sistema"
    )
    assert box.title == "Arquivo corrompido ou com defeitos"
    assert box.buttons == desktop.vbCritical


def test_missing_database_gives_advice_first(installation, fake_desktop):
    installation.database.unlink()
    assert start(str(installation.program)) is None
    [box] = fake_desktop.boxes
    assert box.prompt == (
        "Solicite ajuda do Adm. de Sistema\rBanco de dados não encontrado"
        "\rou com formato .mdb impróprio!"
    )
    assert box.title == "Arquivo não existe ou impróprio"
    assert box.buttons == desktop.vbCritical


def test_database_without_the_suite_tables_is_improper(installation, fake_desktop):
    installation.database.unlink()
    connection = sqlite3.connect(installation.database)
    connection.execute("CREATE TABLE Outra (x INTEGER)")
    connection.close()
    assert start(str(installation.program)) is None
    assert fake_desktop.boxes[0].title == "Arquivo não existe ou impróprio"


def test_failed_start_writes_nothing(installation, fake_desktop):
    (installation.data / "Empresa.ini").unlink()
    before = installation.database.read_bytes()
    start(str(installation.program))
    assert installation.database.read_bytes() == before
    assert not installation.error_log.exists()


def test_a_running_copy_is_brought_forward_and_this_start_ends(installation, fake_desktop):
    fake_desktop.running_copy = True
    assert start(str(installation.program)) is None
    assert [c.args for c in fake_desktop.named("activate_running_copy")] == [("Plano de Contas",)]
    assert fake_desktop.boxes == []


def test_start_reads_company_version_and_data_folder(contas, installation):
    state = contas.state
    assert state.company_name == "Padaria Teste Ltda"
    assert state.version_text == "1.2.3"
    assert state.data_folder == str(installation.data) + os.sep
    assert state.database_path == str(installation.database)
    assert state.main_window_ready is True
    assert os.getcwd() == str(installation.data / "Dados")


def test_main_window_loads_hidden_in_view_mode(contas):
    assert not contas.isVisible()
    assert contas.EmInclusao is False and contas.EmAlteracao is False
    assert contas.NivelAtual == 4
    assert contas.state.module_to_start == 0
    assert contas.Status.panel_text(1) == "Usuário: "


def test_own_module_entry_is_disabled(contas):
    assert not contas.actions_by_key["ID_Modulo2"].isEnabled()
    assert contas.actions_by_key["ID_Modulo3"].isEnabled()


def test_logo_path_falls_back_to_modelo(contas, installation):
    assert contas.state.logo_path == str(installation.data / "Imagens" / "modelo.bmp")


def test_logo_path_prefers_logo_bmp(installation, fake_desktop, qtbot):
    (installation.data / "Imagens").mkdir()
    (installation.data / "Imagens" / "logo.bmp").write_bytes(b"BM")
    window = start(str(installation.program))
    qtbot.addWidget(window)
    assert window.state.logo_path == str(installation.data / "Imagens" / "logo.bmp")
    window.Form_Unload()


def archive(installation) -> None:
    connection = sqlite3.connect(installation.database)
    connection.execute("UPDATE DadosEmpresa SET Morto = 1")
    connection.commit()
    connection.close()


def test_archive_mode_caption_and_disabled_tools(installation, fake_desktop, qtbot):
    archive(installation)
    window = start(str(installation.program))
    qtbot.addWidget(window)
    assert window.state.archive_mode is True
    assert window.windowTitle().endswith("   [Arq. Mortos Carregados]")
    for key in ("ID_Incluir", "ID_Alterar", "ID_Excluir"):
        assert not window.actions_by_key[key].isEnabled()
    window.Form_Unload()


def test_archive_mode_keeps_tools_disabled_after_every_command(installation, fake_desktop, qtbot):
    archive(installation)
    window = start(str(installation.program))
    qtbot.addWidget(window)
    for key in ("ID_Item", "ID_Setor", "ID_Relatorios", "ID_SobreoPrograma", "ID_Nada"):
        window.tool_click(key)
        window.MenuBotao("Visualizar")
        for record_key in ("ID_Incluir", "ID_Alterar", "ID_Excluir"):
            assert not window.actions_by_key[record_key].isEnabled(), key
    window.Form_Unload()


def test_null_morto_is_not_archive_mode(installation, fake_desktop, qtbot):
    connection = sqlite3.connect(installation.database)
    connection.execute("UPDATE DadosEmpresa SET Morto = NULL")
    connection.commit()
    connection.close()
    window = start(str(installation.program))
    qtbot.addWidget(window)
    assert window.state.archive_mode is False
    assert window.actions_by_key["ID_Incluir"].isEnabled()
    window.Form_Unload()


def test_escape_asks_to_leave_and_no_keeps_the_program(contas, fake_desktop):
    fake_desktop.answers = [desktop.vbNo]
    contas.Form_KeyDown(Qt.Key.Key_Escape)
    [box] = fake_desktop.boxes
    assert box.prompt == "Quer sair do programa?"
    assert box.title == "Finalizando"
    assert box.buttons == desktop.vbYesNo + desktop.vbQuestion + desktop.vbDefaultButton2
    assert contas.state.database is not None


def test_escape_yes_unloads(contas, fake_desktop):
    fake_desktop.answers = [desktop.vbYes]
    contas.show()
    contas.Form_KeyDown(Qt.Key.Key_Escape)
    assert contas.state.database is None
    assert not contas.isVisible()


def test_unload_closes_database_then_starts_the_chosen_module(contas, fake_desktop, monkeypatch):
    database = contas.state.database
    closed_before_start = []
    original = fake_desktop.start_module

    def start_module(number: int) -> bool:
        closed_before_start.append(contas.state.database is None)
        return original(number)

    monkeypatch.setattr(desktop, "start_module", start_module)
    contas.tool_click("ID_Modulo3")
    assert [c.args for c in fake_desktop.named("start_module")] == [(3,)]
    assert closed_before_start == [True]
    assert contas.state.module_to_start == 0
    assert database is not None


def test_unload_without_a_chosen_module_starts_nothing(contas, fake_desktop):
    contas.Form_Unload()
    assert fake_desktop.named("start_module") == []


def test_unload_saves_the_placement_of_a_shown_window(contas, fake_desktop):
    contas.show()
    contas.setGeometry(40, 50, 900, 600)
    contas.Form_Unload()
    settings = desktop.placement_settings("Plano de Contas")
    settings.beginGroup("Posicao")
    assert settings.value("Right") == str(contas.normalGeometry().right() + 1)
    assert sorted(settings.childKeys()) == sorted(
        ["flags", "showCmd", "MinX", "MinY", "Left", "Top", "Right", "Bottom"]
    )


def test_restored_placement_is_applied_at_load(installation, fake_desktop, qtbot):
    settings = desktop.placement_settings("Plano de Contas")
    settings.beginGroup("Posicao")
    for key, value in {"Left": "30", "Top": "40", "Right": "830", "Bottom": "640"}.items():
        settings.setValue(key, value)
    settings.endGroup()
    settings.sync()
    window = start(str(installation.program))
    qtbot.addWidget(window)
    assert (window.geometry().width(), window.geometry().height()) == (800, 600)
    window.Form_Unload()


def test_load_failure_goes_to_the_error_log(installation, fake_desktop, qtbot):
    connection = sqlite3.connect(installation.database)
    connection.execute("DROP TABLE Linhas")
    connection.execute("CREATE TABLE Linhas (CodigoLinha INTEGER)")
    connection.commit()
    connection.close()
    window = start(str(installation.program))
    qtbot.addWidget(window)
    log = installation.error_log.read_bytes().decode("cp1252")
    assert "Rotina: Erro ao Abrir Programa" in log
    assert fake_desktop.boxes[-1].title == "Tratamento de Erros"
    assert window.state.main_window_ready is True
    window.Form_Unload()
