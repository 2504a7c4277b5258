// The main() of every test folder's executable: runs the test file named by the first
// argument (its name without "test_"), or every file of the folder when none is given.
#include "support/testregistry.h"

#include <QApplication>
#include <QTest>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("VaremoTestes"));
    QTEST_SET_MAIN_SOURCE_PATH
    QStringList qtestArgs = QApplication::arguments();
    const QString only
        = argc > 1 && !qtestArgs[1].startsWith(QLatin1Char('-')) ? qtestArgs.takeAt(1) : QString();
    int failures = 0;
    bool ran = false;
    for (const auto& [name, make] : varemo::test::registry()) {
        if (!only.isEmpty() && name != only)
            continue;
        ran = true;
        failures += QTest::qExec(make().get(), qtestArgs);
    }
    if (!ran)
        qWarning("no test named %s", qPrintable(only));
    return !ran ? 2 : failures == 0 ? 0 : 1;
}
