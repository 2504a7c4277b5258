"""Part 4.2: the period arithmetic `RecalculaDatas`, the calendar constructor and the texts."""

from __future__ import annotations

import calendar
from datetime import date, timedelta

import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

from varemo_contas.reports import periodo
from varemo_contas.reports.periodo import (
    DIARIO,
    MENSAL,
    PERIODO,
    QUINZENAL,
    SEMANAL,
    SEMESTRAL,
    RecalculaDatas,
    date_serial,
    format_period,
    parse_period,
    vb_weekday,
)

SUNDAY, MONDAY = 1, 2

# --- the calendar-date constructor (VB's DateSerial) -----------------------------------


@pytest.mark.parametrize(
    ("parts", "expected"),
    [
        ((2024, 4, 20), date(2024, 4, 20)),
        ((2024, 4, 0), date(2024, 3, 31)),  # day 0: the previous month's last day
        ((2024, 3, 0), date(2024, 2, 29)),
        ((2023, 3, 0), date(2023, 2, 28)),
        ((2024, 3, -3), date(2024, 2, 26)),  # negative days fall back further
        ((2024, 1, -5), date(2023, 12, 26)),
        ((2023, 2, 31), date(2023, 3, 3)),
        ((2024, 2, 31), date(2024, 3, 2)),
        ((2024, 0, 15), date(2023, 12, 15)),  # month 0: December of the previous year
        ((2024, -2, 10), date(2023, 10, 10)),  # month below 0 falls back further
        ((2024, -12, 1), date(2022, 12, 1)),
        ((2024, 13, 0), date(2024, 12, 31)),  # month 13 goes into the next year
        ((2024, 13, 5), date(2025, 1, 5)),
        ((2024, 25, 1), date(2026, 1, 1)),
        ((2024, 4, 45), date(2024, 5, 15)),
    ],
)
def test_date_serial_normalises_out_of_range_parts(
    parts: tuple[int, int, int], expected: date
) -> None:
    """Part 4.2: every date is built by the constructor that normalises out-of-range parts."""
    assert date_serial(*parts) == expected


def test_date_serial_outside_the_calendar_is_an_error() -> None:
    with pytest.raises(ValueError):
        date_serial(1, 1, 0)
    with pytest.raises(ValueError):
        date_serial(9999, 13, 1)
    assert date_serial(9999, 13, 0) == date(9999, 12, 31)


@pytest.mark.parametrize(
    ("day", "week_start", "expected"),
    [
        (date(2024, 4, 21), SUNDAY, 1),  # a Sunday
        (date(2024, 4, 20), SUNDAY, 7),  # a Saturday
        (date(2024, 4, 21), MONDAY, 7),
        (date(2024, 4, 22), MONDAY, 1),
        (date(2024, 4, 24), 4, 1),  # Wednesday from a Wednesday start
        (date(2024, 4, 23), 4, 7),
    ],
)
def test_weekday_is_counted_from_the_week_start(day: date, week_start: int, expected: int) -> None:
    """Part 4.2: w = weekday of D counted from the week start (1 = Sunday ... 7 = Saturday)."""
    assert vb_weekday(day, week_start) == expected


# --- Part 4.2 edge cases -------------------------------------------------------------------


def test_reference_20_april_monthly_retroactive_is_20_march_to_20_april() -> None:
    """Part 4.2 edge case: reference 20 April, "&Mensal", retroactive."""
    assert RecalculaDatas(date(2024, 4, 20), MENSAL, True, SUNDAY) == (
        date(2024, 3, 20),
        date(2024, 4, 20),
    )


def test_reference_20_april_monthly_complete_is_1_to_30_april() -> None:
    """Part 4.2 edge case: reference 20 April, "&Mensal", complete."""
    assert RecalculaDatas(date(2024, 4, 20), MENSAL, False, SUNDAY) == (
        date(2024, 4, 1),
        date(2024, 4, 30),
    )


def test_31_march_retroactive_month_starts_3_march() -> None:
    """Part 4.2 edge case: the 31st of February normalises to 3 March."""
    assert RecalculaDatas(date(2023, 3, 31), MENSAL, True, SUNDAY) == (
        date(2023, 3, 3),
        date(2023, 3, 31),
    )


def test_31_march_retroactive_month_in_a_leap_year_starts_2_march() -> None:
    """Part 4.2 edge case: 2 March in a leap year."""
    assert RecalculaDatas(date(2024, 3, 31), MENSAL, True, SUNDAY) == (
        date(2024, 3, 2),
        date(2024, 3, 31),
    )


@pytest.mark.parametrize(
    ("reference", "last_day"),
    [
        (date(2024, 2, 16), date(2024, 2, 29)),
        (date(2023, 2, 16), date(2023, 2, 28)),
        (date(2024, 4, 16), date(2024, 4, 30)),
        (date(2024, 12, 16), date(2024, 12, 31)),
    ],
)
def test_16th_complete_fortnight_runs_to_the_months_last_day(
    reference: date, last_day: date
) -> None:
    """Part 4.2 edge case: reference 16th, complete fortnight: 16th to the month's last day."""
    assert RecalculaDatas(reference, QUINZENAL, False, SUNDAY) == (
        reference.replace(day=16),
        last_day,
    )


def test_15th_complete_fortnight_is_1st_to_15th() -> None:
    """Part 4.2 edge case: reference 15th: 1st to 15th."""
    assert RecalculaDatas(date(2024, 2, 15), QUINZENAL, False, SUNDAY) == (
        date(2024, 2, 1),
        date(2024, 2, 15),
    )
    assert RecalculaDatas(date(2024, 2, 1), QUINZENAL, False, SUNDAY) == (
        date(2024, 2, 1),
        date(2024, 2, 15),
    )


def test_july_complete_half_year_is_1_july_to_31_december() -> None:
    """Part 4.2 edge case: reference in July, complete half year."""
    assert RecalculaDatas(date(2024, 7, 1), SEMESTRAL, False, SUNDAY) == (
        date(2024, 7, 1),
        date(2024, 12, 31),
    )


def test_june_complete_half_year_is_1_january_to_30_june() -> None:
    """Part 4.2 edge case: reference in June, complete half year."""
    assert RecalculaDatas(date(2024, 6, 30), SEMESTRAL, False, SUNDAY) == (
        date(2024, 1, 1),
        date(2024, 6, 30),
    )


def test_10_march_retroactive_half_year_starts_10_september_of_the_previous_year() -> None:
    """Part 4.2 edge case: reference 10 March, retroactive half year."""
    assert RecalculaDatas(date(2024, 3, 10), SEMESTRAL, True, SUNDAY) == (
        date(2023, 9, 10),
        date(2024, 3, 10),
    )


def test_complete_week_monday_start_sunday_reference_is_preceding_monday_to_sunday() -> None:
    """Part 4.2 edge case: week start Monday (2) and a Sunday reference date."""
    sunday = date(2024, 4, 21)
    assert RecalculaDatas(sunday, SEMANAL, False, MONDAY) == (date(2024, 4, 15), sunday)


def test_complete_week_sunday_start() -> None:
    """Part 4.2: the complete week containing a Saturday, weeks starting on Sunday."""
    assert RecalculaDatas(date(2024, 4, 20), SEMANAL, False, SUNDAY) == (
        date(2024, 4, 14),
        date(2024, 4, 20),
    )


def test_complete_week_crosses_month_and_year() -> None:
    assert RecalculaDatas(date(2025, 1, 1), SEMANAL, False, SUNDAY) == (
        date(2024, 12, 29),
        date(2025, 1, 4),
    )


def test_retroactive_week_spans_7_days_counting_the_reference() -> None:
    """Part 4.2: a retroactive week spans 7 days, both counting the reference date."""
    start, end = RecalculaDatas(date(2024, 3, 3), SEMANAL, True, MONDAY)
    assert (start, end) == (date(2024, 2, 26), date(2024, 3, 3))
    assert (end - start).days + 1 == 7


def test_retroactive_fortnight_spans_15_days_counting_the_reference() -> None:
    """Part 4.2: a retroactive fortnight spans 15 days."""
    start, end = RecalculaDatas(date(2024, 3, 10), QUINZENAL, True, SUNDAY)
    assert (start, end) == (date(2024, 2, 25), date(2024, 3, 10))
    assert (end - start).days + 1 == 15


@pytest.mark.parametrize("retroactive", [True, False])
def test_one_day_is_the_reference_for_both_kinds(retroactive: bool) -> None:
    """Part 4.2: option 0, start = D, end = D (both kinds of period)."""
    day = date(2024, 2, 29)
    assert RecalculaDatas(day, DIARIO, retroactive, SUNDAY) == (day, day)


@pytest.mark.parametrize("option", [PERIODO, 6, -1, 99])
def test_free_range_or_any_other_value_writes_nothing(option: int) -> None:
    """Part 4.2: 5, free range, or any other value: nothing is written."""
    assert RecalculaDatas(date(2024, 4, 20), option, True, SUNDAY) is None
    assert RecalculaDatas(date(2024, 4, 20), option, False, MONDAY) is None


# --- an independent computation with datetime and calendar ------------------------------


def _months_back(day: date, months: int) -> date:
    """Same day number `months` earlier; a day the month lacks runs on into the next."""
    index = day.year * 12 + (day.month - 1) - months
    first = date(index // 12, index % 12 + 1, 1)
    return first + timedelta(days=day.day - 1)


def _last_of_month(year: int, month: int) -> date:
    return date(year, month, calendar.monthrange(year, month)[1])


def expected_period(
    day: date, option: int, retroactive: bool, week_start: int
) -> tuple[date, date] | None:
    """Part 4.2's table, computed without `date_serial`."""
    if option == DIARIO:
        return day, day
    if option == SEMANAL:
        if retroactive:
            return day - timedelta(days=6), day
        # calendar counts Monday 0 ... Sunday 6; the spec counts Sunday 1 ... Saturday 7.
        spec_weekday = (calendar.weekday(day.year, day.month, day.day) + 1) % 7 + 1
        start = day - timedelta(days=(spec_weekday - week_start) % 7)
        return start, start + timedelta(days=6)
    if option == QUINZENAL:
        if retroactive:
            return day - timedelta(days=14), day
        if day.day <= 15:
            return day.replace(day=1), day.replace(day=15)
        return day.replace(day=16), _last_of_month(day.year, day.month)
    if option == MENSAL:
        if retroactive:
            return _months_back(day, 1), day
        return day.replace(day=1), _last_of_month(day.year, day.month)
    if option == SEMESTRAL:
        if retroactive:
            return _months_back(day, 6), day
        if day.month <= 6:
            return date(day.year, 1, 1), date(day.year, 6, 30)
        return date(day.year, 7, 1), date(day.year, 12, 31)
    return None


def test_every_day_of_2023_to_2025_matches_an_independent_computation() -> None:
    """Part 4.2: every option, period type and week start, for every day of three years."""
    day = date(2023, 1, 1)
    checked = 0
    while day <= date(2025, 12, 31):
        for option in range(7):
            for retroactive in (True, False):
                for week_start in range(1, 8):
                    got = RecalculaDatas(day, option, retroactive, week_start)
                    assert got == expected_period(day, option, retroactive, week_start), (
                        day,
                        option,
                        retroactive,
                        week_start,
                    )
                    checked += 1
        day += timedelta(days=1)
    assert checked == 1096 * 7 * 2 * 7


@settings(max_examples=600, deadline=None)
@given(
    day=st.dates(min_value=date(2023, 1, 1), max_value=date(2025, 12, 31)),
    option=st.integers(min_value=-1, max_value=6),
    retroactive=st.booleans(),
    week_start=st.integers(min_value=1, max_value=7),
)
def test_recalcula_datas_matches_datetime_and_calendar(
    day: date, option: int, retroactive: bool, week_start: int
) -> None:
    """Part 4.2 (property): `RecalculaDatas` against the datetime + calendar computation."""
    assert RecalculaDatas(day, option, retroactive, week_start) == expected_period(
        day, option, retroactive, week_start
    )


@settings(max_examples=300, deadline=None)
@given(
    day=st.dates(min_value=date(1900, 1, 1), max_value=date(2200, 12, 31)),
    option=st.sampled_from([SEMANAL, QUINZENAL, MENSAL, SEMESTRAL]),
    retroactive=st.booleans(),
    week_start=st.integers(min_value=1, max_value=7),
)
def test_every_period_contains_and_ends_on_or_after_the_reference(
    day: date, option: int, retroactive: bool, week_start: int
) -> None:
    """Part 4.2: a complete period contains D; a retroactive one ends on D."""
    start, end = RecalculaDatas(day, option, retroactive, week_start)
    assert start <= day <= end
    if retroactive:
        assert end == day


# --- the texts of the date boxes ------------------------------------------------------------


def test_format_period_is_dd_mm_yyyy() -> None:
    """Part 4.2 results: the box's value formatted "dd-mm-yyyy"."""
    assert format_period(date(2024, 3, 5)) == "05-03-2024"
    assert format_period(date(999, 12, 31)) == "31-12-0999"


@pytest.mark.parametrize(
    ("text", "expected"),
    [
        ("20-04-2024", date(2024, 4, 20)),
        ("29-02-2024", date(2024, 2, 29)),
        (" 01-01-2000 ", date(2000, 1, 1)),
        ("29-02-2023", None),
        ("31-02-2024", None),
        ("00-04-2024", None),
        ("20-13-2024", None),
        ("2-04-2024", None),
        ("20-04-24", None),
        ("--", None),
        ("", None),
        ("20/04/2024", None),
        ("20-04-0099", None),
        ("aa-bb-cccc", None),
        ("２０-04-2024", None),
    ],
)
def test_parse_period_accepts_only_valid_dates(text: str, expected: date | None) -> None:
    """Part 4.2 confirm: a text that is not a valid date is detected."""
    assert parse_period(text) == expected


@given(st.dates(min_value=date(100, 1, 1), max_value=date(9999, 12, 31)))
def test_parse_period_reads_back_what_format_period_writes(day: date) -> None:
    assert parse_period(format_period(day)) == day


# --- the texts of the window, verbatim ------------------------------------------------------


def test_texts_are_the_spec_texts() -> None:
    """Part 4.2: captions, frames, week days and labels quoted word for word."""
    assert periodo.TITLE == "Período do Relatório"
    assert periodo.OPTION_CAPTIONS == (
        "&Diário",
        "&Semanal",
        "&Quinzenal",
        "&Mensal",
        "S&emestral",
        "&Período",
    )
    assert periodo.OPTIONS_FRAME == " Escolha Opção para o Período "
    assert periodo.FLAMULA_RETROACTIVE == " Escolha Período (retroativo) "
    assert periodo.FLAMULA_COMPLETE == " Escolha Período (completo) "
    assert periodo.flamula_caption(True) == " Escolha Período (retroativo) "
    assert periodo.flamula_caption(False) == " Escolha Período (completo) "
    assert periodo.TYPE_CAPTIONS == ("&Retroativo", "&Completo")
    assert periodo.TYPE_FRAME == " Tipo de Período "
    assert periodo.WEEK_FRAME == " Escolha o dia de início da Semana "
    assert periodo.WEEK_DAYS == (
        "Domingo",
        "Segunda-feira",
        "Terça-feira",
        "Quarta-feira",
        "Quinta-feira",
        "Sexta-feira",
        "Sábado",
    )
    assert periodo.DATES_FRAME == " Período Escolhido "
    assert periodo.DATE_LABELS == ("data inicial", "data final")
    assert periodo.RUTOLO_TEXTS == (
        "As duas opções aplicam-se aos períodos: semanal, quinzenal, mensal e semestral. "
        "Feita a escolha, o tipo de período é gravado.",
        "Retroativo",
        "Quando retroage o período de dias, por exemplo, se hoje é dia 20 de abril e a opção "
        "é Mensal, então o período será de 20 de março até 20 de abril.",
        "Completo",
        "Quando a data de hoje encontra-se dentro do período escolhido. Seguindo o exemplo, "
        "é o período entre 1º de abril até 30 de abril.",
    )
    assert periodo.INVALID_TITLE == "Data Incorreta"
    assert periodo.INVALID_START == "A data inicial não é correta"
    assert periodo.INVALID_END == "A data final não é correta"
    assert periodo.END_BEFORE_START == "A data final deve ser igual ou posterior à data inicial"


@pytest.mark.parametrize(
    ("stored", "expected"),
    [(1, 1), (2, 2), (7, 7), (0, 1), (8, 1), (None, 1), ("3", 3), ("x", 1)],
)
def test_week_start_value_from_the_company_record(stored: object, expected: int) -> None:
    """`DadosEmpresa.InicioSemana`: 1..7 as stored, anything else is Sunday."""
    assert periodo.week_start_value(stored) == expected


def test_sizes_in_pixels() -> None:
    """Part 4.2: 4650 and 9450 twips high, 4920 wide; 15 twips a pixel."""
    assert periodo.twips_to_pixels(periodo.COMPACT_HEIGHT) == 310
    assert periodo.twips_to_pixels(periodo.EXPANDED_HEIGHT) == 630
    assert periodo.twips_to_pixels(periodo.WIDTH) == 328
    assert periodo.pixels_to_twips(310) == 4650
