#include "reports/periodo.h"

namespace varemo {

namespace periodo {

QDate dateSerial(int year, int month, int day)
{
    // Whole years out of the month first (floor division, so month 0 is last December),
    // then the day as an offset from the 1st: day 0 and negative days fall back.
    const int monthIndex = month - 1;
    const int yearShift = monthIndex >= 0 ? monthIndex / 12 : -((11 - monthIndex) / 12);
    const int normalYear = year + yearShift;
    const int normalMonth = monthIndex - yearShift * 12 + 1;
    if (normalYear < MinYear - 1 || normalYear > MaxYear + 1)
        return {};
    const QDate result = QDate(normalYear, normalMonth, 1).addDays(qint64(day) - 1);
    if (!result.isValid() || result.year() < MinYear || result.year() > MaxYear)
        return {};
    return result;
}

int weekday(QDate day, int weekStart)
{
    const int sundayBased = day.dayOfWeek() % 7 + 1; // Qt counts Monday 1 ... Sunday 7
    return ((sundayBased - weekStart) % 7 + 7) % 7 + 1;
}

QString formatDate(QDate day)
{
    return day.toString(QStringLiteral("dd-MM-yyyy"));
}

QDate parseDate(const QString& text)
{
    const QString trimmed = text.trimmed();
    // Exactly two, two and four ASCII digits: Qt's own parser would take one-digit days.
    if (trimmed.size() != 10 || trimmed[2] != QLatin1Char('-') || trimmed[5] != QLatin1Char('-'))
        return {};
    for (const int i : {0, 1, 3, 4, 6, 7, 8, 9}) {
        if (trimmed[i] < QLatin1Char('0') || trimmed[i] > QLatin1Char('9'))
            return {};
    }
    const int year = trimmed.mid(6, 4).toInt();
    if (year < MinYear || year > MaxYear)
        return {};
    return QDate(year, trimmed.mid(3, 2).toInt(), trimmed.mid(0, 2).toInt());
}

int weekStartValue(const QVariant& stored)
{
    bool ok = false;
    const int value = stored.isNull() ? 0 : stored.toInt(&ok);
    return ok && value >= 1 && value <= 7 ? value : DefaultWeekStart;
}

} // namespace periodo

std::optional<std::pair<QDate, QDate>> RecalculaDatas(
    QDate reference, int option, bool retroactive, int weekStart)
{
    using namespace periodo;
    if (!reference.isValid())
        return std::nullopt;
    const int y = reference.year();
    const int m = reference.month();
    const int d = reference.day();
    QDate start;
    QDate end;
    switch (option) {
    case Diario:
        start = end = reference;
        break;
    case Semanal:
        if (retroactive) {
            start = dateSerial(y, m, d - 6);
            end = dateSerial(y, m, d);
        } else {
            const int w = weekday(reference, weekStart);
            start = dateSerial(y, m, d - w + 1);
            end = dateSerial(y, m, d + 7 - w);
        }
        break;
    case Quinzenal:
        if (retroactive) {
            start = dateSerial(y, m, d - 14);
            end = dateSerial(y, m, d);
        } else if (d < 16) {
            start = dateSerial(y, m, 1);
            end = dateSerial(y, m, 15);
        } else {
            start = dateSerial(y, m, 16);
            end = dateSerial(y, m + 1, 0);
        }
        break;
    case Mensal:
        start = retroactive ? dateSerial(y, m - 1, d) : dateSerial(y, m, 1);
        end = retroactive ? dateSerial(y, m, d) : dateSerial(y, m + 1, 0);
        break;
    case Semestral:
        if (retroactive) {
            start = dateSerial(y, m - 6, d);
            end = dateSerial(y, m, d);
        } else if (m < 7) {
            start = dateSerial(y, 1, 1);
            end = dateSerial(y, 6, 30);
        } else {
            start = dateSerial(y, 7, 1);
            end = dateSerial(y, 12, 31);
        }
        break;
    default: // the free range: the person's own dates stay
        return std::nullopt;
    }
    if (!start.isValid() || !end.isValid())
        return std::nullopt;
    return std::pair {start, end};
}

} // namespace varemo
