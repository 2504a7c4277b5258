"""Jet criteria texts for the recordset finds (FindFirst and its siblings).

A criteria text ("Nome = 'Pães' AND CodigoCategoria0 = 3", "Marca = True") is parsed
once into a predicate over a row tuple. Text compares as the schema's COLLATE NOCASE
does (ASCII letters case-blind), so a find agrees with SQLite on the same rows. A
malformed text (a name holding an apostrophe ends its quotes early) raises Jet's
syntax error, as Part 1.1 requires.
"""

from __future__ import annotations

import datetime
import re
from collections.abc import Callable, Sequence
from functools import lru_cache

from varemo_contas.data import errors
from varemo_contas.data.jet import Token, date_literal, nocase, tokenize

Row = Sequence[object]
Value = Callable[[Row], object]
Resolver = Callable[[str], int]

_COMPARE = {"=", "<>", "<", ">", "<=", ">="}


class _Parser:
    def __init__(self, text: str, resolve: Resolver) -> None:
        self.text = text
        self.resolve = resolve
        try:
            tokens = tokenize(text)
        except errors.JetError:
            raise errors.syntax_in_expression(text) from None
        self.tokens = [tok for tok in tokens if tok.kind != "ws"]
        while self.tokens and self.tokens[-1].text == ";":
            self.tokens.pop()
        self.pos = 0

    # -- token helpers --
    def peek(self, offset: int = 0) -> Token | None:
        index = self.pos + offset
        return self.tokens[index] if index < len(self.tokens) else None

    def word(self, offset: int = 0) -> str:
        tok = self.peek(offset)
        return tok.upper if tok is not None and tok.kind == "ident" else ""

    def take(self) -> Token:
        tok = self.peek()
        if tok is None:
            raise self.error()
        self.pos += 1
        return tok

    def error(self) -> errors.JetError:
        return errors.syntax_in_expression(self.text)

    # -- grammar --
    def parse(self) -> Value:
        if not self.tokens:
            raise self.error()
        value = self.or_expr()
        if self.peek() is not None:
            raise self.error()
        return value

    def or_expr(self) -> Value:
        left = self.and_expr()
        while self.word() == "OR":
            self.pos += 1
            left = _or(left, self.and_expr())
        return left

    def and_expr(self) -> Value:
        left = self.not_expr()
        while self.word() == "AND":
            self.pos += 1
            left = _and(left, self.not_expr())
        return left

    def not_expr(self) -> Value:
        if self.word() == "NOT":
            self.pos += 1
            inner = self.not_expr()
            return lambda row: None if (v := inner(row)) is None else not v
        return self.comparison()

    def comparison(self) -> Value:
        left = self.additive()
        tok = self.peek()
        if tok is None:
            return left
        if tok.kind == "op" and tok.text in _COMPARE:
            self.pos += 1
            return _compare(tok.text, left, self.additive())
        negate = False
        if self.word() == "NOT" and self.word(1) in {"LIKE", "BETWEEN", "IN"}:
            negate = True
            self.pos += 1
        keyword = self.word()
        if keyword == "LIKE":
            self.pos += 1
            pattern_tok = self.take()
            if pattern_tok.kind != "str":
                raise self.error()
            return _like(left, _literal_text(pattern_tok), negate)
        if keyword == "BETWEEN":
            self.pos += 1
            low = self.additive()
            if self.word() != "AND":
                raise self.error()
            self.pos += 1
            high = self.additive()
            test = _and(_compare(">=", left, low), _compare("<=", left, high))
            return _not(test) if negate else test
        if keyword == "IN":
            self.pos += 1
            if self.take().text != "(":
                raise self.error()
            options = [self.additive()]
            while self.peek() is not None and self.peek().text == ",":
                self.pos += 1
                options.append(self.additive())
            if self.take().text != ")":
                raise self.error()
            test = _in(left, options)
            return _not(test) if negate else test
        if keyword == "IS":
            self.pos += 1
            is_not = self.word() == "NOT"
            if is_not:
                self.pos += 1
            if self.word() != "NULL":
                raise self.error()
            self.pos += 1
            return (
                (lambda row: left(row) is not None) if is_not else (lambda row: left(row) is None)
            )
        return left

    def additive(self) -> Value:
        left = self.term()
        while (tok := self.peek()) is not None and tok.kind == "op" and tok.text in "+-&":
            self.pos += 1
            left = _arith(tok.text, left, self.term())
        return left

    def term(self) -> Value:
        left = self.unary()
        while (tok := self.peek()) is not None and tok.kind == "op" and tok.text in "*/":
            self.pos += 1
            left = _arith(tok.text, left, self.unary())
        return left

    def unary(self) -> Value:
        tok = self.peek()
        if tok is not None and tok.kind == "op" and tok.text == "-":
            self.pos += 1
            inner = self.unary()
            return lambda row: None if (v := inner(row)) is None else -_number(v)
        return self.primary()

    def primary(self) -> Value:
        tok = self.take()
        if tok.text == "(":
            value = self.or_expr()
            if self.take().text != ")":
                raise self.error()
            return value
        if tok.kind == "num":
            number = float(tok.text) if re.search(r"[.eE]", tok.text) else int(tok.text)
            return lambda row: number
        if tok.kind == "str":
            text = _literal_text(tok)
            return lambda row: text
        if tok.kind == "date":
            iso = date_literal(tok.text).strip("'")
            day = datetime.date.fromisoformat(iso)
            return lambda row: day
        if tok.kind == "ident":
            upper = tok.upper
            if upper in {"TRUE", "YES", "ON"}:
                return lambda row: True
            if upper in {"FALSE", "NO", "OFF"}:
                return lambda row: False
            if upper == "NULL":
                return lambda row: None
            if upper in {"AND", "OR", "NOT", "LIKE", "IS", "BETWEEN", "IN"}:
                raise self.error()
            name = ".".join(p[1:-1] if p.startswith("[") else p for p in tok.text.split("."))
            index = self.resolve(name)
            field = _Field(index)
            return field
        raise self.error()


class _Field:
    """A field of the row: text compared with it folds case, as its NOCASE column does."""

    __slots__ = ("index",)

    def __init__(self, index: int) -> None:
        self.index = index

    def __call__(self, row: Row) -> object:
        return row[self.index]


def _literal_text(tok: Token) -> str:
    quote = tok.text[0]
    return tok.text[1:-1].replace(quote * 2, quote)


def _number(value: object) -> float | int:
    if isinstance(value, bool):
        return 1 if value else 0  # stored as SQLite stores it, so a find agrees with SQL
    if isinstance(value, int | float):
        return value
    if isinstance(value, str):
        try:
            return float(value) if re.search(r"[.eE]", value) else int(value)
        except ValueError:
            raise errors.type_mismatch() from None
    raise errors.type_mismatch()


def _normalise(left: object, right: object, fold: bool = True) -> tuple[object, object]:
    """Bring two non-null values to one comparable kind; text folds as SQLite's NOCASE
    only where a field takes part (a computed text compares as it is, as in SQLite)."""
    if isinstance(left, str) and isinstance(right, str):
        return (nocase(left), nocase(right)) if fold else (left, right)
    if isinstance(left, bool) and isinstance(right, bool):
        return left, right
    if isinstance(left, datetime.date) or isinstance(right, datetime.date):
        return _as_date(left), _as_date(right)
    return _number(left), _number(right)


def _as_date(value: object) -> datetime.date:
    if isinstance(value, datetime.date):
        return value
    if isinstance(value, str):
        try:
            return datetime.date.fromisoformat(value[:10])
        except ValueError:
            raise errors.type_mismatch() from None
    raise errors.type_mismatch()


def _compare(op: str, left: Value, right: Value) -> Value:
    test = {
        "=": lambda a, b: a == b,
        "<>": lambda a, b: a != b,
        "<": lambda a, b: a < b,
        ">": lambda a, b: a > b,
        "<=": lambda a, b: a <= b,
        ">=": lambda a, b: a >= b,
    }[op]

    fold = isinstance(left, _Field) or isinstance(right, _Field)

    def compare(row: Row) -> object:
        a, b = left(row), right(row)
        if a is None or b is None:
            return None
        return test(*_normalise(a, b, fold))

    return compare


def _and(left: Value, right: Value) -> Value:
    def both(row: Row) -> object:
        a = left(row)
        if a is False:
            return False
        b = right(row)
        if b is False:
            return False
        if a is None or b is None:
            return None
        return bool(a) and bool(b)

    return both


def _or(left: Value, right: Value) -> Value:
    def either(row: Row) -> object:
        a = left(row)
        if a is True or (a is not None and a is not False and bool(a)):
            return True
        b = right(row)
        if b is True or (b is not None and b is not False and bool(b)):
            return True
        if a is None or b is None:
            return None
        return False

    return either


def _not(inner: Value) -> Value:
    return lambda row: None if (v := inner(row)) is None else not v


def _in(left: Value, options: list[Value]) -> Value:
    def member(row: Row) -> object:
        a = left(row)
        if a is None:
            return None
        return any(
            (b := option(row)) is not None and _normalise(a, b)[0] == _normalise(a, b)[1]
            for option in options
        )

    return member


def _arith(op: str, left: Value, right: Value) -> Value:
    def apply(row: Row) -> object:
        a, b = left(row), right(row)
        if op == "&":
            return ("" if a is None else str(a)) + ("" if b is None else str(b))
        if a is None or b is None:
            return None
        x, y = _number(a), _number(b)
        if op == "+":
            return x + y
        if op == "-":
            return x - y
        if op == "*":
            return x * y
        if y == 0:
            return None
        return x / y

    return apply


@lru_cache(maxsize=1024)
def like_regex(pattern: str) -> re.Pattern[str]:
    """A Like pattern as a regular expression, ASCII case-blind, as jet.py sends it to SQLite.

    Only "*" and "?" are wildcards (Part 1.1's dialect; DESIGN.md): "#" and "[" stay literal
    as in the translated SQL, so a find and a statement agree on the same rows.
    """
    out = []
    for ch in pattern:
        if ch == "*":
            out.append(".*")
        elif ch == "?":
            out.append(".")
        else:
            out.append(re.escape(ch))
    return re.compile("".join(out), re.ASCII | re.IGNORECASE | re.DOTALL)


def _like(left: Value, pattern: str, negate: bool) -> Value:
    regex = like_regex(pattern)

    def like(row: Row) -> object:
        a = left(row)
        if a is None:
            return None
        if isinstance(a, bool):
            a = int(a)  # a Boolean is stored as 1/0 and SQLite's Like reads it so
        found = regex.fullmatch(a if isinstance(a, str) else str(a)) is not None
        return not found if negate else found

    return like


def compile_criteria(text: str, resolve: Resolver) -> Callable[[Row], bool]:
    """Parse a criteria text; `resolve` maps a field name to its index in a row."""
    value = _Parser(text, resolve).parse()

    def matches(row: Row) -> bool:
        result = value(row)
        return result is not None and result is not False and bool(result)

    return matches
