"""Part 2.1 (level selectors): filling `Combo(k)`, the unknown-parent messages, the cascade.

The seeded company (tests/conftest.py SEED_SQL): categories Receitas (1), Despesas (2),
Vazia (3); two groups are named "Vendas Produtos" (code 1 under Receitas Clientes, code 6
under Receitas Financeiras), and the first one of the table is code 1.
To simulate a user choosing an entry: `combo.setCurrentIndex(i)` then `Combo_Click(index)`.
"""

from __future__ import annotations

import pytest

from varemo_contas.app import desktop

UNKNOWN_PARENT = {
    1: "Categoria não encontrada",
    2: "Depto. não encontrado",
    3: "Grupo não encontrado",
    4: "Conta não encontrada",
}
# A valid parent chain: the names above level k and the children listed at level k.
PATH = ["Despesas", "Despesas Administrativas", "Ocupação", "Aluguel e condomínio"]
CHILDREN = {
    1: ["Despesas Administrativas", "Despesas Fornecedores"],
    2: ["Ocupação"],
    3: ["Aluguel e condomínio", "Energia"],
    4: ["Aluguel da loja", "Condomínio"],
}
FILL_SQL = {
    1: "SELECT * FROM NivelCategoria1 WHERE CodigoCategoria0 = 2 ORDER BY Nome",
    2: "SELECT * FROM NivelCategoria2 WHERE CodigoCategoria1 = 3 ORDER BY Nome",
    3: "SELECT * FROM NivelCategoria3 WHERE CodigoCategoria2 = 5 ORDER BY Nome",
    4: "SELECT * FROM NivelCategoria4 WHERE CodigoCategoria3 = 5 ORDER BY Nome",
}
CASCADE_SQL = {
    0: "SELECT * FROM NivelCategoria1 WHERE CodigoCategoria0 = 2 ORDER BY Nome;",
    1: "SELECT * FROM NivelCategoria2 WHERE CodigoCategoria1 = 3 ORDER BY Nome;",
    2: "SELECT * FROM NivelCategoria3 WHERE CodigoCategoria2 = 5 ORDER BY Nome;",
    3: "SELECT * FROM NivelCategoria4 WHERE CodigoCategoria3 = 5 ORDER BY Nome;",
}


def names(combo) -> list[str]:
    return [combo.itemText(i) for i in range(combo.count())]


def texts(window) -> list[str]:
    return [combo.text() for combo in window.Combo]


def lists(window) -> list[list[str]]:
    return [names(combo) for combo in window.Combo]


def choose(window, index: int, name: str) -> None:
    """The user picks `name` in the list of `Combo(index)`."""
    combo = window.Combo[index]
    row = combo.findText(name)
    assert row >= 0, (name, names(combo))
    combo.setCurrentIndex(row)
    window.Combo_Click(index)


def set_chain(window, level: int) -> None:
    """Put the valid parent chain into the selectors above `level`."""
    for i in range(level):
        window.Combo[i].set_text(PATH[i])


def log_records(text: str) -> int:
    return text.count("Rotina: ")


# --- filling a selector --------------------------------------------------------------------


def test_selector_0_lists_the_categories_by_name_at_start(contas, fake_desktop, jet_texts):
    """Part 2.1: selector 0 is filled at start-up with "SELECT * FROM NivelCategoria0 ORDER BY
    Nome"; the lower selectors only show the current record (their lists start empty)."""
    assert names(contas.Combo[0]) == ["Despesas", "Receitas", "Vazia"]
    assert [names(contas.Combo[k]) for k in range(1, 5)] == [[], [], [], []]
    sent = jet_texts(contas)
    contas.PreencherCombo(0)
    assert sent == ["SELECT * FROM NivelCategoria0 ORDER BY Nome"]
    assert names(contas.Combo[0]) == ["Despesas", "Receitas", "Vazia"]


@pytest.mark.parametrize("level", [1, 2, 3, 4])
def test_filling_a_selector_lists_the_children_of_the_parent_named_above(
    contas, fake_desktop, jet_texts, level
):
    """Part 2.1 "Filling selector k" steps 2-4: name search, then the exact query text."""
    set_chain(contas, level)
    sent = jet_texts(contas)
    events = len(fake_desktop.named("process_events"))
    contas.PreencherCombo(level)
    assert names(contas.Combo[level]) == CHILDREN[level]
    assert sent == [FILL_SQL[level]]
    assert contas.state.sql == FILL_SQL[level]
    assert contas.CodigoProcurado == int(FILL_SQL[level].split(" = ")[1].split()[0])
    assert len(fake_desktop.named("process_events")) == events + 1  # step 4: events run once
    assert fake_desktop.boxes == []


@pytest.mark.parametrize("level", [1, 2, 3, 4])
def test_unknown_parent_shows_the_level_message_and_keeps_the_selector(contas, fake_desktop, level):
    """Part 2.1 failure handling: per-level message, information icon, selector unchanged."""
    set_chain(contas, level)
    contas.PreencherCombo(level)
    contas.Combo[level].set_text("texto antigo")
    old_list = names(contas.Combo[level])
    contas.Combo[level - 1].set_text("Nome que não existe")
    contas.PreencherCombo(level)
    assert [(b.prompt, b.buttons) for b in fake_desktop.boxes] == [
        (UNKNOWN_PARENT[level], desktop.vbInformation)
    ]
    assert names(contas.Combo[level]) == old_list
    assert contas.Combo[level].text() == "texto antigo"


def test_a_blank_parent_uses_the_code_last_found(contas, fake_desktop):
    """Part 2.1 step 2: the name search runs only for a non-empty parent text; otherwise the
    query takes whatever `CodigoProcurado` holds."""
    contas.Combo[0].set_text("Receitas")
    contas.PreencherCombo(1)
    assert contas.CodigoProcurado == 1
    contas.Combo[0].set_text("   ")
    contas.PreencherCombo(1)
    assert names(contas.Combo[1]) == ["Receitas Clientes", "Receitas Financeiras"]
    assert fake_desktop.boxes == []


def test_the_parent_text_is_trimmed_before_the_name_search(contas, fake_desktop):
    contas.Combo[0].set_text("  Receitas  ")
    contas.PreencherCombo(1)
    assert names(contas.Combo[1]) == ["Receitas Clientes", "Receitas Financeiras"]
    assert fake_desktop.boxes == []


@pytest.mark.parametrize("text", ["", "Texto digitado"])
def test_a_selector_keeps_its_text_when_its_list_is_filled(contas, fake_desktop, text):
    """Part 2.1: filling changes the list, never the text (Qt's editable combo would show the
    first entry)."""
    set_chain(contas, 1)
    contas.Combo[1].set_text(text)
    contas.PreencherCombo(1)
    assert names(contas.Combo[1]) == CHILDREN[1]
    assert contas.Combo[1].text() == text
    assert contas.Combo[1].currentIndex() == -1


def test_filling_finds_the_first_parent_of_that_name_in_the_whole_table(contas, fake_desktop):
    """Part 2.1 edge case: "Vendas Produtos" under Receitas Financeiras is group 6, but the
    name search finds group 1, the first of the table, and lists its accounts."""
    contas.Combo[1].set_text("Receitas Financeiras")
    contas.Combo[2].set_text("Vendas Produtos")
    contas.PreencherCombo(3)
    assert contas.CodigoProcurado == 1
    assert names(contas.Combo[3]) == ["Pães"]


def test_an_apostrophe_in_the_parent_name_goes_to_the_error_log(
    contas, fake_desktop, error_log_text
):
    """Part 2.1: the name is put into the search unescaped; the failure is logged."""
    set_chain(contas, 1)
    contas.PreencherCombo(1)
    contas.Combo[0].set_text("D'Ávila")
    contas.PreencherCombo(1)
    log = error_log_text()
    assert log_records(log) == 1
    assert "Descrição: " in log and "Nome = 'D'Ávila'" in log
    assert fake_desktop.boxes[-1].title == "Tratamento de Erros"
    assert fake_desktop.boxes[-1].buttons == desktop.vbCritical
    assert names(contas.Combo[1]) == CHILDREN[1]  # the selector keeps its list


# --- the cascade on a selector choice --------------------------------------------------------


def test_a_choice_while_browsing_does_nothing(contas, fake_desktop, jet_texts):
    """Part 2.1 cascade step 1: in "Visualizar" a choice in a selector is not acted on."""
    before = (texts(contas), lists(contas))
    sent = jet_texts(contas)
    for index in range(4):
        contas.Combo_Click(index)
    assert (texts(contas), lists(contas)) == before
    assert sent == []
    assert fake_desktop.boxes == []


def test_choosing_in_combo_4_changes_nothing(contas, fake_desktop, jet_texts, rows):
    """Part 2.1 edge case: Combo(4) has no level below; a choice there changes nothing."""
    contas.tool_click("ID_Incluir")
    contas.Combo[4].set_text("")
    choose(contas, 4, "Aluguel da loja")
    before = (texts(contas), lists(contas), contas.CodigoProcurado)
    sent = jet_texts(contas)
    items = rows("SELECT * FROM NivelCategoria4 ORDER BY Codigo")
    contas.Combo_Click(4)
    contas.Combo[4].activated.emit(1)
    assert (texts(contas), lists(contas), contas.CodigoProcurado) == before
    assert sent == []
    assert fake_desktop.boxes == []
    assert rows("SELECT * FROM NivelCategoria4 ORDER BY Codigo") == items


@pytest.mark.parametrize("index", [0, 1, 2, 3])
def test_a_choice_lists_the_children_below_with_the_cascade_query(
    contas, fake_desktop, jet_texts, index
):
    """Part 2.1 cascade steps 3-4: name search, then "... ORDER BY Nome;" into Combo(index+1)."""
    contas.tool_click("ID_Incluir")
    for i in range(index):
        choose(contas, i, PATH[i])
    sent = jet_texts(contas)
    choose(contas, index, PATH[index])
    assert names(contas.Combo[index + 1]) == CHILDREN[index + 1]
    assert sent == [CASCADE_SQL[index]]
    assert contas.state.sql == CASCADE_SQL[index]
    assert fake_desktop.boxes == []


@pytest.mark.parametrize("index", [0, 1, 2, 3])
def test_a_choice_clears_the_text_and_list_of_every_selector_below(contas, fake_desktop, index):
    """Part 2.1 cascade step 2; the selector just below gets its new list but no text."""
    contas.tool_click("ID_Incluir")
    for level in range(1, 5):
        contas.PreencherCombo(level)  # every selector has a list and a text
    contas.Combo[4].set_text("Aluguel da loja")
    assert all(lists(contas)) and all(texts(contas))
    choose(contas, index, PATH[index])
    assert texts(contas)[: index + 1] == PATH[: index + 1]
    assert texts(contas)[index + 1 :] == [""] * (4 - index)
    assert names(contas.Combo[index + 1]) == CHILDREN[index + 1]
    assert lists(contas)[index + 2 :] == [[]] * (3 - index)


def test_choosing_through_the_activated_signal_runs_the_cascade(contas, fake_desktop):
    """The selectors' `activated` signal is wired to `Combo_Click`."""
    contas.tool_click("ID_Incluir")
    row = contas.Combo[0].findText("Receitas")
    contas.Combo[0].setCurrentIndex(row)
    contas.Combo[0].activated.emit(row)
    assert names(contas.Combo[1]) == ["Receitas Clientes", "Receitas Financeiras"]
    assert contas.Combo[1].text() == ""


def test_the_cascade_acts_while_altering_too(contas, fake_desktop):
    """Part 2.1 cascade step 1: `EmAlteracao` also enables it (first item: CodigoProduto 0)."""
    contas.tool_click("ID_Alterar")
    assert contas.EmAlteracao
    choose(contas, 0, "Receitas")
    assert names(contas.Combo[1]) == ["Receitas Clientes", "Receitas Financeiras"]
    assert texts(contas)[1:] == ["", "", "", ""]


def test_a_chosen_name_not_found_shows_codigoprocurado_nao_encontrado(
    contas, fake_desktop, jet_texts
):
    """Part 2.1 failure handling: the message, then the children of the code last held."""
    contas.tool_click("ID_Incluir")
    choose(contas, 0, "Receitas")  # CodigoProcurado = 1
    contas.Combo[1].set_text("Setor que não existe")
    sent = jet_texts(contas)
    contas.Combo_Click(1)
    assert [b.prompt for b in fake_desktop.boxes] == ["CodigoProcurado não encontrado"]
    assert sent[-1] == "SELECT * FROM NivelCategoria2 WHERE CodigoCategoria1 = 1 ORDER BY Nome;"
    assert names(contas.Combo[2]) == ["Vendas Insumos", "Vendas Produtos"]


def test_two_rows_with_the_same_name_the_first_of_the_whole_table_is_taken(contas, fake_desktop):
    """Part 2.1 edge case: choosing "Vendas Produtos" under Receitas Financeiras (group 6)
    finds group 1, so Combo(3) lists "Pães" (group 1's) instead of "Aplicações" (group 6's)."""
    contas.tool_click("ID_Incluir")
    choose(contas, 0, "Receitas")
    choose(contas, 1, "Receitas Financeiras")
    assert names(contas.Combo[2]) == ["Vendas Produtos"]
    choose(contas, 2, "Vendas Produtos")
    assert contas.CodigoProcurado == 1
    assert names(contas.Combo[3]) == ["Pães"]
    choose(contas, 3, "Pães")
    assert names(contas.Combo[4]) == ["Baguete", "Pão francês"]


def test_an_apostrophe_in_a_chosen_name_goes_to_the_error_log(
    start_contas, fake_desktop, error_log_text
):
    """Part 2.1 edge case: the chosen name is put into "Nome = '...'" unescaped; the find
    fails, the failure is logged (cp1252 file) and the window stays usable."""
    window = start_contas(
        "INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0) VALUES (9, 'D''Ávila', 2);"
    )
    window.tool_click("ID_Incluir")
    choose(window, 0, "Despesas")
    assert "D'Ávila" in names(window.Combo[1])
    choose(window, 1, "D'Ávila")
    log = error_log_text()
    assert log_records(log) == 1
    assert "Rotina: " in log
    assert "Descrição: " in log and "Nome = 'D'Ávila'" in log
    assert window.Combo[2].count() == 0
    assert fake_desktop.boxes[-1].title == "Tratamento de Erros"
    # The window goes on: another choice works.
    choose(window, 1, "Despesas Fornecedores")
    assert names(window.Combo[2]) == ["Fornecedores Insumos", "Fornecedores Produtos"]


def test_a_choice_never_changes_the_tree(contas, fake_desktop):
    """Part 2.1 lifecycle: a choice in a selector never changes the tree."""
    from varemo_contas.editor.tree import walk

    def tree() -> list:
        return [
            (n.data(0, 256), n.text(0), n.data(0, 257)) for n in walk(contas.Arvore.topLevelItem(0))
        ]

    before = tree()
    contas.tool_click("ID_Incluir")
    choose(contas, 0, "Receitas")
    choose(contas, 1, "Receitas Clientes")
    choose(contas, 2, "Vendas Insumos")
    assert tree() == before
