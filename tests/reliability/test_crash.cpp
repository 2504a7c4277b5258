#include "crashharness.h"
#include "support/testregistry.h"

// The main window's writes, the search's and the period's, killed after each of their statements.
class TestCrash : public QObject {
    Q_OBJECT
private slots:
    void writeIsAllOrNothing_data()
    {
        QTest::addColumn<QString>("action"); // as child_crash names it
        QTest::addColumn<QStringList>("setup"); // run on the company first
        QTest::addColumn<QStringList>("written"); // the tables the whole action changes
        const QStringList levels {"NivelCategoria1", "NivelCategoria2", "NivelCategoria3", "NivelCategoria4"};
        QTest::newRow("new sector, group, account and item")
            << "hierarchy_new_path" << QStringList() << levels + QStringList {"sqlite_sequence"};
        QTest::newRow("new item under an account")
            << "hierarchy_new_item" << QStringList() << QStringList {"NivelCategoria4", "sqlite_sequence"};
        QTest::newRow("account page, insert")
            << "level_insert" << QStringList() << QStringList {"NivelCategoria3", "sqlite_sequence"};
        QTest::newRow("account page, rename")
            << "level_rename" << QStringList() << QStringList {"NivelCategoria3"};
        QTest::newRow("item deleted") << "delete_item" << QStringList() << QStringList {"NivelCategoria4"};
        QTest::newRow("account deleted")
            << "delete_account" << QStringList {"INSERT INTO NivelCategoria3 VALUES (8, 'Seguros', 5)"}
            << QStringList {"NivelCategoria3"};
        QTest::newRow("definition deleted")
            << "report_delete" << QStringList() << QStringList {"RelatorioItens", "Relatorios"};
        QTest::newRow("search window brought up again")
            << "search_preparation" << QStringList() << QStringList {"NivelCategoria4", "Procura"};
        QTest::newRow("search marking")
            << "search_marking" << QStringList() << QStringList {"NivelCategoria4", "Procura"};
        QTest::newRow("period confirmed")
            << "period_confirmation" << QStringList() << QStringList {"DadosEmpresa"};
    }
    void writeIsAllOrNothing()
    {
        QFETCH(QString, action);
        QFETCH(QStringList, setup);
        QFETCH(QStringList, written);
        varemo::test::crash::killEveryStatement(action, setup, written);
    }
};

VAREMO_TEST(TestCrash);
#include "test_crash.moc"
