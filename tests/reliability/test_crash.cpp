#include "crashharness.h"
#include "support/testregistry.h"

// The chart's saves and deletes and a new report definition, killed after each of their statements.
class TestCrash : public QObject {
    Q_OBJECT
private slots:
    void writeIsAllOrNothing_data() { varemo::test::crash::addRows(0); }
    void writeIsAllOrNothing()
    {
        QFETCH(int, row);
        varemo::test::crash::killEveryStatement(varemo::test::crash::Rows[row]);
    }
};

VAREMO_TEST(TestCrash);
#include "test_crash.moc"
