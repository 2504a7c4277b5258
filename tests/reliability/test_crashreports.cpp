#include "crashharness.h"
#include "support/testregistry.h"

// The report definitions saved, killed after each of their statements.
class TestCrashReports : public QObject {
    Q_OBJECT
private slots:
    void writeIsAllOrNothing_data()
    {
        QTest::addColumn<QString>("action"); // as child_crash names it
        QTest::addColumn<QStringList>("written"); // the tables the whole action changes
        const QStringList definition {"RelatorioItens", "Relatorios"};
        QTest::newRow("new definition") << "report_new" << definition + QStringList {"sqlite_sequence"};
        QTest::newRow("definition renamed and marked again") << "report_edit" << definition;
    }
    void writeIsAllOrNothing()
    {
        QFETCH(QString, action);
        QFETCH(QStringList, written);
        varemo::test::crash::killEveryStatement(action, {}, written);
    }
};

VAREMO_TEST(TestCrashReports);
#include "test_crashreports.moc"
