"""Part 4.4: the personalised report's feed (entries, totals, hidden zero controls)."""

from __future__ import annotations

from varemo_contas.reports.entries import entry, parse_entry
from varemo_contas.reports.personal import PersonalFeed, item_paths
from varemo_contas.reports.totals import ItemPath

ENTRIES = [
    entry("Receitas", 0, False),
    entry("Receitas Clientes", 1, False),
    entry("Vendas Produtos", 2, False),
    entry("Pães", 3, False),
    entry("Pão francês", 4, True),
    entry("Baguete", 4, True),
    entry("Despesas", 0, False),
    entry("Despesas Administrativas", 1, True),
    entry("Ocupação", 2, True),
    entry("Aluguel e condomínio", 3, True),
    entry("Aluguel da loja", 4, True),
    entry("Condomínio", 4, False),
]


def rows_of(feed: PersonalFeed) -> list:
    feed.DataInitialize()
    out = []
    while (row := feed.FetchData()) is not None:
        out.append(row)
    return out


def test_an_entry_is_name_level_digit_and_letter():
    assert entry("Pão francês", 4, True) == "Pão francês4S"
    assert parse_entry("  Pão francês4S ") == ("Pão francês", 4, True)
    assert parse_entry("Receitas0N") == ("Receitas", 0, False)


def test_only_level_4_entries_marked_s_are_printed():
    rows = rows_of(PersonalFeed(ENTRIES))
    assert [r.Item for r in rows] == ["Pão francês", "Baguete", "Aluguel da loja"]
    assert rows[2].path == ItemPath(
        "Despesas",
        "Despesas Administrativas",
        "Ocupação",
        "Aluguel e condomínio",
        "Aluguel da loja",
    )


def test_a_definition_with_no_items_gives_no_rows_and_zero_totals():
    feed = PersonalFeed([entry("Receitas", 0, False)])
    assert rows_of(feed) == []
    assert (feed.income_total, feed.expense_total, feed.balance) == (0.0, 0.0, 0.0)


def test_receitas_count_as_income_and_despesas_as_expenses():
    paths = item_paths(ENTRIES)
    totals = {paths[0]: (70.0, 140.0), paths[1]: (24.0, 3.0), paths[2]: (2500.0, 1.0)}
    feed = PersonalFeed(ENTRIES, totals)
    rows = rows_of(feed)
    assert [(r.Preco, r.Qde) for r in rows] == [(70.0, 140.0), (24.0, 3.0), (2500.0, 1.0)]
    assert feed.income_total == 94.0
    assert feed.expense_total == 2500.0
    assert feed.balance == -2406.0  # expenses larger than income: a negative difference


def test_an_item_under_another_categoria_prints_without_numbers_or_totals():
    entries = [entry("Vazia", 0, True), entry("S", 1, True), entry("G", 2, True)]
    entries += [entry("C", 3, True), entry("Item avulso", 4, True)]
    path = ItemPath("Vazia", "S", "G", "C", "Item avulso")
    feed = PersonalFeed(entries, {path: (99.0, 9.0)})
    [row] = rows_of(feed)
    assert (row.Preco, row.Qde) == (0.0, 0.0)
    assert not row.show_money and not row.show_quantity
    assert (feed.income_total, feed.expense_total) == (0.0, 0.0)


def test_an_item_whose_names_match_nothing_prints_with_zero_totals_hidden():
    feed = PersonalFeed(ENTRIES, {})
    rows = rows_of(feed)
    assert all(not r.show_money and not r.show_quantity for r in rows)


def test_previous_names_hold_the_last_rows_group_names_for_the_footers():
    feed = PersonalFeed(ENTRIES)
    feed.DataInitialize()
    feed.FetchData()
    feed.FetchData()
    assert feed.previous == ["Receitas", "Receitas Clientes", "Vendas Produtos", "Pães"]
    feed.FetchData()
    assert feed.previous == ["Receitas", "Receitas Clientes", "Vendas Produtos", "Pães"]
    assert feed.names[0] == "Despesas"
