#include "app/state.h"
#include "editor/contasfixture.h"
#include "editor/tree.h"
#include "reports/arvrelat.h"
#include "support/company.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTest>
#include <QTreeWidget>

using namespace varemo;
using namespace varemo::test;

namespace {

constexpr int ShortWaitMs = 150;
const QString Question = QStringLiteral("Gravar Relatório");
const QString ErrorBox = QStringLiteral("Tratamento de Erros");
// The seeded definition 1 and a second one, to see that a save touches only its own rows.
const QString SeedItems
    = QStringLiteral("1 N0 2 2|1 N1 3 3|1 N2 5 3|1 N3 5 3|1 N3 6 3|1 N4 6 3|1 N4 7 3|1 N4 8 3|2 N4 7 3");

const QString Reports = QStringLiteral("1 Resultado Mensal|2 Despesas Fixas");

// The marked nodes of a tree in walk order: "NI=A 2N0=A 3N1=T".
QString marked(QTreeWidget* tree)
{
    QStringList out;
    walkTree(tree->topLevelItem(0), [&out](QTreeWidgetItem* node) {
        if (nodeImage(node) != QLatin1String("Nenhum"))
            out << nodeKeyOf(node) + QLatin1Char('=') + nodeImage(node).at(0);
    });
    return out.join(QLatin1Char(' '));
}

QString expandedNodes(QTreeWidget* tree)
{
    QStringList out;
    walkTree(tree->topLevelItem(0), [&out](QTreeWidgetItem* node) {
        if (node->isExpanded())
            out << nodeKeyOf(node);
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
            const QPoint at = window.Arvore->visualItemRect(node).center();
            QTest::mouseClick(window.Arvore->viewport(), Qt::LeftButton, {}, at);
        } else {
            window.Arvore_NodeClick(node);
        }
    }
}

struct Opened {
    explicit Opened(int mode)
    {
        company.exec("INSERT INTO Relatorios VALUES (2, 'Despesas Fixas')");
        company.exec("INSERT INTO RelatorioItens VALUES (2, 'N4', 7, 3)");
        company.closeSql();
        state.dataFolder = company.dataFolder();
        state.database = Database::open(company.databasePath(), ShortWaitMs);
        window = std::make_unique<ArvRelat>(state, desktop, mode, mode == 2 ? 1 : 0,
            mode == 2 ? QStringLiteral("Resultado Mensal") : QString());
    }
    QString table(const char* sql)
    {
        QStringList out;
        QSqlQuery query(company.sql());
        query.exec(QString::fromLatin1(sql));
        while (query.next()) {
            QStringList fields;
            for (int i = 0; i < query.record().count(); ++i)
                fields << query.value(i).toString();
            out << fields.join(QLatin1Char(' '));
        }
        return out.join(QLatin1Char('|'));
    }
    QString reports() { return table("SELECT CodigoRelatorio, NomeRelatorio FROM Relatorios ORDER BY 1"); }
    QString items()
    {
        return table(
            "SELECT CodigoRelatorio, Nivel, CodigoConta, Imagem FROM RelatorioItens ORDER BY 1, rowid");
    }
    bool save(int answer = vb::Yes)
    {
        desktop.setNextAnswer(answer);
        bool saved = false;
        QObject::connect(window.get(), &ArvRelat::saved, window.get(), [&saved] { saved = true; });
        window->BotaoEscolha_Click(0);
        QObject::disconnect(window.get(), &ArvRelat::saved, nullptr, nullptr);
        return saved;
    }
    QStringList titles() const
    {
        QStringList out;
        for (const Box& box : desktop.boxes)
            out << box.title;
        return out;
    }

    TestCompany company;
    AppState state;
    FakeDesktop desktop;
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
        QTest::newRow("one leaf of two") << "6N4"
                                         << "NI=A 2N0=A 3N1=A 5N2=A 5N3=A 6N4=T";
        QTest::newRow("both leaves") << "6N4 7N4"
                                     << "NI=A 2N0=A 3N1=A 5N2=A 5N3=T 6N4=T 7N4=T";
        QTest::newRow("an only child") << "8N4"
                                       << "NI=A 2N0=A 3N1=A 5N2=A 6N3=T 8N4=T";
        QTest::newRow("some becomes all") << "6N4 5N3"
                                          << "NI=A 2N0=A 3N1=A 5N2=A 5N3=T 6N4=T 7N4=T";
        QTest::newRow("twice is none") << "6N4 6N4"
                                       << "";
        QTest::newRow("the root, then one category out")
            << "NI 3N0"
            << "NI=A 2N0=T 3N1=T 5N2=T 5N3=T 6N4=T 7N4=T 6N3=T 8N4=T 2N1=T 4N2=T 4N3=T 5N4=T 3N2=T 3N3=T "
               "4N4=T "
               "1N0=T 1N1=T 2N2=T 2N3=T 3N4=T 1N2=T 1N3=T 2N4=T 1N4=T 4N1=T 6N2=T 7N3=T 9N4=T";
        QTest::newRow("space bar") << "s:6N3 s:6N3 s:8N4"
                                   << "NI=A 2N0=A 3N1=A 5N2=A 6N3=T 8N4=T";
        QTest::newRow("mouse") << "m:3N0"
                               << "NI=A 3N0=T";
        QTest::newRow("a caption like the root's stops the walk") << "rename 6N4"
                                                                  << "3N1=A 5N2=A 5N3=A 6N4=T";
    }
    void marks()
    {
        QFETCH(QString, clicks);
        QFETCH(QString, expected);
        Opened opened(ArvRelat::NewDefinition);
        if (clicks.startsWith(QLatin1String("rename")))
            opened.window->node("3N1")->setText(0, RootText);
        click(*opened.window, clicks.remove(QStringLiteral("rename ")));
        QCOMPARE(marked(opened.window->Arvore), expected);
    }

    // A new definition starts unmarked under the prompt; an edited one shows its stored
    // marks with their branches open, the root included though no row names it.
    void opening_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("marks");
        QTest::addColumn<QString>("expanded");
        QTest::newRow("new") << 1 << "Digite o nome do relatório"
                             << ""
                             << "NI";
        QTest::newRow("edit") << 2 << "Resultado Mensal"
                              << "NI=A 2N0=A 3N1=T 5N2=T 5N3=T 6N4=T 7N4=T 6N3=T 8N4=T"
                              << "NI 2N0 3N1 5N2 5N3 6N3";
    }
    void opening()
    {
        QFETCH(int, mode);
        QFETCH(QString, name);
        QFETCH(QString, marks);
        QFETCH(QString, expanded);
        Opened opened(mode);
        QCOMPARE(opened.window->windowTitle(), QStringLiteral("Relatório - Escolha os Itens"));
        QCOMPARE(opened.window->Nome->text(), name);
        QCOMPARE(marked(opened.window->Arvore), marks);
        QCOMPARE(expandedNodes(opened.window->Arvore), expanded);
        QCOMPARE(opened.window->Arvore->currentItem(), opened.window->node(RootKey));
    }

    // What a save asks and writes; a refused one writes nothing.
    void save_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("name"); // empty: the box as the window opened it
        QTest::addColumn<QString>("clicks");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("titles");
        QTest::addColumn<QString>("reports");
        QTest::addColumn<QString>("items");
        const QString taken = Question + QStringLiteral("|Nome já existente");
        QTest::newRow("answered No") << 1 << "Custos"
                                     << "6N4" << vb::No << Question << Reports << SeedItems;
        QTest::newRow("the prompt left in the box")
            << 1 << ""
            << "6N4" << vb::Yes << Question + QStringLiteral("|Nome do Relatório") << Reports << SeedItems;
        QTest::newRow("a new name already taken") << 1 << "resultado MENSAL"
                                                  << "9N4" << vb::Yes << taken << Reports << SeedItems;
        QTest::newRow("some leaves of a group")
            << 1 << "Custos"
            << "6N4 8N4" << vb::Yes << Question << Reports + QStringLiteral("|3 Custos")
            << SeedItems
                + QStringLiteral("|3 NI 0 2|3 N0 2 2|3 N1 3 2|3 N2 5 2|3 N3 5 2|3 N4 6 3|3 N3 6 3|3 N4 8 3");
        QTest::newRow("re-saved without a leaf")
            << 2 << ""
            << "7N4" << vb::Yes << Question << Reports
            << "1 NI 0 2|1 N0 2 2|1 N1 3 2|1 N2 5 2|1 N3 5 2|1 N4 6 3|1 N3 6 3|1 N4 8 3|2 N4 7 3";
        QTest::newRow("renamed to another's name") << 2 << "despesas fixas"
                                                   << "7N4" << vb::Yes << taken << Reports << SeedItems;
        QTest::newRow("its own name in capitals")
            << 2 << "RESULTADO mensal"
            << "" << vb::Yes << Question << "1 RESULTADO mensal|2 Despesas Fixas"
            << "1 NI 0 2|1 N0 2 2|1 N1 3 3|1 N2 5 3|1 N3 5 3|1 N4 6 3|1 N4 7 3|1 N3 6 3|1 N4 8 3|2 N4 7 3";
    }
    void save()
    {
        QFETCH(int, mode);
        QFETCH(QString, name);
        QFETCH(QString, clicks);
        QFETCH(int, answer);
        QFETCH(QString, titles);
        QFETCH(QString, reports);
        QFETCH(QString, items);
        Opened opened(mode);
        click(*opened.window, clicks);
        if (!name.isEmpty())
            opened.window->Nome->setText(name);
        const bool written = opened.save(answer);
        QCOMPARE(opened.titles().join(QLatin1Char('|')), titles);
        QCOMPARE(opened.reports(), reports);
        QCOMPARE(opened.items(), items);
        QCOMPARE(written, answer == vb::Yes && titles == Question);
        // Once written, the window edits what it wrote.
        QCOMPARE(opened.window->Modo, written ? 2 : mode);
        QCOMPARE(opened.window->CodigoRelatorio, written && mode == 1 ? 3 : mode == 2 ? 1 : 0);
    }

    // An engine failure goes to the error log with nothing written; the window goes on.
    void failedSave_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("locked");
        QTest::newRow("apostrophe") << "Relatório D'Ávila" << false;
        QTest::newRow("locked by another module") << "Custos" << true;
    }
    void failedSave()
    {
        QFETCH(QString, name);
        QFETCH(bool, locked);
        Opened opened(ArvRelat::NewDefinition);
        click(*opened.window, "9N4");
        opened.window->Nome->setText(name);
        if (locked)
            opened.company.exec("BEGIN IMMEDIATE");
        QVERIFY(!opened.save());
        if (locked)
            opened.company.exec("ROLLBACK");
        QCOMPARE(opened.titles(), QStringList({Question, ErrorBox}));
        QFile log(opened.company.errorLogPath());
        QVERIFY(log.open(QIODevice::ReadOnly));
        QVERIFY(log.readAll().contains("Rotina: Gravar Relat"));
        QCOMPARE(opened.reports(), Reports);
        QCOMPARE(opened.items(), SeedItems);
        opened.window->Nome->setText(QStringLiteral("Custos Fixos"));
        QVERIFY(opened.save());
        QCOMPARE(opened.reports(), Reports + QStringLiteral("|3 Custos Fixos"));
    }

    // From the main window's report list: a new definition is listed and chosen at once,
    // its marks show in the main tree, and editing it reads back the marks it was saved with.
    void roundTripFromTheReportList()
    {
        LoadedContas contas;
        QVERIFY(contas.loaded);
        contas.window->tool_click(QStringLiteral("ID_Relatorios"));
        QString saved;
        contas.desktop.setNextModal([&](QWidget& window) {
            auto& definition = static_cast<ArvRelat&>(window);
            definition.Nome->setText(QStringLiteral("Custos"));
            click(definition, "6N4 8N4 1N3");
            contas.desktop.setNextAnswer(vb::Yes);
            definition.BotaoEscolha_Click(0);
            saved = marked(definition.Arvore);
        });
        contas.window->tool_click(QStringLiteral("ID_Incluir"));
        QCOMPARE(contas.window->Relatos->currentItem()->text(), QStringLiteral("Custos"));
        QCOMPARE(contas.window->CodigoRelatorio, 2);
        QCOMPARE(marked(contas.window->Arvore), saved);
        QString reread;
        QString name;
        contas.desktop.setNextModal([&](QWidget& window) {
            auto& definition = static_cast<ArvRelat&>(window);
            reread = marked(definition.Arvore);
            name = definition.Nome->text();
        });
        contas.window->tool_click(QStringLiteral("ID_Alterar"));
        QCOMPARE(contas.desktop.modalWindows, QStringList({"ArvRelat", "ArvRelat"}));
        QCOMPARE(name, QStringLiteral("Custos"));
        QCOMPARE(reread, saved);
    }
};

VAREMO_TEST(TestArvRelat);
#include "test_arvrelat.moc"
