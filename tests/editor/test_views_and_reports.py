"""Part 2.3 (commands and toolbar state): the view commands, the tooltips, the report list
`Relatos` with its selection check and report deletion, unknown keys, archive mode.

The seeded company (tests/conftest.py SEED_SQL) has 4 sectors, 6 groups, 7 accounts and
9 items, and one saved report "Resultado Mensal" (code 1) with 8 rows in `RelatorioItens`.
"""

from __future__ import annotations

import pytest
from PySide6.QtCore import QEvent, Qt
from PySide6.QtGui import QFocusEvent
from PySide6.QtTest import QTest
from PySide6.QtWidgets import QApplication

from varemo_contas.app import desktop

JOIN_1_0 = (
    "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) "
)
JOIN_2_1 = (
    "LEFT JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1) "
)
JOIN_3_2 = (
    "LEFT JOIN NivelCategoria2 ON NivelCategoria2.Codigo = NivelCategoria3.CodigoCategoria2) "
)
JOIN_4_3 = (
    "LEFT JOIN NivelCategoria3 ON NivelCategoria3.Codigo = NivelCategoria4.CodigoCategoria3) "
)
# Part 2.5's joined queries, from the spec's literal pieces.
JOINED = {
    1: "SELECT * FROM (NivelCategoria1 "
    + JOIN_1_0
    + "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome;",
    2: "SELECT * FROM ((NivelCategoria2 "
    + JOIN_2_1
    + JOIN_1_0
    + "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome;",
    3: "SELECT * FROM (((NivelCategoria3 "
    + JOIN_3_2
    + JOIN_2_1
    + JOIN_1_0
    + "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome, "
    + "NivelCategoria3.Nome;",
    4: "SELECT * FROM ((((NivelCategoria4 "
    + JOIN_4_3
    + JOIN_3_2
    + JOIN_2_1
    + JOIN_1_0
    + "ORDER BY NivelCategoria0.Nome, NivelCategoria1.Nome, NivelCategoria2.Nome, "
    + "NivelCategoria3.Nome, NivelCategoria4.Nome ;",
}
VIEWS = {
    "ID_Setor": (1, 1, 4, "Plano de Contas - Setor"),
    "ID_Grupo": (2, 1, 6, "Plano de Contas - Grupo"),
    "ID_Conta": (3, 1, 7, "Plano de Contas - Conta"),
    "ID_Item": (4, 0, 9, None),
}
RECORD_TOOLTIPS = {
    "ID_Incluir": "Incluir novo registro",
    "ID_Alterar": "Alterar o registro corrente",
    "ID_Excluir": "Excluir o registro corrente",
    "ID_Filtrar": "Localizar registro(s)",
    "ID_Gravar": "Gravar dados do registro",
    "ID_Cancelar": "Cancelar dados inseridos",
    "ID_Setor": "Visualiza todos os setores cadastrados",
    "ID_Grupo": "Visualiza todos os grupos cadastrados",
    "ID_Conta": "Visualiza todas as contas cadastrados",
    "ID_Item": "Visualiza e edita todos os itens cadastrados",
    "ID_Relatorios": "Para visualizar, inserir, editar e visualizar relatórios",
    "ID_PlanoContas": "Mostra/Imprime o plano de contas financeiro",
    "ID_SobreoPrograma": "Fornece dados sobre o programa",
    "ID_Checarnova": "Como checar se existe nova versão do módulo",
    "ID_Novaversão": "Como checar se existe nova versão do módulo",
    "ID_EnviarMail": "Para enviar um comentário, sugestão, critíca",
    "ID_AjudadoPrograma": "Fornece ajuda do programa",
    "ID_Oqueéisto?": "Ajuda local",
    "ID_Oqueé": "Ajuda local",
    "ID_ConteúdoeÍndice": "Ajuda - Conteúdo e Índice",
    "ID_LocalizarnaAjuda": "Localizar na ajuda",
    "ID_Sair": "Sair do programa",
}
REPORT_TOOLTIPS = {
    "ID_Incluir": "Incluir novo relatório",
    "ID_Alterar": "Editar o relatório selecionado",
    "ID_Excluir": "Excluir o relatório selecionado",
}
SELECT_FIRST = ("Primeiro selecione o relatório na lista", "Selecionar Relatório")
REPORTS = "SELECT CodigoRelatorio, NomeRelatorio FROM Relatorios ORDER BY CodigoRelatorio"
REPORT_ITEMS = (
    "SELECT CodigoRelatorio, Nivel, CodigoConta, Imagem FROM RelatorioItens "
    "ORDER BY CodigoRelatorio, Nivel, CodigoConta"
)
CHART = [f"SELECT * FROM NivelCategoria{k} ORDER BY Codigo" for k in range(5)]
SECOND_REPORT = """
    INSERT INTO Relatorios (CodigoRelatorio, NomeRelatorio) VALUES (2, 'Custos Fixos');
    INSERT INTO RelatorioItens (CodigoRelatorio, Nivel, CodigoConta, Imagem) VALUES
        (2, 'N3', 5, 3), (2, 'N4', 6, 3);
"""


def counter(window) -> str:
    return window.Status.panel_text(2)


def panels(window) -> list[str]:
    return [window.Status.panel_text(i) for i in range(4)]


def current_code(window, level: int) -> int:
    return int(window.data_set()[f"NivelCategoria{level}.Codigo"])


def go_to(window, level: int, code: int) -> None:
    """Make a row current the way the user does: a click on its tree node."""
    window.Arvore_NodeClick(window.node(f"{code}N{level}"))


def report_list(window) -> list[tuple[str, int]]:
    return [
        (window.Relatos.item(i).text(), window.Relatos.item(i).data(Qt.ItemDataRole.UserRole))
        for i in range(window.Relatos.count())
    ]


def choose_report(window, name: str) -> None:
    row = [text for text, _code in report_list(window)].index(name)
    window.Relatos.setCurrentRow(row)


def snapshot(rows) -> list:
    return [rows(REPORTS), rows(REPORT_ITEMS), *(rows(sql) for sql in CHART)]


# --- the view commands ----------------------------------------------------------------------


@pytest.mark.parametrize("key", list(VIEWS))
def test_a_view_command_switches_level_and_page(contas, fake_desktop, jet_texts, key):
    """Part 2.3: `NivelAtual` becomes the level and its joined data set is opened."""
    level, page, total, caption = VIEWS[key]
    if key == "ID_Item":
        contas.tool_click("ID_Setor")
    sent = jet_texts(contas)
    contas.tool_click(key)
    assert (contas.NivelAtual, contas.PaginaAtiva, contas.Pasta.currentIndex()) == (
        level,
        page,
        page,
    )
    assert JOINED[level] in sent
    assert contas.Dados[page].record_source == JOINED[level]
    assert contas.TotalRegistros[page] == total
    assert counter(contas).endswith(f"/{total}")
    if caption is not None:
        assert contas.NovoRotulo.text() == caption


def test_view_commands_keep_the_current_row_going_up(contas, fake_desktop):
    """Part 2.3 left to the implementer: the former row's ancestor becomes current."""
    contas.Movimento_Click(5)  # CDB: Receitas > Receitas Financeiras > Vendas Produtos (6) > ...
    contas.tool_click("ID_Conta")
    assert current_code(contas, 3) == 7
    assert contas.Texto[3].text() == "Aplicações"
    assert counter(contas) == "Registro 7/7"
    contas.tool_click("ID_Grupo")
    assert current_code(contas, 2) == 6
    assert counter(contas) == "Registro 6/6"
    contas.tool_click("ID_Setor")
    assert current_code(contas, 1) == 4
    assert contas.Texto[1].text() == "Receitas Financeiras"
    assert counter(contas) == "Registro 4/4"


def test_view_commands_keep_the_current_row_going_down(contas, fake_desktop):
    """Going down, the first row under the former one becomes current."""
    go_to(contas, 1, 2)  # Despesas Fornecedores
    contas.tool_click("ID_Grupo")
    assert current_code(contas, 2) == 4  # Fornecedores Insumos, the first by name
    assert counter(contas) == "Registro 2/6"
    contas.tool_click("ID_Item")
    assert current_code(contas, 4) == 5
    assert [c.text() for c in contas.Combo] == [
        "Despesas",
        "Despesas Fornecedores",
        "Fornecedores Insumos",
        "Farinhas",
        "Farinha de trigo",
    ]
    assert counter(contas) == "Registro 4/9"


def test_a_view_command_without_the_row_at_the_new_level_shows_the_first_row(
    start_contas, fake_desktop
):
    """A sector without groups has no row at level 2: the data set starts at its first row."""
    window = start_contas(
        "INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) VALUES (9, 'Sem grupos', 2);"
    )
    go_to(window, 1, 9)
    assert window.Texto[1].text() == "Sem grupos"
    window.tool_click("ID_Grupo")
    assert counter(window) == "Registro 1/6"
    assert current_code(window, 2) == 5


def test_a_view_command_for_the_level_shown_keeps_the_row(contas, fake_desktop):
    for _ in range(4):
        contas.Movimento_Click(4)
    contas.tool_click("ID_Item")
    assert counter(contas) == "Registro 5/9"
    assert current_code(contas, 4) == 4


def test_the_level_page_fields_follow_the_level(contas, fake_desktop):
    """Part 2.4 (used by the view commands): the current level's field is the active one."""
    contas.tool_click("ID_Grupo")
    assert contas.Texto[2].styleSheet() != contas.Texto[1].styleSheet()
    assert contas.Texto[1].styleSheet() == contas.Texto[0].styleSheet()
    contas.tool_click("ID_Setor")
    assert contas.Texto[1].styleSheet() != contas.Texto[0].styleSheet()


def test_view_commands_write_the_joined_query_into_the_shared_sql(contas, fake_desktop):
    contas.tool_click("ID_Conta")
    assert contas.state.sql == JOINED[3]


# --- tooltips and unknown keys --------------------------------------------------------------


@pytest.mark.parametrize(("key", "text"), list(RECORD_TOOLTIPS.items()))
def test_tooltip_of_each_command_also_goes_to_the_status_bar(contas, fake_desktop, key, text):
    """Part 2.3: the tooltip of a key, written to a panel of `Status` when not empty."""
    assert contas.tooltip_for(key) == text
    assert contas.Status.panel_text(0) == text


def test_tooltips_of_the_sibling_modules(contas, fake_desktop):
    for number in range(1, 11):
        text = contas.tooltip_for(f"ID_Modulo{number}")
        assert text.startswith("Encerrar este módulo e iniciar o ")
        assert len(text) > len("Encerrar este módulo e iniciar o ")


@pytest.mark.parametrize(("key", "text"), list(REPORT_TOOLTIPS.items()))
def test_record_commands_have_report_tooltips_while_the_list_is_visible(
    contas, fake_desktop, key, text
):
    contas.tool_click("ID_Relatorios")
    assert contas.tooltip_for(key) == text
    assert contas.Status.panel_text(0) == text


def test_a_key_in_no_row_of_the_table_does_nothing(contas, fake_desktop, rows):
    """Part 2.3 edge case: no action, empty tooltip, the status bar left as it is."""
    contas.Status.set_panel(0, "texto anterior")
    before = (panels(contas), contas.NivelAtual, contas.PaginaAtiva, contas.Modo, snapshot(rows))
    assert contas.tooltip_for("ID_Inexistente") == ""
    contas.tool_click("ID_Inexistente")
    contas.tool_click("ID_Modulo11")
    after = (panels(contas), contas.NivelAtual, contas.PaginaAtiva, contas.Modo, snapshot(rows))
    assert after == before
    assert fake_desktop.boxes == []
    assert fake_desktop.named("show_modal") == []


# --- the report list ----------------------------------------------------------------------


def test_id_relatorios_shows_the_saved_reports_with_their_codes(start_contas, fake_desktop):
    """Part 2.3: `Relatos` filled from `Relatorios`, the code kept beside each name."""
    window = start_contas(SECOND_REPORT)
    assert not window.reports_visible()
    window.tool_click("ID_Relatorios")
    assert window.reports_visible()
    assert sorted(report_list(window)) == [("Custos Fixos", 2), ("Resultado Mensal", 1)]
    assert window.Relatos.selectedItems() == []


@pytest.mark.parametrize("key", ["ID_Alterar", "ID_Excluir"])
def test_report_command_with_nothing_chosen_asks_to_select_first(contas, fake_desktop, rows, key):
    """Part 2.3 edge case: "Primeiro selecione o relatório na lista", nothing changes."""
    before = snapshot(rows)
    contas.tool_click("ID_Relatorios")
    contas.tool_click(key)
    assert [(b.prompt, b.buttons, b.title) for b in fake_desktop.boxes] == [
        (SELECT_FIRST[0], desktop.vbInformation, SELECT_FIRST[1])
    ]
    assert fake_desktop.named("show_modal") == []
    assert snapshot(rows) == before
    assert contas.Modo == "Visualizar" and not (contas.EmInclusao or contas.EmAlteracao)


@pytest.mark.parametrize("key", ["ID_Alterar", "ID_Excluir"])
def test_the_list_taking_the_focus_is_not_a_choice(contas, fake_desktop, rows, key):
    """Qt makes the first row current when the list takes the focus; that is no choice."""
    contas.tool_click("ID_Relatorios")
    event = QFocusEvent(QEvent.Type.FocusIn, Qt.FocusReason.TabFocusReason)
    QApplication.sendEvent(contas.Relatos, event)
    assert contas.Relatos.currentRow() == 0  # what Qt does on focus
    before = snapshot(rows)
    contas.tool_click(key)
    assert [b.prompt for b in fake_desktop.boxes] == [SELECT_FIRST[0]]
    assert snapshot(rows) == before


def click_report(window, name: str, modifier=Qt.KeyboardModifier.NoModifier) -> None:
    """A real mouse click on the report's row of `Relatos` (the window must be shown)."""
    row = [text for text, _code in report_list(window)].index(name)
    rect = window.Relatos.visualItemRect(window.Relatos.item(row))
    QTest.mouseClick(window.Relatos.viewport(), Qt.MouseButton.LeftButton, modifier, rect.center())


@pytest.fixture
def shown(contas, qtbot):
    contas.resize(1200, 780)
    contas.show()
    qtbot.waitExposed(contas)
    contas.tool_click("ID_Relatorios")
    return contas


def test_a_mouse_click_on_a_report_chooses_it(shown, fake_desktop):
    click_report(shown, "Resultado Mensal")
    assert shown.CodigoRelatorio == 1
    fake_desktop.answers = [desktop.vbNo]
    shown.tool_click("ID_Excluir")
    assert fake_desktop.boxes[0].prompt == (
        "Deseja excluir definivamente o relatório Resultado Mensal?"
    )


def test_a_report_deselected_in_the_list_is_no_longer_chosen(shown, fake_desktop, rows):
    """Part 2.3 selection check: with no report selected in the list, the message."""
    before = snapshot(rows)
    click_report(shown, "Resultado Mensal")
    click_report(shown, "Resultado Mensal", Qt.KeyboardModifier.ControlModifier)
    assert shown.Relatos.selectedItems() == []
    fake_desktop.answers = [desktop.vbYes]
    shown.tool_click("ID_Excluir")
    assert [b.prompt for b in fake_desktop.boxes] == [SELECT_FIRST[0]]
    assert snapshot(rows) == before


def test_answering_no_to_the_delete_question_leaves_both_tables_untouched(
    contas, fake_desktop, rows
):
    """Part 2.3 edge case: the question, and on No nothing is deleted."""
    before = snapshot(rows)
    contas.tool_click("ID_Relatorios")
    choose_report(contas, "Resultado Mensal")
    fake_desktop.answers = [desktop.vbNo]
    contas.tool_click("ID_Excluir")
    assert [(b.prompt, b.title) for b in fake_desktop.boxes] == [
        ("Deseja excluir definivamente o relatório Resultado Mensal?", "Excluir relatório")
    ]
    buttons = fake_desktop.boxes[0].buttons
    assert buttons & 0x0F == desktop.vbYesNo
    assert buttons & 0x70 == desktop.vbQuestion
    assert snapshot(rows) == before
    assert report_list(contas) == [("Resultado Mensal", 1)]


def test_the_delete_question_has_no_as_the_default_button(contas, fake_desktop):
    """Overview conventions: confirmations use Yes and No with No the default."""
    contas.tool_click("ID_Relatorios")
    choose_report(contas, "Resultado Mensal")
    fake_desktop.answers = [desktop.vbNo]
    contas.tool_click("ID_Excluir")
    assert fake_desktop.boxes[0].buttons & desktop.vbDefaultButton2


def test_answering_yes_deletes_the_items_then_the_report_and_refills_the_list(
    start_contas, fake_desktop, rows, jet_texts
):
    """Part 2.3 "Deleting a report" steps 2-3: items first, then the report; the list again."""
    window = start_contas(SECOND_REPORT)
    window.tool_click("ID_Relatorios")
    choose_report(window, "Resultado Mensal")
    sent = jet_texts(window)
    fake_desktop.answers = [desktop.vbYes]
    window.tool_click("ID_Excluir")
    deletes = [text for text in sent if text.startswith("DELETE")]
    assert deletes == [
        "DELETE * FROM RelatorioItens WHERE CodigoRelatorio = 1;",
        "DELETE * FROM Relatorios WHERE CodigoRelatorio = 1;",
    ]
    assert rows(REPORTS) == [(2, "Custos Fixos")]
    assert rows(REPORT_ITEMS) == [(2, "N3", 5, 3), (2, "N4", 6, 3)]
    assert report_list(window) == [("Custos Fixos", 2)]
    assert window.reports_visible()


def test_after_a_deletion_nothing_is_chosen(contas, fake_desktop, rows):
    contas.tool_click("ID_Relatorios")
    choose_report(contas, "Resultado Mensal")
    contas.tool_click("ID_Excluir")
    assert rows(REPORTS) == []
    contas.tool_click("ID_Excluir")
    assert fake_desktop.boxes[-1].prompt == SELECT_FIRST[0]


def test_deleting_a_report_never_touches_the_chart(contas, fake_desktop, rows):
    """While `Relatos` is visible, "ID_Excluir" acts on reports instead of chart records."""
    chart = [rows(sql) for sql in CHART]
    contas.tool_click("ID_Relatorios")
    choose_report(contas, "Resultado Mensal")
    contas.tool_click("ID_Excluir")
    assert [rows(sql) for sql in CHART] == chart
    assert all("registro corrente" not in b.prompt for b in fake_desktop.boxes)


def test_a_failed_report_deletion_is_logged_and_deletes_nothing(
    start_contas, fake_desktop, rows, error_log_text
):
    """Part 2.3 failure handling with DESIGN.md's one transaction per action: the report's
    delete fails after its items were deleted, so both are as before."""
    window = start_contas(
        """
        CREATE TRIGGER nao_apaga BEFORE DELETE ON Relatorios
        BEGIN SELECT RAISE(ABORT, 'relatório protegido'); END;
        """
    )
    before = snapshot(rows)
    window.tool_click("ID_Relatorios")
    choose_report(window, "Resultado Mensal")
    window.tool_click("ID_Excluir")
    assert snapshot(rows) == before
    assert error_log_text().count("Rotina: ") == 1
    assert window.Modo == "Visualizar"
    assert report_list(window) == [("Resultado Mensal", 1)]


def test_choosing_a_report_keeps_its_code(start_contas, fake_desktop):
    window = start_contas(SECOND_REPORT)
    window.tool_click("ID_Relatorios")
    choose_report(window, "Custos Fixos")
    assert window.CodigoRelatorio == 2
    choose_report(window, "Resultado Mensal")
    assert window.CodigoRelatorio == 1


# --- archive mode ---------------------------------------------------------------------------

RECORD_KEYS = ("ID_Incluir", "ID_Alterar", "ID_Excluir")


def record_tools(window) -> list[bool]:
    return [window.actions_by_key[key].isEnabled() for key in RECORD_KEYS]


def test_archive_mode_keeps_insert_edit_delete_disabled_after_every_command(
    start_contas, fake_desktop
):
    """Part 1.1/2.3: archive data is read-only; no command switches the three tools back on."""
    window = start_contas("UPDATE DadosEmpresa SET Morto = 1;")
    assert window.windowTitle().endswith("   [Arq. Mortos Carregados]")
    assert record_tools(window) == [False, False, False]
    fake_desktop.answers = [desktop.vbNo] * 10
    for key in (
        "ID_Setor",
        "ID_Grupo",
        "ID_Conta",
        "ID_Item",
        "ID_Relatorios",
        "ID_Cancelar",
        "ID_Gravar",
        "ID_Checarnova",
        "ID_AjudadoPrograma",
        "ID_SobreoPrograma",
        "ID_Inexistente",
    ):
        window.tool_click(key)
        assert record_tools(window) == [False, False, False], key
    choose_report(window, "Resultado Mensal")
    assert record_tools(window) == [False, False, False]
    window.hide_report_list()
    window.MenuBotao("Visualizar")
    assert record_tools(window) == [False, False, False]
    for index in range(6):
        window.Movimento_Click(index)
    window.Arvore_NodeClick(window.node("9N4"))
    assert record_tools(window) == [False, False, False]


# --- the tools themselves ------------------------------------------------------------------


def test_a_tool_triggered_in_the_menu_or_toolbar_runs_its_command(contas, fake_desktop):
    """Part 2.3: every command is a `QAction` whose key goes to the one dispatcher."""
    contas.actions_by_key["ID_Conta"].trigger()
    assert (contas.NivelAtual, contas.PaginaAtiva) == (3, 1)
    assert 7 in fake_desktop.sounds
    contas.actions_by_key["ID_Item"].trigger()
    assert (contas.NivelAtual, contas.PaginaAtiva) == (4, 0)


def test_hovering_a_tool_shows_its_tooltip_in_the_status_bar(contas, fake_desktop):
    """Part 2.3 tooltip routine, with the hover sound of Part 1.4."""
    action = contas.actions_by_key["ID_Grupo"]
    action.hover()
    assert contas.Status.panel_text(0) == "Visualiza todos os grupos cadastrados"
    assert action.toolTip() == "Visualiza todos os grupos cadastrados"
    assert 6 in fake_desktop.sounds


def test_hovering_a_record_tool_on_the_report_list_shows_the_report_text(contas, fake_desktop):
    contas.tool_click("ID_Relatorios")
    contas.actions_by_key["ID_Excluir"].hover()
    assert contas.Status.panel_text(0) == "Excluir o relatório selecionado"


# --- report definitions from the list (Part 4.3's window, when it exists) -------------------


def test_id_incluir_on_the_list_opens_a_new_report_definition(contas, fake_desktop, rows):
    """Part 2.3: while `Relatos` is visible "ID_Incluir" starts a report, not a record."""
    pytest.importorskip("varemo_contas.reports.arvrelat")
    shown = []
    fake_desktop.modal_hook = shown.append
    chart = [rows(sql) for sql in CHART]
    contas.tool_click("ID_Relatorios")
    contas.tool_click("ID_Incluir")
    assert [type(window).__name__ for window in shown] == ["ArvRelat"]
    assert not contas.EmInclusao
    assert [rows(sql) for sql in CHART] == chart


def test_id_alterar_on_the_list_opens_the_chosen_report_definition(contas, fake_desktop):
    pytest.importorskip("varemo_contas.reports.arvrelat")
    shown = []
    fake_desktop.modal_hook = shown.append
    contas.tool_click("ID_Relatorios")
    choose_report(contas, "Resultado Mensal")
    contas.tool_click("ID_Alterar")
    assert [type(window).__name__ for window in shown] == ["ArvRelat"]
    assert not contas.EmAlteracao
    assert fake_desktop.boxes == []
