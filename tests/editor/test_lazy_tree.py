"""Part 2.1 on a large chart: items become nodes when their account opens (issue 3 speed)."""

from __future__ import annotations

import pytest

from varemo_contas.app.startup import start
from varemo_contas.editor import tree


@pytest.fixture
def lazy_contas(installation, fake_desktop, qtbot, monkeypatch):
    monkeypatch.setattr(tree, "LAZY_ITEMS_OVER", 2)
    window = start(str(installation.program))
    qtbot.addWidget(window)
    yield window
    window.Form_Unload()


def test_items_wait_until_their_account_opens(lazy_contas):
    account = lazy_contas.nodes["6N3"]  # "Energia": not the current row's account
    assert account.childCount() == 0
    assert "8N4" not in lazy_contas.nodes
    account.setExpanded(True)
    assert [account.child(i).text(0) for i in range(account.childCount())] == ["Conta de luz"]
    assert lazy_contas.nodes["8N4"].data(0, tree.KEY_ROLE) == "8N4"


def test_asking_for_an_item_node_opens_its_account(lazy_contas):
    assert "9N4" not in lazy_contas.nodes
    node = lazy_contas.node("9N4")
    assert node is not None and node.text(0) == "CDB"
    assert node.parent() is lazy_contas.nodes["7N3"]


def test_current_item_is_shown_in_the_tree(lazy_contas):
    lazy_contas.Movimento_Click(5)
    current = lazy_contas.Arvore.currentItem()
    assert current is not None and current.data(0, tree.KEY_ROLE).endswith("N4")


def test_report_marks_reach_items_not_yet_opened(lazy_contas):
    lazy_contas.tool_click("ID_Relatorios")
    lazy_contas.Relatos.item(0).setSelected(True)
    assert lazy_contas.nodes["6N3"].image == "Todos"
    assert "8N4" not in lazy_contas.nodes
    lazy_contas.nodes["6N3"].setExpanded(True)
    assert lazy_contas.nodes["8N4"].image == "Todos"


def test_a_saved_item_under_an_unopened_account_appears_when_it_opens(lazy_contas):
    lazy_contas.tool_click("ID_Incluir")
    for level, name in enumerate(
        ["Despesas", "Despesas Administrativas", "Ocupação", "Energia", "Gás"]
    ):
        lazy_contas.Combo[level].set_text(name)
    lazy_contas.tool_click("ID_Gravar")
    account = lazy_contas.nodes["6N3"]
    account.setExpanded(True)
    assert [account.child(i).text(0) for i in range(account.childCount())] == [
        "Conta de luz",
        "Gás",
    ]
