#include "reports/datebox.h"

#include "reports/periodo.h"

#include <QAction>
#include <QCalendarWidget>
#include <QKeyEvent>
#include <QPainter>
#include <QPixmap>

namespace varemo {

namespace {

// A leaf of a desk calendar for the box's button.
QIcon calendarIcon()
{
    constexpr int size = 32;
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF body(3, 6, 26, 23);
    painter.setPen(QPen(QColor(0x55, 0x55, 0x55), 1.5));
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(body, 3, 3);
    painter.fillRect(QRectF(body.left(), body.top(), body.width(), 7), QColor(0x14, 0x5c, 0x40));
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x77, 0x77, 0x77));
    for (int row = 0; row < 2; ++row) {
        for (int column = 0; column < 3; ++column)
            painter.drawRect(QRectF(7 + column * 7, 17 + row * 6, 4, 3));
    }
    painter.end();
    return QIcon(pixmap);
}

// 1 = Sunday ... 7 = Saturday as Qt's day of the week (Monday 1 ... Sunday 7).
Qt::DayOfWeek qtDay(int weekStart)
{
    return static_cast<Qt::DayOfWeek>((weekStart + 5) % 7 + 1);
}

} // namespace

DateBox::DateBox(QWidget* parent)
    : QLineEdit(parent)
{
    setInputMask(QStringLiteral("99-99-9999"));
    setAlignment(Qt::AlignCenter);
    QAction* pick = addAction(calendarIcon(), QLineEdit::TrailingPosition);
    connect(pick, &QAction::triggered, this, &DateBox::showCalendar);
}

QDate DateBox::date() const
{
    return periodo::parseDate(text());
}

void DateBox::setDate(QDate day)
{
    // Rewriting the same text would put the cursor at the end, under the person's typing:
    // a masked edit reports a change even when a typed digit equals the one it replaces.
    const QString text = periodo::formatDate(day);
    if (text != this->text())
        setText(text);
}

void DateBox::keyPressEvent(QKeyEvent* event)
{
    const bool alt = event->modifiers().testFlag(Qt::AltModifier);
    if ((event->key() == Qt::Key_Up || event->key() == Qt::Key_Down) && !alt) {
        stepDay(event->key() == Qt::Key_Up ? 1 : -1);
        return;
    }
    if (event->key() == Qt::Key_F4 || (event->key() == Qt::Key_Down && alt)) {
        showCalendar();
        return;
    }
    QLineEdit::keyPressEvent(event);
}

void DateBox::stepDay(int days)
{
    const QDate day = date().addDays(days);
    if (day.isValid() && day.year() >= periodo::MinYear && day.year() <= periodo::MaxYear)
        setDate(day);
}

void DateBox::showCalendar()
{
    if (!m_calendar) {
        m_calendar = new QCalendarWidget(this);
        m_calendar->setWindowFlags(Qt::Popup);
        m_calendar->setGridVisible(true);
        m_calendar->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
        // The person reads Portuguese whatever the system's language.
        m_calendar->setLocale(QLocale(QLocale::Portuguese, QLocale::Brazil));
        connect(m_calendar, &QCalendarWidget::clicked, this, &DateBox::picked);
        connect(m_calendar, &QCalendarWidget::activated, this, &DateBox::picked);
    }
    m_calendar->setFirstDayOfWeek(qtDay(m_weekStart));
    const QDate current = date();
    m_calendar->setSelectedDate(current.isValid() ? current : QDate::currentDate());
    m_calendar->adjustSize();
    m_calendar->move(mapToGlobal(rect().bottomLeft()));
    m_calendar->show();
    m_calendar->setFocus();
}

void DateBox::picked(QDate day)
{
    m_calendar->hide();
    setDate(day);
    setFocus();
}

} // namespace varemo
