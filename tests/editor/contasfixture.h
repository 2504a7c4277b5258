#pragma once

#include "app/state.h"
#include "data/database.h"
#include "editor/contas.h"
#include "editor/tree.h"
#include "editor/widgets.h"
#include "support/company.h"
#include "support/fakedesktop.h"

#include <QAction>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QStringList>
#include <QTabWidget>
#include <QTest>
#include <QToolBar>
#include <QTreeWidget>

#include <memory>

namespace varemo::test {

// "key name/parent key" of every node under the root, in walk order.
inline QStringList treeShape(QTreeWidget* tree)
{
    QStringList shape;
    QTreeWidgetItem* root = tree->topLevelItem(0);
    walkTree(root, [&shape, root](QTreeWidgetItem* node) {
        if (node != root)
            shape << nodeKeyOf(node) + u' ' + node->text(0) + u'/' + nodeKeyOf(node->parent());
    });
    return shape;
}

// Each child's name and image, "|" between them.
inline QString childList(const QTreeWidgetItem* node)
{
    QStringList names;
    for (int i = 0; node && i < node->childCount(); ++i)
        names << node->child(i)->text(0) + u':' + nodeImage(node->child(i));
    return names.join(u'|');
}

// A desktop that also notes whether the company file was still open when a module started,
// and fails a box shown while an action still holds the company for writing: other
// workstations would wait on the box until they gave up.
class ModuleDesktop : public FakeDesktop {
public:
    explicit ModuleDesktop(AppState& state)
        : m_state(state)
    {
    }
    int msgbox(const QString& prompt, int buttons = vb::OKOnly, const QString& title = {}) override
    {
        QTest::qVerify(!(m_state.database && m_state.database->inTransaction()), "box inside a write",
            qPrintable(title), __FILE__, __LINE__);
        return FakeDesktop::msgbox(prompt, buttons, title);
    }
    void startModule(int number) override
    {
        FakeDesktop::startModule(number);
        calls.last() += m_state.database && m_state.database->isOpen() ? u" open" : u" closed";
    }

private:
    AppState& m_state;
};

// The main window loaded on a seeded test company, as start-up leaves it (not shown).
// `changes` are SQLite statements run on the company file before the load.
struct LoadedContas {
    explicit LoadedContas(const QStringList& changes = {})
        : desktop(state)
    {
        for (const QString& statement : changes)
            company.exec(statement);
        company.closeSql();
        state.programFolder = company.programFolder();
        state.dataFolder = company.dataFolder();
        state.databasePath = company.databasePath();
        state.companyName = QStringLiteral("Padaria Teste Ltda");
        state.database = Database::open(company.databasePath());
        window = std::make_unique<Contas>(state, desktop);
        loaded = window->Form_Load();
    }

    // Forgets what the load itself asked of the desktop.
    void clearCalls() { static_cast<FakeDesktop&>(desktop) = FakeDesktop(); }

    // Runs space-separated steps: "ID_..." a command, "m3" Movimento 3, "f3" MoveFiltro 3,
    // "n2N4" a click on that tree node, "t1" a click on that tab, "h3" the report of 3 search
    // hits, "rName" a click on that saved report, "L0" the level shown, "=a/b" names typed into
    // the selectors from the category down, "~a" a name typed into the shown level's field ("_"
    // for a blank), "yes"/"no" the next box's answer, "Esc" the key, "clear" forgets the calls
    // so far, "<3" the focus leaving selector 3, "$SQL" another workstation's statement; "*N"
    // repeats a step.
    void play(const QString& steps)
    {
        for (const QString& word : steps.split(u' ', Qt::SkipEmptyParts)) {
            const QString step = word.section(u'*', 0, 0);
            const QString arg = step.mid(1).replace(u'_', u' ');
            const auto level = std::size_t(window->NivelAtual);
            for (int n = word.contains(u'*') ? word.section(u'*', 1).toInt() : 1; n > 0; --n) {
                if (step == u"yes" || step == u"no")
                    desktop.setNextAnswer(step == u"yes" ? vb::Yes : vb::No);
                else if (step == u"clear")
                    clearCalls();
                else if (step == u"Esc")
                    window->Form_KeyDown(Qt::Key_Escape);
                else if (step[0] == u'r')
                    window->Relatos->setCurrentItem(
                        window->Relatos->findItems(arg, Qt::MatchExactly).value(0));
                else if (step[0] == u'L')
                    window->NivelAtual = arg.toInt();
                else if (step[0] == u'$')
                    company.exec(arg);
                else if (step[0] == u'<')
                    Q_EMIT window->Combo[arg.toUInt()]->lineEdit()->editingFinished();
                else if (step[0] == u'~')
                    (level == 4 ? window->Combo : window->Texto)[level]->setText(arg);
                else if (step[0] == u'=')
                    for (qsizetype at = 0; at < 5 && at < arg.count(u'/') + 1; ++at)
                        window->Combo[std::size_t(at)]->setText(arg.section(u'/', int(at), int(at)));
                else if (step.startsWith(u"ID_"))
                    window->tool_click(step);
                else if (step[0] == u'm')
                    window->Movimento_Click(arg.toInt());
                else if (step[0] == u'f')
                    window->MoveFiltro_Click(arg.toInt());
                else if (step[0] == u'n')
                    window->Arvore_NodeClick(window->node(arg));
                else if (step[0] == u'h')
                    window->RelatorioEncontrados(arg.toInt());
                else if (step[0] == u't') {
                    Q_EMIT window->Pasta->tabBarClicked(arg.toInt());
                    window->Pasta->setCurrentIndex(arg.toInt());
                    QTest::qWait(1);
                } else
                    qFatal("unknown step %s", qPrintable(step));
            }
        }
    }

    // The window in one line: the mode, tool bars and first move on, the record tools and the
    // two menu groups on (left out while browsing as usual); the title of an archive; the status
    // message; tab, level, record counter, the current row's parent and name, the hit being
    // walked with the hit buttons that are on, the titles of the boxes shown; the last box's
    // first line and buttons; the rows of each level in the file (left out while they are the
    // seeded ones).
    QString screen()
    {
        const auto level = std::size_t(window->NivelAtual);
        const auto& page = level == 4 ? window->Combo : window->Texto;
        const auto on = [](bool shown) { return shown ? u'1' : u'0'; };
        QString shown = QStringLiteral("%1 %2 %3 %4/%5")
                            .arg(window->Pasta->currentIndex())
                            .arg(level)
                            .arg(window->Status->panelText(StatusBar::Record),
                                level > 0 ? page[level - 1]->text() : QString(), page[level]->text());
        QString buttons;
        for (const QPushButton* button : window->MoveFiltro)
            buttons += on(button->isEnabled());
        if (buttons.contains(u'1'))
            shown += QStringLiteral(" hit %1/%2 %3")
                         .arg(window->HitAtual)
                         .arg(window->Encontrados)
                         .arg(buttons);
        QStringList titles;
        for (const Box& box : desktop.boxes)
            titles << box.title;
        if (!titles.isEmpty())
            shown += QStringLiteral(" [") + titles.join(u',') + u']';
        const Box last = desktop.boxes.value(desktop.boxes.size() - 1);
        QStringList rows;
        for (int n = 0; n < 5; ++n)
            rows << QString::number(
                company.count(QStringLiteral("SELECT count(*) FROM NivelCategoria%1").arg(n)));
        QString tools(u' ');
        for (const char* name :
            {"ID_Incluir", "ID_Alterar", "ID_Excluir", "ID_Filtrar", "ID_Gravar", "ID_Cancelar"})
            tools += on(window->action(QString::fromLatin1(name))->isEnabled());
        tools += u' ';
        for (const char* group : {"ID_Editar", "ID_Relatórios"})
            tools += on(window->menu(QString::fromUtf8(group))->menuAction()->isEnabled());
        QStringList seen {window->Status->panelText(StatusBar::Mode) + u' ' + on(!window->Barra1->isHidden())
                + on(!window->Barra2->isHidden()) + on(window->Movimento[0]->isEnabled()) + tools,
            window->windowTitle().remove(QStringLiteral("Plano de Contas - Padaria Teste Ltda")),
            window->Status->panelText(StatusBar::Message), shown,
            last.prompt.section(u'\r', 0, 0) + QStringLiteral("/%1").arg(last.buttons), rows.join(u' ')};
        for (const char* usual : {"Visualizar 101 111100 11", "", "/0", "3 4 6 7 9"})
            seen.removeAll(QString::fromUtf8(usual));
        return seen.join(u'|');
    }

    TestCompany company;
    AppState state;
    ModuleDesktop desktop;
    std::unique_ptr<Contas> window; // goes first: its recordsets read the state's database
    bool loaded = false;
};

} // namespace varemo::test
