"""Part 4.2: the date boxes `Datas` of the period window and its drawn pictures.

A date box is a masked text field "dd-mm-yyyy": unlike a date spin box it can hold a
text that is no date (31-02-2024), so confirming can refuse it with the spec's message.
The pictures are painted at run time (Part 4.2 leaves them to the implementer).
"""

from __future__ import annotations

from datetime import date

from PySide6.QtCore import QDate, QLocale, QPointF, QRectF, Qt
from PySide6.QtGui import QAction, QColor, QIcon, QKeyEvent, QPainter, QPainterPath, QPen, QPixmap
from PySide6.QtWidgets import QCalendarWidget, QLineEdit, QWidget

from varemo_contas.reports import periodo

DATE_MASK = "99-99-9999"
QT_DATE_FORMAT = "dd-MM-yyyy"  # Qt's spelling of the spec's "dd-mm-yyyy"
ACCENT = QColor("#145c40")  # the suite's ledger green (Part 1.5's palette)


# --- pictures --------------------------------------------------------------------------


def _canvas(size: int) -> tuple[QPixmap, QPainter]:
    pixmap = QPixmap(size * 2, size * 2)
    pixmap.setDevicePixelRatio(2.0)
    pixmap.fill(Qt.GlobalColor.transparent)
    painter = QPainter(pixmap)
    painter.setRenderHint(QPainter.RenderHint.Antialiasing)
    return pixmap, painter


def chevron_picture(pointing_down: bool, size: int = 18) -> QPixmap:
    """Button 2's pictures: a double chevron down (expand) or up (collapse)."""
    pixmap, painter = _canvas(size)
    pen = QPen(ACCENT, 2.2, Qt.PenStyle.SolidLine, Qt.PenCapStyle.RoundCap)
    pen.setJoinStyle(Qt.PenJoinStyle.RoundJoin)
    painter.setPen(pen)
    left, right, middle = size * 0.2, size * 0.8, size * 0.5
    for offset in (size * 0.22, size * 0.52):
        top, bottom = offset, offset + size * 0.26
        if pointing_down:
            points = [QPointF(left, top), QPointF(middle, bottom), QPointF(right, top)]
        else:
            points = [QPointF(left, bottom), QPointF(middle, top), QPointF(right, bottom)]
        painter.drawPolyline(points)
    painter.end()
    return pixmap


def calendar_picture(size: int = 16) -> QPixmap:
    """The date boxes' calendar button: a small leaf of a desk calendar."""
    pixmap, painter = _canvas(size)
    body = QRectF(size * 0.1, size * 0.2, size * 0.8, size * 0.7)
    painter.setPen(QPen(QColor("#555555"), 1.0))
    painter.setBrush(QColor("#ffffff"))
    painter.drawRoundedRect(body, 1.5, 1.5)
    header = QPainterPath()
    header.addRoundedRect(QRectF(body.left(), body.top(), body.width(), size * 0.22), 1.5, 1.5)
    painter.fillPath(header, ACCENT)
    painter.setPen(Qt.PenStyle.NoPen)
    painter.setBrush(QColor("#777777"))
    for row in range(2):
        for column in range(3):
            x = body.left() + size * (0.14 + column * 0.22)
            y = body.top() + size * (0.32 + row * 0.17)
            painter.drawRect(QRectF(x, y, size * 0.12, size * 0.1))
    painter.end()
    return pixmap


# --- the date boxes ----------------------------------------------------------------------


def qt_day_of_week(week_start: int) -> Qt.DayOfWeek:
    """A week start 1 = Sunday ... 7 = Saturday as Qt's day (Monday 1 ... Sunday 7)."""
    return Qt.DayOfWeek((week_start + 5) % 7 + 1)


class DateBox(QLineEdit):
    """A date entry field "dd-mm-yyyy" that can hold a text that is not a date.

    Up and Down step the day; the calendar button or Alt+Down picks a day from a month.
    """

    def __init__(self, parent: QWidget | None = None) -> None:
        super().__init__(parent)
        self.setInputMask(DATE_MASK)
        self.setAlignment(Qt.AlignmentFlag.AlignCenter)
        self.popup: QCalendarWidget | None = None
        # The calendar's first column follows the period window's week start (Part 4.2).
        self.week_start = periodo.DEFAULT_WEEK_START
        self.calendar_action = QAction(QIcon(calendar_picture()), "", self)
        self.calendar_action.triggered.connect(self.show_calendar)
        self.addAction(self.calendar_action, QLineEdit.ActionPosition.TrailingPosition)

    def displayFormat(self) -> str:
        """The display format, in Qt's spelling (as `QDateEdit.displayFormat`)."""
        return QT_DATE_FORMAT

    def value(self) -> date | None:
        """The date the box holds, or None when its text is not a valid date."""
        return periodo.parse_period(self.text())

    def setValue(self, day: date) -> None:
        self.setText(periodo.format_period(day))

    def date(self) -> QDate:
        """The date as a QDate, invalid when the text is not a date."""
        day = self.value()
        return QDate() if day is None else QDate(day.year, day.month, day.day)

    def setDate(self, day: QDate | date) -> None:
        if isinstance(day, QDate):
            day = day.toPython()
        self.setValue(day)

    def period_text(self) -> str:
        """Part 4.2 confirm step 1: the value formatted "dd-mm-yyyy" (the raw text if none)."""
        day = self.value()
        return self.text() if day is None else periodo.format_period(day)

    def keyPressEvent(self, event: QKeyEvent) -> None:
        key = event.key()
        alt = event.modifiers() & Qt.KeyboardModifier.AltModifier
        if key in (Qt.Key.Key_Up, Qt.Key.Key_Down) and not alt:
            self.step_day(1 if key == Qt.Key.Key_Up else -1)
            return
        if key == Qt.Key.Key_F4 or (key == Qt.Key.Key_Down and alt):
            self.show_calendar()
            return
        super().keyPressEvent(event)

    def step_day(self, days: int) -> None:
        """Move a valid date by whole days, as a date-entry field's spin does."""
        day = self.value()
        if day is None:
            return
        try:
            self.setValue(date.fromordinal(day.toordinal() + days))
        except ValueError:
            return

    def show_calendar(self) -> None:
        """Pick a day in a month calendar just under the box."""
        if self.popup is None:
            self.popup = QCalendarWidget(self)
            self.popup.setWindowFlags(Qt.WindowType.Popup)
            self.popup.setGridVisible(True)
            self.popup.setVerticalHeaderFormat(
                QCalendarWidget.VerticalHeaderFormat.NoVerticalHeader
            )
            # The interface is Brazilian Portuguese, whatever the system's language.
            self.popup.setLocale(QLocale(QLocale.Language.Portuguese, QLocale.Country.Brazil))
            self.popup.clicked.connect(self._picked)
            self.popup.activated.connect(self._picked)
        self.popup.setFirstDayOfWeek(qt_day_of_week(self.week_start))
        current = self.date()
        self.popup.setSelectedDate(current if current.isValid() else QDate.currentDate())
        self.popup.adjustSize()
        self.popup.move(self.mapToGlobal(self.rect().bottomLeft()))
        self.popup.show()
        self.popup.setFocus()

    def _picked(self, day: QDate) -> None:
        if self.popup is not None:
            self.popup.hide()
        self.setDate(day)
        self.setFocus()
