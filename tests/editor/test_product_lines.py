"""Part 2.7 (product lines for purchase items), on the hierarchy page in insert mode.

`Linhas` of the seeded company (tests/conftest.py SEED_SQL): 1 "Pães" (goods), 2 "Farinhas"
(raw material), 3 "Sorvetes" (goods, no products), 4 NULL (goods); `Produtos`: "Pão
francês", "Baguete" and a NULL name in line 1, "Farinha de trigo" in line 2. The fixture of
this file adds lines "Embalagens" (raw), "Bolos" (goods), a NULL raw line, and products.
Under "Despesas Fornecedores" the groups are "Fornecedores Produtos" (3, account "Pães" with
item "Pão francês") and "Fornecedores Insumos" (4).
"""

from __future__ import annotations

import pytest

from varemo_contas.app import desktop

MORE_LINES = """
    INSERT INTO Linhas (CodigoLinha, NomeLinha, Insumo) VALUES
        (5, 'Embalagens', 1), (6, 'Bolos', 0), (7, NULL, 1);
    INSERT INTO Produtos (CodigoProduto, CodigoLinha, NomeProduto) VALUES
        (5, 6, 'Bolo de fubá'), (6, 1, 'Broa'), (7, 5, 'Caixa de papelão'), (8, 2, NULL),
        (9, 5, 'Saco de papel');
"""
GOODS_LINES = ["Bolos", "Pães", "Sorvetes"]
RAW_LINES = ["Embalagens", "Farinhas"]
NO_PRODUCTS = (
    "Não existem Produtos ou Linha de produto errada!",
    "Não existem produtos nesta linha",
)
ITEMS = "SELECT Codigo, Nome, CodigoCategoria3, CodigoProduto FROM NivelCategoria4 ORDER BY Codigo"
ACCOUNTS = "SELECT Codigo, Nome, CodigoCategoria2 FROM NivelCategoria3 ORDER BY Codigo"


def names(combo) -> list[str]:
    return [combo.itemText(i) for i in range(combo.count())]


def choose(window, index: int, name: str) -> None:
    """The user picks `name` in the list of `Combo(index)`."""
    combo = window.Combo[index]
    row = combo.findText(name)
    assert row >= 0, (name, names(combo))
    combo.setCurrentIndex(row)
    window.Combo_Click(index)


def choose_path(window, *path: str) -> None:
    for index, name in enumerate(path):
        choose(window, index, name)


@pytest.fixture
def editor(start_contas, fake_desktop):
    """The window on the seeded company with more lines, in insert mode on the item page."""
    window = start_contas(MORE_LINES)
    window.tool_click("ID_Incluir")
    assert window.EmInclusao and window.PaginaAtiva == 0
    return window


def test_fornecedores_produtos_lists_the_goods_lines_in_combo_3(editor, fake_desktop, jet_texts):
    """Part 2.7: product-line mode on, raw-material flag off, `Combo(3)` lists goods lines."""
    choose_path(editor, "Despesas", "Despesas Fornecedores")
    sent = jet_texts(editor)
    choose(editor, 2, "Fornecedores Produtos")
    assert (editor.ModoLinhas, editor.Insumo) == (True, False)
    assert names(editor.Combo[3]) == GOODS_LINES
    assert editor.Combo[3].text() == ""
    assert names(editor.Combo[4]) == []
    assert sent == [
        "SELECT Linhas.NomeLinha, Linhas.Insumo FROM Linhas WHERE Insumo = False"
        " ORDER BY Linhas.NomeLinha;"
    ]
    assert fake_desktop.boxes == []


def test_fornecedores_insumos_lists_the_raw_material_lines_in_combo_3(
    editor, fake_desktop, jet_texts
):
    """Part 2.7: both switches on; `Combo(3)` lists the raw-material lines."""
    choose_path(editor, "Despesas", "Despesas Fornecedores")
    sent = jet_texts(editor)
    choose(editor, 2, "Fornecedores Insumos")
    assert (editor.ModoLinhas, editor.Insumo) == (True, True)
    assert names(editor.Combo[3]) == RAW_LINES
    assert sent == [
        "SELECT Linhas.NomeLinha, Linhas.Insumo FROM Linhas WHERE Insumo = True"
        " ORDER BY Linhas.NomeLinha;"
    ]


def test_a_raw_material_line_is_never_offered_under_fornecedores_produtos(editor, fake_desktop):
    """Part 2.7 edge case, and the other way round."""
    choose_path(editor, "Despesas", "Despesas Fornecedores", "Fornecedores Produtos")
    goods = set(names(editor.Combo[3]))
    choose(editor, 2, "Fornecedores Insumos")
    raw = set(names(editor.Combo[3]))
    assert not goods & set(RAW_LINES)
    assert not raw & set(GOODS_LINES)
    assert goods and raw


def test_lines_and_products_with_a_null_name_are_skipped(editor, fake_desktop):
    """Part 2.7 edge case: line 4 (goods), line 7 (raw) and products 4 and 8 have no name."""
    choose_path(editor, "Despesas", "Despesas Fornecedores", "Fornecedores Produtos")
    assert editor.Combo[3].count() == len(GOODS_LINES)
    assert "" not in names(editor.Combo[3])
    choose(editor, 3, "Pães")
    assert names(editor.Combo[4]) == ["Baguete", "Broa", "Pão francês"]
    choose(editor, 2, "Fornecedores Insumos")
    assert names(editor.Combo[3]) == RAW_LINES
    choose(editor, 3, "Farinhas")
    assert names(editor.Combo[4]) == ["Farinha de trigo"]


def test_choosing_a_line_lists_its_products_in_combo_4_not_the_charts_items(
    editor, fake_desktop, jet_texts
):
    """Part 2.7 "Fill the product list": the chart has only "Pão francês" under the account
    "Pães" of this group; the products of line 1 are listed instead, by name."""
    choose_path(editor, "Despesas", "Despesas Fornecedores", "Fornecedores Produtos")
    sent = jet_texts(editor)
    choose(editor, 3, "Pães")
    assert names(editor.Combo[4]) == ["Baguete", "Broa", "Pão francês"]
    assert editor.Combo[4].text() == ""
    assert sent == [
        "SELECT * FROM Produtos WHERE Produtos.CodigoLinha = 1 ORDER BY Produtos.NomeProduto;"
    ]
    assert fake_desktop.boxes == []


def test_choosing_a_raw_material_line_lists_its_products(editor, fake_desktop):
    choose_path(editor, "Despesas", "Despesas Fornecedores", "Fornecedores Insumos")
    choose(editor, 3, "Embalagens")
    assert names(editor.Combo[4]) == ["Caixa de papelão", "Saco de papel"]


def test_a_line_without_products_is_listed_but_choosing_it_gives_the_message(editor, fake_desktop):
    """Part 2.7 edge case: "Sorvetes" comes from `Linhas` alone; the lines-and-products set
    (an inner join) does not hold it."""
    choose_path(editor, "Despesas", "Despesas Fornecedores", "Fornecedores Produtos")
    assert "Sorvetes" in names(editor.Combo[3])
    choose(editor, 3, "Sorvetes")
    assert [(b.prompt, b.buttons, b.title) for b in fake_desktop.boxes] == [
        (NO_PRODUCTS[0], desktop.vbInformation, NO_PRODUCTS[1])
    ]
    assert names(editor.Combo[4]) == []
    assert editor.Combo[3].text() == ""  # the implementer's reset value


def test_a_typed_line_of_the_other_kind_gives_the_message(editor, fake_desktop):
    """Part 2.7 failure handling: the find uses the current flag ("... AND Insumo = True")."""
    choose_path(editor, "Despesas", "Despesas Fornecedores", "Fornecedores Insumos")
    editor.Combo[3].set_text("Pães")
    editor.Combo_Click(3)
    assert [(b.prompt, b.title) for b in fake_desktop.boxes] == [NO_PRODUCTS]
    assert names(editor.Combo[4]) == []


def test_a_typed_line_that_does_not_exist_gives_the_message(editor, fake_desktop):
    choose_path(editor, "Despesas", "Despesas Fornecedores", "Fornecedores Produtos")
    editor.Combo[3].set_text("Linha inventada")
    editor.Combo_Click(3)
    assert [(b.prompt, b.title) for b in fake_desktop.boxes] == [NO_PRODUCTS]


def test_a_line_name_with_an_apostrophe_breaks_the_find_into_the_error_log(
    start_contas, fake_desktop, error_log_text
):
    """Part 2.7 edge case: "NomeLinha = 'Pão d'Ouro' AND Insumo = False" fails."""
    window = start_contas(
        """
        INSERT INTO Linhas (CodigoLinha, NomeLinha, Insumo) VALUES (8, 'Pão d''Ouro', 0);
        INSERT INTO Produtos (CodigoProduto, CodigoLinha, NomeProduto) VALUES (10, 8, 'Pão doce');
        """
    )
    window.tool_click("ID_Incluir")
    choose_path(window, "Despesas", "Despesas Fornecedores", "Fornecedores Produtos")
    assert "Pão d'Ouro" in names(window.Combo[3])
    choose(window, 3, "Pão d'Ouro")
    log = error_log_text()
    assert log.count("Rotina: ") == 1
    assert "NomeLinha = 'Pão d'Ouro'" in log
    assert fake_desktop.boxes[-1].title == "Tratamento de Erros"
    assert names(window.Combo[4]) == []
    choose(window, 3, "Pães")  # the window goes on
    assert names(window.Combo[4]) == ["Baguete", "Pão francês"]


@pytest.mark.parametrize(
    ("sector", "group", "accounts", "account", "items"),
    [
        ("Receitas Clientes", "Vendas Produtos", ["Pães"], "Pães", ["Baguete", "Pão francês"]),
        ("Receitas Clientes", "Vendas Insumos", ["Farinhas"], "Farinhas", ["Farinha de trigo"]),
    ],
)
def test_the_sales_sectors_are_not_in_product_line_mode(
    editor, fake_desktop, sector, group, accounts, account, items
):
    """Part 2.7 edge case: the sales groups list the chart's accounts and items (line 1 also
    has "Broa", which is no item of the chart)."""
    choose_path(editor, "Receitas", sector, group)
    assert editor.ModoLinhas is False
    assert names(editor.Combo[3]) == accounts
    choose(editor, 3, account)
    assert names(editor.Combo[4]) == items
    assert fake_desktop.boxes == []


def test_an_ordinary_group_after_a_supplier_group_leaves_product_line_mode(editor, fake_desktop):
    """Part 2.1 cascade step 5: every choice in `Combo(2)` first sets the mode off."""
    choose_path(editor, "Despesas", "Despesas Fornecedores", "Fornecedores Produtos")
    assert editor.ModoLinhas
    choose(editor, 1, "Despesas Administrativas")
    choose(editor, 2, "Ocupação")
    assert editor.ModoLinhas is False
    assert names(editor.Combo[3]) == ["Aluguel e condomínio", "Energia"]


def test_the_special_names_are_compared_case_included(start_contas, fake_desktop):
    """Part 2.7 "Decide the mode": "fornecedores produtos" is an ordinary group."""
    window = start_contas(
        """
        INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1, Travado)
            VALUES (7, 'fornecedores produtos', 3, 0);
        INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0, Travado)
            VALUES (5, 'despesas fornecedores', 2, 0);
        INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1, Travado)
            VALUES (8, 'Fornecedores Produtos', 5, 0);
        """
    )
    window.tool_click("ID_Incluir")
    choose_path(window, "Despesas", "Despesas Administrativas", "fornecedores produtos")
    assert window.ModoLinhas is False
    choose_path(window, "Despesas", "despesas fornecedores", "Fornecedores Produtos")
    assert window.ModoLinhas is False
    assert fake_desktop.boxes == []


def test_a_chosen_line_and_product_are_saved_as_chart_names_with_codigo_produto_0(
    editor, fake_desktop, rows
):
    """Part 2.7 "What is saved": the missing account under the group, the item under it."""
    accounts = rows(ACCOUNTS)
    items = rows(ITEMS)
    choose_path(editor, "Despesas", "Despesas Fornecedores", "Fornecedores Produtos")
    choose(editor, 3, "Bolos")
    choose(editor, 4, "Bolo de fubá")
    editor.tool_click("ID_Gravar")
    assert not editor.EmInclusao
    new_accounts = [row for row in rows(ACCOUNTS) if row not in accounts]
    assert [(name, parent) for _code, name, parent in new_accounts] == [("Bolos", 3)]
    new_items = [row for row in rows(ITEMS) if row not in items]
    assert [(name, parent, product) for _c, name, parent, product in new_items] == [
        ("Bolo de fubá", new_accounts[0][0], 0)
    ]


def test_a_product_under_an_existing_line_account_is_saved_under_it(editor, fake_desktop, rows):
    items = rows(ITEMS)
    choose_path(editor, "Despesas", "Despesas Fornecedores", "Fornecedores Produtos")
    choose(editor, 3, "Pães")
    choose(editor, 4, "Broa")
    editor.tool_click("ID_Gravar")
    new_items = [row for row in rows(ITEMS) if row not in items]
    assert [(name, parent, product) for _c, name, parent, product in new_items] == [("Broa", 3, 0)]
    assert len(rows(ACCOUNTS)) == 7


def test_inserting_from_a_supplier_item_lists_lines_and_products_at_once(
    start_contas, fake_desktop
):
    """Part 2.7 via Part 2.4: the selectors above keep the supplier path, so the lists of
    levels 3 and 4 are the lines and the products of the line named in `Combo(3)`."""
    window = start_contas(MORE_LINES)
    window.Arvore_NodeClick(window.node("4N4"))  # Pão francês under Fornecedores Produtos
    window.tool_click("ID_Incluir")
    assert [c.text() for c in window.Combo] == [
        "Despesas",
        "Despesas Fornecedores",
        "Fornecedores Produtos",
        "Pães",
        "",
    ]
    assert window.ModoLinhas and not window.Insumo
    assert names(window.Combo[3]) == GOODS_LINES
    assert names(window.Combo[4]) == ["Baguete", "Broa", "Pão francês"]
    assert fake_desktop.boxes == []


def test_editing_an_unlinked_item_of_a_raw_material_group_lists_lines_and_products(
    start_contas, fake_desktop
):
    """Part 2.7: an item with `CodigoProduto` 0 under "Fornecedores Insumos" is editable and
    its account and item selectors list raw-material lines and that line's products."""
    window = start_contas(
        MORE_LINES
        + """
        INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (8, 'Embalagens', 4);
        INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3, CodigoProduto, Marca)
            VALUES (10, 'Caixa de papelão', 8, 0, 0);
        """
    )
    window.Arvore_NodeClick(window.node("10N4"))
    window.tool_click("ID_Alterar")
    assert window.EmAlteracao
    assert window.ModoLinhas and window.Insumo
    assert names(window.Combo[3]) == RAW_LINES
    assert names(window.Combo[4]) == ["Caixa de papelão", "Saco de papel"]
    assert [c.text() for c in window.Combo][3:] == ["Embalagens", "Caixa de papelão"]
    assert fake_desktop.boxes == []


def test_the_lines_and_products_set_is_opened_at_start_with_the_spec_query(contas, fake_desktop):
    """Part 2.7 data model: one inner join, so a line without products is not in it."""
    assert contas.Linhas.source == (
        "SELECT Linhas.CodigoLinha, Linhas.NomeLinha, Linhas.Insumo, Produtos.* "
        + "FROM Linhas INNER JOIN Produtos ON Linhas.CodigoLinha = Produtos.CodigoLinha "
        + " ORDER BY Linhas.Insumo, Linhas.NomeLinha, Produtos.NomeProduto;"
    )
    assert contas.Linhas.record_count == 4  # lines 1 and 2 only; "Sorvetes" has no products


def test_the_product_list_finds_the_line_by_name_and_flag(editor, fake_desktop, monkeypatch):
    """Part 2.7 "Fill the product list" step 2: "NomeLinha = '" + name + "' AND Insumo = "."""
    criteria: list[str] = []
    original = editor.Linhas.find_first

    def spy(text: str) -> bool:
        criteria.append(text)
        return original(text)

    monkeypatch.setattr(editor.Linhas, "find_first", spy)
    choose_path(editor, "Despesas", "Despesas Fornecedores", "Fornecedores Produtos")
    choose(editor, 3, "Pães")
    choose(editor, 2, "Fornecedores Insumos")
    choose(editor, 3, "Farinhas")
    assert criteria == [
        "NomeLinha = 'Pães' AND Insumo = False",
        "NomeLinha = 'Farinhas' AND Insumo = True",
    ]


def test_the_lists_are_read_through_the_scratch_source_and_closed(editor, fake_desktop):
    """Part 2.7: `Rascunho` is opened for each query and closed after it."""
    choose_path(editor, "Despesas", "Despesas Fornecedores", "Fornecedores Produtos")
    assert editor.Rascunho.recordset is None
    choose(editor, 3, "Pães")
    assert editor.Rascunho.recordset is None
    assert editor.Rascunho.record_source.startswith("SELECT * FROM Produtos WHERE ")
