#include "editor/tree.h"
#include "reports/arvrelat.h"
#include "search/searchfixture.h"
#include "support/testregistry.h"

#include <QLineEdit>
#include <QTest>
#include <QTreeWidget>

using namespace varemo;
using namespace varemo::test;

namespace {

const QString Reports = QStringLiteral("1 Resultado Mensal|2 Despesas Fixas");
// The seeded definition 1, and a second one that no save of the first may touch.
const QString SeedItems
    = QStringLiteral("1 N0 2 2|1 N1 3 3|1 N2 5 3|1 N3 5 3|1 N3 6 3|1 N4 6 3|1 N4 7 3|1 N4 8 3|2 N4 7 3");

// The marked nodes in walk order and the expanded ones ("+"): "NI=A+ 2N0=T".
QString marked(QTreeWidget* tree)
{
    QStringList out;
    walkTree(tree->topLevelItem(0), [&out](QTreeWidgetItem* node) {
        const QString image = nodeImage(node) == QLatin1String("Nenhum")
            ? QString()
            : QLatin1Char('=') + nodeImage(node).at(0);
        const bool shown = node->isExpanded();
        if (!image.isEmpty() || shown)
            out << nodeKeyOf(node) + image + (shown ? QStringLiteral("+") : QString());
    });
    return out.join(QLatin1Char(' '));
}

// Clicks in turn: "6N4" by the handler, "s:2N0" by the space bar, "m:1N0" by the mouse.
void click(ArvRelat& window, const QString& steps)
{
    for (const QString& step : steps.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        QTreeWidgetItem* node = window.node(step.section(QLatin1Char(':'), -1));
        QVERIFY2(node != nullptr, qPrintable(step));
        if (step.startsWith(QLatin1String("s:"))) {
            window.Arvore->setCurrentItem(node);
            QTest::keyClick(window.Arvore, Qt::Key_Space);
        } else if (step.startsWith(QLatin1String("m:"))) {
            window.show();
            QVERIFY(QTest::qWaitForWindowExposed(&window));
            QTest::mouseClick(
                window.Arvore->viewport(), Qt::LeftButton, {}, window.Arvore->visualItemRect(node).center());
        } else {
            window.Arvore_NodeClick(node);
        }
    }
}

struct Opened : OpenCompany {
    explicit Opened(int mode)
        : OpenCompany({QStringLiteral("INSERT INTO Relatorios VALUES (2, 'Despesas Fixas')"),
            QStringLiteral("INSERT INTO RelatorioItens VALUES (2, 'N4', 7, 3)")})
        , window(std::make_unique<ArvRelat>(state, desktop, mode, mode == 2 ? 1 : 0,
              mode == 2 ? QStringLiteral("Resultado Mensal") : QString()))
    {
    }
    // The rows in order, fields joined by blanks, rows by "|".
    QString rows(const char* table, const char* fields)
    {
        return company
            .scalar(QStringLiteral(
                "SELECT group_concat(%1, '|') FROM (SELECT * FROM %2 ORDER BY CodigoRelatorio, rowid)")
                        .arg(QString::fromLatin1(fields).replace(u' ', QStringLiteral(" || ' ' || ")),
                            QLatin1String(table)))
            .toString();
    }

    std::unique_ptr<ArvRelat> window;
};

} // namespace

class TestArvRelat : public QObject {
    Q_OBJECT

private slots:
    // A click takes the node's whole subtree along and each ancestor shows its children.
    void marks_data()
    {
        QTest::addColumn<QString>("clicks");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const char* clicks, const char* expected) {
            QTest::newRow(name) << QString::fromUtf8(clicks) << QString::fromUtf8(expected);
        };
        row("one leaf of two", "6N4", "NI=A+ 2N0=A 3N1=A 5N2=A 5N3=A 6N4=T");
        row("both leaves", "6N4 7N4", "NI=A+ 2N0=A 3N1=A 5N2=A 5N3=T 6N4=T 7N4=T");
        row("an only child", "8N4", "NI=A+ 2N0=A 3N1=A 5N2=A 6N3=T 8N4=T");
        row("some becomes all", "6N4 5N3", "NI=A+ 2N0=A 3N1=A 5N2=A 5N3=T 6N4=T 7N4=T");
        row("twice is none", "6N4 6N4", "NI+");
        row("everything, then one category out", "NI 1N0 2N0", "NI=A+ 3N0=T");
        row("space bar", "s:6N3 s:6N3 s:8N4", "NI=A+ 2N0=A 3N1=A 5N2=A 6N3=T 8N4=T");
        row("mouse", "m:3N0", "NI=A+ 3N0=T");
        row("a caption like the root's stops the walk", "rename 6N4", "NI+ 3N1=A 5N2=A 5N3=A 6N4=T");
    }
    void marks()
    {
        QFETCH(QString, clicks);
        QFETCH(QString, expected);
        Opened opened(ArvRelat::NewDefinition);
        if (clicks.startsWith(QLatin1String("rename")))
            opened.window->node(QStringLiteral("3N1"))->setText(0, RootText);
        click(*opened.window, clicks.remove(QStringLiteral("rename ")));
        QCOMPARE(marked(opened.window->Arvore), expected);
    }

    // What a save asks and writes; a refused one writes nothing.
    // Empty texts: the name box as the window opened it, no box after the question, the
    // tables as they were.
    void save_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("clicks");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("refusal");
        QTest::addColumn<QString>("reports");
        QTest::addColumn<QString>("items");
        const auto row = [](const char* tag, int mode, const char* name, const char* clicks, int answer,
                             const char* refusal, const char* reports = "", const char* items = "") {
            QTest::newRow(tag) << mode << QString::fromUtf8(name) << QString::fromLatin1(clicks) << answer
                               << QString::fromUtf8(refusal) << QString::fromUtf8(reports)
                               << QString::fromUtf8(items);
        };
        const char* taken = "Nome já existente";
        row("answered No", 1, "Custos", "6N4", vb::No, "");
        row("the prompt left in the box", 1, "", "6N4", vb::Yes, "Nome do Relatório");
        row("a new name already taken", 1, "resultado MENSAL", "9N4", vb::Yes, taken);
        row("renamed to another's name", 2, "despesas fixas", "7N4", vb::Yes, taken);
        row("some leaves of a group", 1, "Custos", "6N4 8N4", vb::Yes, "",
            "1 Resultado Mensal|2 Despesas Fixas|3 Custos",
            "1 N0 2 2|1 N1 3 3|1 N2 5 3|1 N3 5 3|1 N3 6 3|1 N4 6 3|1 N4 7 3|1 N4 8 3|2 N4 7 3|"
            "3 NI 0 2|3 N0 2 2|3 N1 3 2|3 N2 5 2|3 N3 5 2|3 N4 6 3|3 N3 6 3|3 N4 8 3");
        row("re-saved without a leaf", 2, "", "7N4", vb::Yes, "", "",
            "1 NI 0 2|1 N0 2 2|1 N1 3 2|1 N2 5 2|1 N3 5 2|1 N4 6 3|1 N3 6 3|1 N4 8 3|2 N4 7 3");
        // The stored rows lack the root's: re-saved, the root comes back with every branch.
        row("its own name in capitals", 2, "RESULTADO mensal", "", vb::Yes, "",
            "1 RESULTADO mensal|2 Despesas Fixas",
            "1 NI 0 2|1 N0 2 2|1 N1 3 3|1 N2 5 3|1 N3 5 3|1 N4 6 3|1 N4 7 3|1 N3 6 3|1 N4 8 3|2 N4 7 3");
    }
    void save()
    {
        QFETCH(int, mode);
        QFETCH(QString, name);
        QFETCH(int, answer);
        QFETCH(QString, refusal);
        QFETCH(QString, reports);
        QFETCH(QString, items);
        QFETCH(QString, clicks);
        Opened opened(mode);
        click(*opened.window, clicks);
        if (!name.isEmpty())
            opened.window->Nome->setText(name);
        opened.desktop.setNextAnswer(answer);
        opened.window->BotaoEscolha_Click(0);
        const Box& asked = opened.desktop.boxes.first();
        QCOMPARE(asked.prompt + QString::number(asked.buttons) + asked.title,
            QStringLiteral("Deseja gravar este relatório?36Gravar Relatório"));
        QCOMPARE(opened.desktop.boxes.size(), refusal.isEmpty() ? 1 : 2);
        QCOMPARE(opened.desktop.boxes.last().title,
            refusal.isEmpty() ? QStringLiteral("Gravar Relatório") : refusal);
        QCOMPARE(opened.rows("Relatorios", "CodigoRelatorio NomeRelatorio"),
            reports.isEmpty() ? Reports : reports);
        QCOMPARE(opened.rows("RelatorioItens", "CodigoRelatorio Nivel CodigoConta Imagem"),
            items.isEmpty() ? SeedItems : items);
        // Once written, the window edits what it wrote.
        const bool written = answer == vb::Yes && refusal.isEmpty();
        QCOMPARE(opened.window->Modo, written ? 2 : mode);
        QCOMPARE(opened.window->CodigoRelatorio, written && mode == 1 ? 3 : mode == 2 ? 1 : 0);
    }
};

VAREMO_TEST(TestArvRelat);
#include "test_arvrelat.moc"
