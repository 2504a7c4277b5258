#pragma once

#include <QDate>
#include <QString>
#include <QVariant>

#include <optional>
#include <utility>

// The arithmetic of the report period and the texts of its window, without any widget.
namespace varemo {

namespace periodo {

// The kinds of period, in the order of the window's option buttons.
enum Option : int { Diario = 0, Semanal, Quinzenal, Mensal, Semestral, Periodo };

inline constexpr int OptionCount = 6;
inline constexpr int DefaultWeekStart = 1; // Sunday, when the company row holds nothing usable
// Typed years outside this range are not dates, as in the suite's other modules.
inline constexpr int MinYear = 100;
inline constexpr int MaxYear = 9999;

// A calendar date from parts that may lie outside their ranges: month 0 is December of the
// year before, month 13 January of the next, day 0 the previous month's last day, and
// days past the month's end run into the next. Invalid when the result leaves the years
// MinYear..MaxYear.
QDate dateSerial(int year, int month, int day);

// 1..7: the day's place in a week that begins on weekStart (1 = Sunday ... 7 = Saturday).
int weekday(QDate day, int weekStart);

// The day as the period texts hold it: "dd-mm-yyyy".
QString formatDate(QDate day);
// The date a "dd-mm-yyyy" text names, or an invalid QDate when it names none.
QDate parseDate(const QString& text);

// DadosEmpresa.InicioSemana as a week start: Null or out of range is Sunday.
int weekStartValue(const QVariant& stored);

} // namespace periodo

// The start and end of the chosen kind of period around the reference date; nothing for the
// free range (or an unknown option), and nothing when the period would leave the calendar.
std::optional<std::pair<QDate, QDate>> RecalculaDatas(
    QDate reference, int option, bool retroactive, int weekStart);

} // namespace varemo
