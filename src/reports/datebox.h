#pragma once

#include <QDate>
#include <QLineEdit>

class QCalendarWidget;

namespace varemo {

// A date entry "dd-mm-yyyy" that, unlike QDateEdit, can hold a text that is no date
// (31-02-2024 or a half-typed one), so that confirming the period can refuse it.
// Up and Down step the day; F4, Alt+Down or the calendar button pick a day from a month.
class DateBox : public QLineEdit {
    Q_OBJECT
public:
    explicit DateBox(QWidget* parent = nullptr);

    // The date the text names, invalid when it names none.
    QDate date() const;
    void setDate(QDate day);
    // The first column of the calendar: 1 = Sunday ... 7 = Saturday.
    void setWeekStart(int weekStart) { m_weekStart = weekStart; }
    void showCalendar();
    QCalendarWidget* calendar() const { return m_calendar; }

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void stepDay(int days);
    void picked(QDate day);

    QCalendarWidget* m_calendar = nullptr;
    int m_weekStart = 1;
};

} // namespace varemo
