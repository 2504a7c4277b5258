"""Typed names: the refusals that keep bad text out of the chart (issue 6, bad input).

No widgets. The spec names the blank check and the apostrophe's failure (Parts 2.5, 3.1,
4.3); beyond those, a name holding control characters or longer than a Jet text field is
refused with a message before any SQL runs, and a name whose apostrophes turn the spec's
criteria into another condition is caught when the row found does not carry that name.
"""

from __future__ import annotations

import unicodedata

from varemo_contas.data.jet import nocase

# A Jet Text field holds at most 255 characters; the suite's other modules read these names.
MAX_NAME = 255
INVALID_TITLE = "Nome inválido"
CONTROL_PROMPT = "O nome não pode conter caracteres de controle (tabulação, quebra de linha...)."
LONG_PROMPT = f"O nome pode ter no máximo {MAX_NAME} caracteres."
UNSEARCHABLE_PROMPT = (
    "O nome digitado não pode ser gravado: seus apóstrofos (') mudam a procura do nome"
    + "\r"
    + "e outro registro seria alterado. Retire os apóstrofos do nome."
)
CONTENT_TITLE = "Conteúdo inválido"
CONTENT_CONTROL_PROMPT = (
    "O conteúdo não pode conter caracteres de controle (tabulação, quebra de linha...)."
)


def has_control(text: str) -> bool:
    """True when the text holds a control character (tab, line break, NUL, Esc, ...)."""
    return any(unicodedata.category(char) == "Cc" for char in text)


def name_problem(name: str) -> str | None:
    """The refusal prompt for a typed name, or None when it may go on to the save."""
    if has_control(name):
        return CONTROL_PROMPT
    if len(name) > MAX_NAME:
        return LONG_PROMPT
    return None


def same_name(stored: object, typed: str) -> bool:
    """Whether a stored name is the typed one, as the criteria "Nome = '...'" compares."""
    return isinstance(stored, str) and nocase(stored) == nocase(typed)


class UnsearchableNameError(Exception):
    """A name whose apostrophes make the spec's criteria select another row (or none)."""

    def __init__(self, name: str) -> None:
        super().__init__(name)
        self.name = name
