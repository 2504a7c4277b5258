"""Part 2.3: the table of commands, the tooltip routine, the dispatcher and `MenuBotao`.

Every command is a `QAction` whose objectName is its key; `Contas.tool_click(key)` is the
dispatcher and `Contas.tooltip_for(key)` the tooltip routine (DESIGN.md). Help, mail and the
sibling modules go through the desktop seam (Part 1.4), recorded by `fake_desktop`.
"""

from __future__ import annotations

import pytest
from PySide6.QtCore import Qt
from PySide6.QtGui import QAction

from varemo_contas.app import desktop, helptopics
from varemo_contas.app.sobre import Sobre

# Part 2.3's table: key -> (record text, report text while `Relatos` is visible or None).
TABLE: dict[str, tuple[str, str | None]] = {
    "ID_Incluir": ("Incluir novo registro", "Incluir novo relatório"),
    "ID_Alterar": ("Alterar o registro corrente", "Editar o relatório selecionado"),
    "ID_Excluir": ("Excluir o registro corrente", "Excluir o relatório selecionado"),
    "ID_Filtrar": ("Localizar registro(s)", None),
    "ID_Gravar": ("Gravar dados do registro", None),
    "ID_Cancelar": ("Cancelar dados inseridos", None),
    "ID_Setor": ("Visualiza todos os setores cadastrados", None),
    "ID_Grupo": ("Visualiza todos os grupos cadastrados", None),
    "ID_Conta": ("Visualiza todas as contas cadastrados", None),
    "ID_Item": ("Visualiza e edita todos os itens cadastrados", None),
    "ID_Relatorios": ("Para visualizar, inserir, editar e visualizar relatórios", None),
    "ID_PlanoContas": ("Mostra/Imprime o plano de contas financeiro", None),
    "ID_SobreoPrograma": ("Fornece dados sobre o programa", None),
    "ID_Checarnova": ("Como checar se existe nova versão do módulo", None),
    "ID_Novaversão": ("Como checar se existe nova versão do módulo", None),
    "ID_EnviarMail": ("Para enviar um comentário, sugestão, critíca", None),
    "ID_AjudadoPrograma": ("Fornece ajuda do programa", None),
    "ID_Oqueéisto?": ("Ajuda local", None),
    "ID_Oqueé": ("Ajuda local", None),
    "ID_ConteúdoeÍndice": ("Ajuda - Conteúdo e Índice", None),
    "ID_LocalizarnaAjuda": ("Localizar na ajuda", None),
    "ID_Sair": ("Sair do programa", None),
}
MODULE_KEYS = [f"ID_Modulo{number}" for number in range(1, 11)]
ALL_KEYS = [*TABLE, *MODULE_KEYS]
MESSAGE_PANEL = 0  # the panel of `Status` that shows the tooltip (left to the implementer)
GROUPS = ("ID_Editar", "ID_Relatórios")


@pytest.fixture
def desk(contas, fake_desktop):
    """The recording desktop, emptied of the start-up's own calls."""
    fake_desktop.calls.clear()
    return fake_desktop


def action(contas, key: str) -> QAction:
    """The window's action named `key`, found by its objectName."""
    found = [a for a in contas.findChildren(QAction) if a.objectName() == key]
    assert len(found) == 1, (key, len(found))
    return found[0]


def group_action(contas, key: str) -> QAction:
    return contas.menus_by_key[key].menuAction()


def panels(contas) -> list[str]:
    return [contas.Status.panel_text(index) for index in range(len(contas.Status.panels))]


# --- the table --------------------------------------------------------------------------


@pytest.mark.parametrize("key", ALL_KEYS)
def test_every_key_of_the_table_is_an_action_named_by_it(contas, key: str) -> None:
    assert action(contas, key).objectName() == key


@pytest.mark.parametrize("key", GROUPS)
def test_the_two_menu_groups_are_actions_named_by_their_keys(contas, key: str) -> None:
    assert group_action(contas, key).objectName() == key
    assert contas.menus_by_key[key].actions()


def test_record_commands_sit_in_the_editar_group_and_reports_in_the_relatorios_group(
    contas,
) -> None:
    """Part 2.3: switching a group off takes away every command of the group."""
    editar = {a.objectName() for a in contas.menus_by_key["ID_Editar"].actions()}
    relatorios = {a.objectName() for a in contas.menus_by_key["ID_Relatórios"].actions()}
    assert {"ID_Incluir", "ID_Alterar", "ID_Excluir"} <= editar
    assert "ID_Relatorios" in relatorios


# --- the tooltip routine ------------------------------------------------------------------


@pytest.mark.parametrize("key", list(TABLE))
def test_tooltip_is_the_record_text_and_goes_to_the_status_bar(contas, key: str) -> None:
    text = TABLE[key][0]
    assert contas.tooltip_for(key) == text
    assert contas.Status.panel_text(MESSAGE_PANEL) == text


@pytest.mark.parametrize("key", list(TABLE))
def test_tooltip_while_the_report_list_is_visible(contas, key: str) -> None:
    """Part 2.3: the first (report) text while `Relatos` is visible, where there is one."""
    contas.tool_click("ID_Relatorios")
    assert not contas.RelatosPainel.isHidden()
    record_text, report_text = TABLE[key]
    expected = report_text or record_text
    assert contas.tooltip_for(key) == expected
    assert contas.Status.panel_text(MESSAGE_PANEL) == expected


def test_tooltip_returns_to_the_record_text_when_the_list_is_closed(contas) -> None:
    contas.tool_click("ID_Relatorios")
    assert contas.tooltip_for("ID_Excluir") == "Excluir o relatório selecionado"
    contas.hide_report_list()
    assert contas.tooltip_for("ID_Excluir") == "Excluir o registro corrente"


@pytest.mark.parametrize("number", range(1, 11))
def test_module_tooltip_names_the_sibling_module(contas, number: int) -> None:
    name = desktop.MODULES[number][1]
    text = "Encerrar este módulo e iniciar o " + name
    assert contas.tooltip_for(f"ID_Modulo{number}") == text
    assert contas.Status.panel_text(MESSAGE_PANEL) == text


@pytest.mark.parametrize("key", ["ID_Nada", "", "ID_Editar", "ID_Modulo11", "id_incluir"])
def test_unknown_key_has_an_empty_tooltip_and_leaves_the_status_bar(contas, key: str) -> None:
    """Part 2.3 edge case: its tooltip is empty and the status bar is left as it is."""
    contas.Status.set_panel(MESSAGE_PANEL, "texto anterior")
    before = panels(contas)
    assert contas.tooltip_for(key) == ""
    assert panels(contas) == before


# --- the dispatcher ---------------------------------------------------------------------


@pytest.mark.parametrize("key", ["ID_Nada", "", "ID_Modulo0", "ID_Modulo11", "ID_Editar"])
def test_unknown_key_does_nothing(contas, desk, rows, key: str) -> None:
    """Part 2.3 edge case: a key that is in no row of the table does nothing."""
    tables = ("NivelCategoria4", "Relatorios", "RelatorioItens")
    before = {table: rows(f"SELECT * FROM {table} ORDER BY 1") for table in tables}
    state = (contas.Modo, contas.NivelAtual, contas.PaginaAtiva, contas.state.module_to_start)
    shown = contas.RelatosPainel.isHidden()
    status = panels(contas)
    contas.tool_click(key)
    assert desk.calls == []
    assert (contas.Modo, contas.NivelAtual, contas.PaginaAtiva, contas.state.module_to_start) == (
        state
    )
    assert contas.RelatosPainel.isHidden() == shown
    assert panels(contas) == status
    assert contas.state.database is not None
    assert {table: rows(f"SELECT * FROM {table} ORDER BY 1") for table in tables} == before


def test_sobre_o_programa_shows_the_about_box_modally(contas, desk) -> None:
    contas.tool_click("ID_SobreoPrograma")
    [call] = desk.named("show_modal")
    about = call.args[0]
    assert isinstance(about, Sobre)
    assert about.VerNomeProduto.text() == contas.state.title


@pytest.mark.parametrize(
    ("key", "context"),
    [
        ("ID_AjudadoPrograma", helptopics.AJUDA_CONTEUDO),
        ("ID_ConteúdoeÍndice", helptopics.AJUDA_CONTEUDO),
        ("ID_LocalizarnaAjuda", helptopics.LOCALIZAR_NA_AJUDA),
        ("ID_Checarnova", helptopics.NOVA_VERSAO),
        ("ID_Novaversão", helptopics.NOVA_VERSAO),
    ],
)
def test_help_commands_open_their_topics(contas, desk, key: str, context: int) -> None:
    contas.tool_click(key)
    assert [call.args for call in desk.named("show_help")] == [(context,)]


def test_new_version_topic_lies_in_the_shared_help() -> None:
    """Part 1.4: "how to check for a new version" is a topic of the suite's shared help."""
    assert helptopics.is_shared(helptopics.NOVA_VERSAO)


@pytest.mark.parametrize("key", ["ID_Oqueéisto?", "ID_Oqueé"])
def test_local_help_opens_the_topic_of_the_focused_control(contas, desk, qtbot, key: str) -> None:
    """Part 2.3 "Ajuda local": the help context of the control that has the focus."""
    contas.show()
    qtbot.waitExposed(contas)
    contas.Arvore.setFocus()
    qtbot.waitUntil(contas.Arvore.hasFocus)
    contas.tool_click(key)
    assert [call.args for call in desk.named("show_help")] == [(helptopics.ARVORE,)]


@pytest.mark.parametrize("key", ["ID_Oqueéisto?", "ID_Oqueé"])
def test_local_help_without_a_focused_control_opens_the_contents(contas, desk, key: str) -> None:
    contas.tool_click(key)
    assert [call.args for call in desk.named("show_help")] == [(0,)]


def test_enviar_mail_opens_the_mail_link(contas, desk) -> None:
    contas.tool_click("ID_EnviarMail")
    assert [call.name for call in desk.calls] == ["send_mail"]


def test_sair_unloads_the_window(contas, desk) -> None:
    """ "ID_Sair": close the program — the unload closes the database and starts nothing."""
    contas.tool_click("ID_Sair")
    assert contas.state.database is None
    assert all(control.recordset is None for control in contas.Nivel)
    assert desk.named("start_module") == []


def test_modulo3_unloads_then_starts_module_3(contas, desk, monkeypatch) -> None:
    """Part 1.4: the module is remembered, the window unloads, the database closes, then
    the module starts."""
    started: list[tuple[int, object]] = []
    monkeypatch.setattr(
        desktop, "start_module", lambda number: started.append((number, contas.state.database))
    )
    contas.tool_click("ID_Modulo3")
    assert started == [(3, None)]
    assert contas.state.module_to_start == 0


@pytest.mark.parametrize("number", [1, 4, 10])
def test_every_sibling_module_entry_starts_its_module(contas, desk, number) -> None:
    contas.tool_click(f"ID_Modulo{number}")
    assert [call.args for call in desk.named("start_module")] == [(number,)]
    assert contas.state.database is None


def test_own_module_entry_is_disabled(contas) -> None:
    """Part 1.2 step 5: this module is number 2; its own entry is off."""
    assert not action(contas, "ID_Modulo2").isEnabled()
    assert all(action(contas, key).isEnabled() for key in MODULE_KEYS if key != "ID_Modulo2")


def test_disabled_own_entry_cannot_be_triggered(contas, desk) -> None:
    action(contas, "ID_Modulo2").trigger()
    assert desk.calls == []
    assert contas.state.database is not None


# --- MenuBotao -----------------------------------------------------------------------------

MODE_TABLE = [
    # mode, "ID_Editar", "ID_Relatórios", "ID_Gravar", "ID_Cancelar"
    ("Visualizar", True, True, False, False),
    ("Inserir", False, False, True, True),
    ("Alterar", False, False, True, True),
]


@pytest.mark.parametrize(("mode", "editar", "relatorios", "gravar", "cancelar"), MODE_TABLE)
def test_menubotao_follows_the_mode_table(
    contas, mode: str, editar: bool, relatorios: bool, gravar: bool, cancelar: bool
) -> None:
    contas.MenuBotao(mode)
    assert group_action(contas, "ID_Editar").isEnabled() is editar
    assert group_action(contas, "ID_Relatórios").isEnabled() is relatorios
    assert action(contas, "ID_Gravar").isEnabled() is gravar
    assert action(contas, "ID_Cancelar").isEnabled() is cancelar


@pytest.mark.parametrize(("mode", "editar", "relatorios", "gravar", "cancelar"), MODE_TABLE)
def test_switching_a_group_off_takes_every_command_of_the_group(
    contas, mode: str, editar: bool, relatorios: bool, gravar: bool, cancelar: bool
) -> None:
    contas.MenuBotao(mode)
    for group, on in (("ID_Editar", editar), ("ID_Relatórios", relatorios)):
        for member in contas.menus_by_key[group].actions():
            if member.isSeparator():
                continue
            assert member.isEnabled() is on, (mode, member.objectName())


def test_menubotao_back_to_visualizar_restores_the_groups(contas) -> None:
    contas.MenuBotao("Inserir")
    contas.MenuBotao("Visualizar")
    assert group_action(contas, "ID_Editar").isEnabled()
    assert group_action(contas, "ID_Relatórios").isEnabled()
    assert action(contas, "ID_Incluir").isEnabled()
    assert not action(contas, "ID_Gravar").isEnabled()


def test_form_starts_in_visualizar(contas) -> None:
    assert contas.Modo == "Visualizar"
    assert group_action(contas, "ID_Editar").isEnabled()
    assert not action(contas, "ID_Gravar").isEnabled()


def test_archive_mode_keeps_the_record_tools_off_after_every_command(
    start_contas, fake_desktop
) -> None:
    """Part 1.2 edge case: in archive mode the insert, edit and delete tools stay disabled."""
    contas = start_contas("UPDATE DadosEmpresa SET Morto = 1;")
    record_keys = ("ID_Incluir", "ID_Alterar", "ID_Excluir")
    assert not any(action(contas, key).isEnabled() for key in record_keys)
    for key in ("ID_Setor", "ID_Item", "ID_Relatorios", "ID_EnviarMail", "ID_Nada"):
        contas.tool_click(key)
        assert not any(action(contas, k).isEnabled() for k in record_keys), key
    contas.MenuBotao("Visualizar")
    assert not any(action(contas, key).isEnabled() for key in record_keys)
    assert contas.windowTitle().endswith("   [Arq. Mortos Carregados]")


# --- sounds ---------------------------------------------------------------------------------


@pytest.mark.parametrize("key", ["ID_Incluir", "ID_Sair", "ID_Modulo3", "ID_Oqueé"])
def test_hovering_a_tool_plays_sound_6_and_shows_its_tooltip(contas, desk, key) -> None:
    """Part 1.4: the mouse passing over a tool of the menu bar plays sound 6."""
    action(contas, key).hover()
    assert desk.sounds == [6]
    expected = contas.tooltip_for(key)
    assert contas.Status.panel_text(MESSAGE_PANEL) == expected
    assert action(contas, key).toolTip() == expected


def test_hover_tooltip_follows_the_report_list(contas, desk) -> None:
    contas.tool_click("ID_Relatorios")
    action(contas, "ID_Incluir").hover()
    assert action(contas, "ID_Incluir").toolTip() == "Incluir novo relatório"
    assert contas.Status.panel_text(MESSAGE_PANEL) == "Incluir novo relatório"


def test_clicking_a_tool_plays_sound_7_before_the_command(contas, desk) -> None:
    action(contas, "ID_EnviarMail").trigger()
    assert [call.name for call in desk.calls] == ["play_sound", "send_mail"]
    assert desk.sounds == [7]


def test_clicking_a_tool_runs_its_command(contas, desk) -> None:
    action(contas, "ID_Setor").trigger()
    assert desk.sounds == [7]
    assert contas.NivelAtual == 1


def test_mouse_entering_a_toolbar_button_plays_sound_6(contas, desk, qtbot) -> None:
    """Part 1.4: sound 6 when the mouse passes over a tool, here its toolbar button."""
    contas.show()
    qtbot.waitExposed(contas)
    button = contas.Barra1.widgetForAction(action(contas, "ID_Incluir"))
    assert button is not None
    qtbot.mouseMove(contas.Arvore)  # from elsewhere in the window onto the button
    qtbot.mouseMove(button)
    qtbot.waitUntil(lambda: desk.sounds == [6], timeout=2000)
    assert contas.Status.panel_text(MESSAGE_PANEL) == "Incluir novo registro"


def test_clicking_a_toolbar_button_plays_sound_7_and_runs_the_command(contas, desk, qtbot) -> None:
    contas.show()
    qtbot.waitExposed(contas)
    button = contas.Barra1.widgetForAction(action(contas, "ID_Setor"))
    qtbot.mouseClick(button, Qt.MouseButton.LeftButton)
    assert 7 in desk.sounds
    assert contas.NivelAtual == 1
