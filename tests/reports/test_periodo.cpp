#include "reports/periodo.h"
#include "support/testregistry.h"

#include <QTest>

using namespace varemo;
using Period = std::optional<std::pair<QDate, QDate>>;

namespace {

// An independent calendar. A complete period is the run of days around the reference that
// share its key, found by walking one day at a time; a retroactive one counts days back or
// moves whole months from the 1st, so a day the month lacks runs on into the next.
template<typename Key> Period around(QDate d, Key key)
{
    QDate start = d;
    QDate end = d;
    while (key(start.addDays(-1)) == key(d))
        start = start.addDays(-1);
    while (key(end.addDays(1)) == key(d))
        end = end.addDays(1);
    return std::pair {start, end};
}

QDate monthsBack(QDate d, int months)
{
    return QDate(d.year(), d.month(), 1).addMonths(-months).addDays(d.day() - 1);
}

Period oracle(QDate d, int option, bool retroactive, int weekStart)
{
    static constexpr std::array<int, 8> sundayFirst = {0, 2, 3, 4, 5, 6, 7, 1}; // Qt: Monday 1 ... Sunday 7
    const auto weekOf = [weekStart](QDate day) {
        while (sundayFirst[std::size_t(day.dayOfWeek())] != weekStart)
            day = day.addDays(-1);
        return day;
    };
    const auto half = [](QDate day) { return day.year() * 2 + (day.month() > 6 ? 1 : 0); };
    const auto month = [](QDate day) { return day.year() * 12 + day.month(); };
    const auto fortnight = [&month](QDate day) { return month(day) * 2 + (day.day() > 15 ? 1 : 0); };
    Period period;
    switch (option) {
    case 0:
        period = std::pair {d, d};
        break;
    case 1:
        period = retroactive ? std::pair {d.addDays(-6), d} : around(d, weekOf);
        break;
    case 2:
        period = retroactive ? std::pair {d.addDays(-14), d} : around(d, fortnight);
        break;
    case 3:
        period = retroactive ? std::pair {monthsBack(d, 1), d} : around(d, month);
        break;
    case 4:
        period = retroactive ? std::pair {monthsBack(d, 6), d} : around(d, half);
        break;
    }
    // a period that would leave the calendar (years 100 to 9999) is none
    return period && period->first.year() >= 100 && period->second.year() <= 9999 ? period : std::nullopt;
}

QString text(const Period& period)
{
    if (!period)
        return QStringLiteral("nada");
    return period->first.toString(Qt::ISODate) + QLatin1Char(' ') + period->second.toString(Qt::ISODate);
}

} // namespace

class TestPeriodo : public QObject {
    Q_OBJECT

private slots:
    void everyDayAgreesWithTheCalendar_data()
    {
        QTest::addColumn<int>("year");
        QTest::newRow("1900, sem 29 de fevereiro") << 1900;
        QTest::newRow("2000, bissexto de século") << 2000;
        QTest::newRow("2023") << 2023;
        QTest::newRow("2024, bissexto") << 2024;
        QTest::newRow("2100") << 2100;
        QTest::newRow("100, começo do calendário") << 100;
        QTest::newRow("9999, fim do calendário") << 9999;
    }
    void everyDayAgreesWithTheCalendar()
    {
        QFETCH(int, year);
        for (QDate day(year, 1, 1); day.year() == year; day = day.addDays(1)) {
            for (int option = -1; option <= 6; ++option) {
                for (const bool retro : {false, true}) {
                    for (int weekStart = 1; weekStart <= 7; ++weekStart) {
                        const QString got = text(RecalculaDatas(day, option, retro, weekStart));
                        const QString expected = text(oracle(day, option, retro, weekStart));
                        QVERIFY2(got == expected,
                            qPrintable(day.toString(Qt::ISODate)
                                + QStringLiteral(" %1 %2 %3: ").arg(option).arg(retro).arg(weekStart) + got));
                    }
                }
            }
        }
    }
};

VAREMO_TEST(TestPeriodo);
#include "test_periodo.moc"
