"""The writing user actions of issue 6, shared by the crash and lock suites; not a test module.

Each action takes the loaded main window and a list that keeps the action's own windows
alive, prepares what the user does before the decisive click, and returns the trigger: a
callable that makes that click. A trigger may be called again after a failure, as the
user clicks again once the cause is gone (the window stays as the failure left it).
"""

from __future__ import annotations

from collections.abc import Callable

# The rows each action writes when it goes through: the check that a trigger did its work.
WRITES: dict[str, tuple[str, ...]] = {
    "hierarchy_save": ("NivelCategoria1", "NivelCategoria2", "NivelCategoria3", "NivelCategoria4"),
    "level_page_save": ("NivelCategoria2",),
    "delete_item": ("NivelCategoria4",),
    "report_save": ("Relatorios", "RelatorioItens"),
    "report_edit": ("Relatorios", "RelatorioItens"),
    "report_delete": ("Relatorios", "RelatorioItens"),
    "search_marking": ("NivelCategoria4", "Procura"),
    "search_preparation": ("NivelCategoria4", "Procura"),
    "period_confirmation": ("DadosEmpresa",),
}

NEW_PATH = ("Despesas", "Despesas Novas", "Grupo Novo", "Conta Nova", "Item Novo")

Trigger = Callable[[], None]


def hierarchy_save(window, keep: list) -> Trigger:
    """Part 2.5: a new Setor, Grupo, Conta and Item under the category "Despesas"."""
    window.tool_click("ID_Incluir")
    for level, name in enumerate(NEW_PATH):
        window.Combo[level].set_text(name)
    return lambda: window.tool_click("ID_Gravar")


def level_page_save(window, keep: list) -> Trigger:
    """Part 2.5 level page: a new Grupo "Investimentos" under "Receitas Financeiras"."""
    window.tool_click("ID_Grupo")
    window.Arvore_NodeClick(window.node("6N2"))
    window.tool_click("ID_Incluir")
    window.Texto[2].set_text("Investimentos")
    return lambda: window.tool_click("ID_Gravar")


def delete_item(window, keep: list) -> Trigger:
    """Part 2.6: delete item 7 "Condomínio" (no movements), every question answered Yes."""
    window.Arvore_NodeClick(window.node("7N4"))
    return lambda: window.tool_click("ID_Excluir")


def report_save(window, keep: list) -> Trigger:
    """Part 4.3: a new report definition with a few nodes toggled, saved after the question."""
    from varemo_contas.reports.arvrelat import ArvRelat

    report = ArvRelat(window.state, 1, 0, "", window)
    report.Nome.setText("Relatório Novo")
    root = report.Arvore.topLevelItem(0)
    categories = [root.child(i) for i in range(root.childCount())]
    report.Arvore_NodeClick(categories[0])  # a whole category
    report.Arvore_NodeClick(categories[1])
    sector = categories[1].child(0)
    if sector is not None:
        report.Arvore_NodeClick(sector)  # and back off for one of its sectors
    keep.append(report)
    return lambda: report.BotaoEscolha_Click(0)


def report_edit(window, keep: list) -> Trigger:
    """Part 4.3: the saved definition "Resultado Mensal" renamed and re-marked, then saved."""
    from varemo_contas.reports.arvrelat import ArvRelat

    report = ArvRelat(window.state, 2, 1, "Resultado Mensal", window)
    report.Nome.setText("Resultado Mensal Revisto")
    root = report.Arvore.topLevelItem(0)
    report.Arvore_NodeClick(root.child(0))
    report.Arvore_NodeClick(root.child(1))
    keep.append(report)
    return lambda: report.BotaoEscolha_Click(0)


def report_delete(window, keep: list) -> Trigger:
    """Part 2.3 "Deleting a report": "Resultado Mensal" chosen in the list, deleted after Yes."""
    window.tool_click("ID_Relatorios")
    names = [window.Relatos.item(i).text() for i in range(window.Relatos.count())]
    window.Relatos.setCurrentRow(names.index("Resultado Mensal"))
    window.Relatos_Click()
    return lambda: window.tool_click("ID_Excluir")


def _fill_search(search) -> None:
    search.Campo[0].setCurrentText("Item")
    search.Criterio[0].setCurrentText("contenha")
    search.Conteudo[0].setText("Pão")
    search.BotaoMais_Click(0)
    search.Campo[1].setCurrentText("Setor")
    search.Criterio[1].setCurrentText("contenha")
    search.Conteudo[1].setText("Receitas")


def search_marking(window, keep: list) -> Trigger:
    """Part 3.1: two criteria filled, the search click (the preparation ran before)."""
    from varemo_contas.search.procontas import ProContas

    search = ProContas(window.state, window)
    _fill_search(search)
    keep.append(search)
    return lambda: search.BotaoProcura_Click(2)


def search_preparation(window, keep: list) -> Trigger:
    """Part 3.1: bringing the search window up again, whose preparation clears the marks."""
    from varemo_contas.search.procontas import ProContas

    first = ProContas(window.state, window)  # a search first, so there are marks to clear
    _fill_search(first)
    first.BotaoProcura_Click(2)
    keep.append(first)
    return lambda: keep.append(ProContas(window.state, window))


def period_confirmation(window, keep: list) -> Trigger:
    """Part 4.2: another week start and the retroactive period type, then confirm."""
    from varemo_contas.reports.dataperiodo import DataPeriodo

    period = DataPeriodo(window.state, window)
    period.InicioSemana.setCurrentIndex((period.InicioSemana.currentIndex() + 2) % 7)
    period.OpcaoRetrocede_Click(0 if not period.OpcaoRetrocede[0].isChecked() else 1)
    keep.append(period)
    return lambda: period.Botao_Click(1)


def chart_lines(preview) -> list[str]:
    """The detail lines of the chart listing (Part 4.5) as the preview shows them."""
    return [
        text.text
        for page in preview.Visual.document.pages
        for text in page.texts()
        if text.section == "Detail"
    ]


ACTIONS: dict[str, Callable[[object, list], Trigger]] = {
    "hierarchy_save": hierarchy_save,
    "level_page_save": level_page_save,
    "delete_item": delete_item,
    "report_save": report_save,
    "report_edit": report_edit,
    "report_delete": report_delete,
    "search_marking": search_marking,
    "search_preparation": search_preparation,
    "period_confirmation": period_confirmation,
}
