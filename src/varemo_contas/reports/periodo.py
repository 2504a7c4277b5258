"""Part 4.2: the period arithmetic `RecalculaDatas` and the period window's texts.

Pure module, no widgets: the dialog `DataPeriodo` wires its controls to these rules and
the tests check the calendar without a window. Dates are built the way VB's `DateSerial`
builds them, normalising out-of-range months and days (31 February is 3 March).
"""

from __future__ import annotations

from datetime import date

# --- texts of the window, verbatim from Part 4.2 -------------------------------------

TITLE = "Período do Relatório"
ROUTINE = "Período do Relatório"  # error-log routine name of the window (Part 1.3)

# The kinds of period, `Opcao(0..5)`.
DIARIO, SEMANAL, QUINZENAL, MENSAL, SEMESTRAL, PERIODO = range(6)
OPTION_CAPTIONS = ("&Diário", "&Semanal", "&Quinzenal", "&Mensal", "S&emestral", "&Período")
OPTIONS_FRAME = " Escolha Opção para o Período "
# `Flamula`, the frame holding the options: both texts begin and end with a blank.
FLAMULA_RETROACTIVE = " Escolha Período (retroativo) "
FLAMULA_COMPLETE = " Escolha Período (completo) "

# The period type, `OpcaoRetrocede(0..1)`.
TYPE_CAPTIONS = ("&Retroativo", "&Completo")
TYPE_FRAME = " Tipo de Período "

# The week start, `InicioSemana`: data values 1..7 in this order.
WEEK_FRAME = " Escolha o dia de início da Semana "
WEEK_DAYS = (
    "Domingo",
    "Segunda-feira",
    "Terça-feira",
    "Quarta-feira",
    "Quinta-feira",
    "Sexta-feira",
    "Sábado",
)

# The date boxes, `Datas(0..1)`.
DATES_FRAME = " Período Escolhido "
DATE_LABELS = ("data inicial", "data final")
DATE_FORMAT = "dd-mm-yyyy"

# The buttons, `Botao(0..2)`: cancel, confirm, expand or collapse (a picture).
BUTTON_CAPTIONS = ("&Cancelar", "&Confirmar")

# The explanatory labels `Rutolo` of the expanded part.
RUTOLO_GERAL = (
    "As duas opções aplicam-se aos períodos: semanal, quinzenal, mensal e semestral. "
    "Feita a escolha, o tipo de período é gravado."
)
RUTOLO_RETROATIVO = "Retroativo"
RUTOLO_RETROATIVO_TEXTO = (
    "Quando retroage o período de dias, por exemplo, se hoje é dia 20 de abril e a opção "
    "é Mensal, então o período será de 20 de março até 20 de abril."
)
RUTOLO_COMPLETO = "Completo"
RUTOLO_COMPLETO_TEXTO = (
    "Quando a data de hoje encontra-se dentro do período escolhido. Seguindo o exemplo, "
    "é o período entre 1º de abril até 30 de abril."
)
RUTOLO_TEXTS = (
    RUTOLO_GERAL,
    RUTOLO_RETROATIVO,
    RUTOLO_RETROATIVO_TEXTO,
    RUTOLO_COMPLETO,
    RUTOLO_COMPLETO_TEXTO,
)

# Validation on confirm: title and messages, information icon.
INVALID_TITLE = "Data Incorreta"
INVALID_START = "A data inicial não é correta"
INVALID_END = "A data final não é correta"
END_BEFORE_START = "A data final deve ser igual ou posterior à data inicial"

# Sizes in twips (Part 4.2); 15 twips make one pixel at 96 dots per inch.
TWIPS_PER_PIXEL = 15
COMPACT_HEIGHT = 4650
EXPANDED_HEIGHT = 9450
WIDTH = 4920

CLICK_SOUND = 7  # Part 1.4: "mousecli.wav"
DEFAULT_WEEK_START = 1  # Sunday, when the company record holds no valid value

# VB's dates run from year 100 to 9999; typed years outside are not dates.
MIN_YEAR = 100
MAX_YEAR = 9999


# --- calendar --------------------------------------------------------------------------


def _is_leap(year: int) -> bool:
    return year % 4 == 0 and (year % 100 != 0 or year % 400 == 0)


_DAYS_BEFORE_MONTH = (0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334)


def date_serial(year: int, month: int, day: int) -> date:
    """VB's DateSerial: months outside 1..12 move the year, days outside the month move on.

    Day 0 is the previous month's last day, day -3 four days before that; month 0 is
    December of the previous year, month 13 January of the next. Raises ValueError when
    the result lies outside the calendar (years 1..9999).
    """
    # Part 4.2: the calendar-date constructor that normalises out-of-range parts.
    year += (month - 1) // 12
    month = (month - 1) % 12 + 1
    before = year - 1
    ordinal = before * 365 + before // 4 - before // 100 + before // 400
    ordinal += _DAYS_BEFORE_MONTH[month - 1] + (1 if month > 2 and _is_leap(year) else 0)
    ordinal += day
    if ordinal < 1 or ordinal > date.max.toordinal():
        raise ValueError(f"data fora do calendário: {year}-{month}-{day}")
    return date.fromordinal(ordinal)


def vb_weekday(day: date, first_day_of_week: int = 1) -> int:
    """VB's Weekday: 1..7 counted from `first_day_of_week` (1 = Sunday ... 7 = Saturday)."""
    sunday_based = day.isoweekday() % 7 + 1  # Sunday 1, Monday 2 ... Saturday 7
    return (sunday_based - first_day_of_week) % 7 + 1


def RecalculaDatas(
    reference: date, option: int, retroactive: bool, week_start: int
) -> tuple[date, date] | None:
    """Part 4.2: the start and end of the chosen kind of period around `reference`.

    None for the free range (option 5) and any other value: the boxes stay as they are.
    """
    Y, M, d = reference.year, reference.month, reference.day
    if option == DIARIO:
        return reference, reference
    if option == SEMANAL:
        if retroactive:
            return date_serial(Y, M, d - 6), date_serial(Y, M, d)
        w = vb_weekday(reference, week_start)
        return date_serial(Y, M, d - w + 1), date_serial(Y, M, d + 7 - w)
    if option == QUINZENAL:
        if retroactive:
            return date_serial(Y, M, d - 14), date_serial(Y, M, d)
        if d < 16:
            return date_serial(Y, M, 1), date_serial(Y, M, 15)
        return date_serial(Y, M, 16), date_serial(Y, M + 1, 0)
    if option == MENSAL:
        if retroactive:
            return date_serial(Y, M - 1, d), date_serial(Y, M, d)
        return date_serial(Y, M, 1), date_serial(Y, M + 1, 0)
    if option == SEMESTRAL:
        if retroactive:
            return date_serial(Y, M - 6, d), date_serial(Y, M, d)
        if M < 7:
            return date_serial(Y, 1, 1), date_serial(Y, 6, 30)
        return date_serial(Y, 7, 1), date_serial(Y, 12, 31)
    return None


# --- texts of the date boxes -------------------------------------------------------------


def format_period(day: date) -> str:
    """A date as the period texts hold it: "dd-mm-yyyy" (Part 4.2, Results)."""
    return f"{day.day:02d}-{day.month:02d}-{day.year:04d}"


def parse_period(text: str) -> date | None:
    """The date a "dd-mm-yyyy" text names, or None when it is not a valid date."""
    parts = text.strip().split("-")
    if len(parts) != 3 or not all(part.isdigit() and part.isascii() for part in parts):
        return None
    day_text, month_text, year_text = parts
    if len(day_text) != 2 or len(month_text) != 2 or len(year_text) != 4:
        return None
    year = int(year_text)
    if not MIN_YEAR <= year <= MAX_YEAR:
        return None
    try:
        return date(year, int(month_text), int(day_text))
    except ValueError:
        return None


def flamula_caption(retroactive: bool) -> str:
    """The caption of the options frame `Flamula` for the period type."""
    return FLAMULA_RETROACTIVE if retroactive else FLAMULA_COMPLETE


def week_start_value(stored: object) -> int:
    """`DadosEmpresa.InicioSemana` as a week start 1..7; Null or out of range is Sunday."""
    try:
        value = int(stored)  # type: ignore[call-overload]
    except (TypeError, ValueError):
        return DEFAULT_WEEK_START
    return value if 1 <= value <= 7 else DEFAULT_WEEK_START


def twips_to_pixels(twips: int) -> int:
    """Twips as pixels at 96 dots per inch."""
    return round(twips / TWIPS_PER_PIXEL)


def pixels_to_twips(pixels: int) -> int:
    """Pixels as twips at 96 dots per inch."""
    return pixels * TWIPS_PER_PIXEL
