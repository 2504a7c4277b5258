// The main() of every test folder's executable: runs the test file named by the first
// argument (its name without "test_"), or every file of the folder when none is given.
#include "support/testregistry.h"

#include <QApplication>
#include <QTest>

#include <cstdio>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("VaremoTestes"));
    QTEST_SET_MAIN_SOURCE_PATH

    QString only;
    QStringList qtestArgs {QString::fromLocal8Bit(argv[0])};
    for (int i = 1; i < argc; ++i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        if (i == 1 && !arg.startsWith(QLatin1Char('-')))
            only = arg;
        else
            qtestArgs << arg;
    }

    int failures = 0;
    bool ran = false;
    for (const auto& entry : varemo::test::registry()) {
        if (!only.isEmpty() && entry.name != only)
            continue;
        ran = true;
        const auto object = entry.make();
        failures += QTest::qExec(object.get(), qtestArgs);
    }
    if (!ran) {
        std::fprintf(stderr, "no test named %s\n", qPrintable(only));
        return 2;
    }
    return failures == 0 ? 0 : 1;
}
