#include "crashharness.h"
#include "support/testregistry.h"

// The report definitions, the search and the period, killed after each of their statements.
class TestCrashReports : public QObject {
    Q_OBJECT
private slots:
    void writeIsAllOrNothing_data() { varemo::test::crash::addRows(1); }
    void writeIsAllOrNothing()
    {
        QFETCH(int, row);
        varemo::test::crash::killEveryStatement(varemo::test::crash::Rows[row]);
    }
};

VAREMO_TEST(TestCrashReports);
#include "test_crashreports.moc"
