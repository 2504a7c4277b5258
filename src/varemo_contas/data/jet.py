"""Part 1.1 / DESIGN.md: the one place where Jet SQL text becomes SQLite SQL.

The Parts build their statements as Jet text from literal pieces; this module
translates such a text at execution time: `#mm/dd/yyyy#` dates, `Like` wildcards,
`DELETE * FROM`, `INSERT INTO T SELECT` without a column list, the multi-table
`UPDATE A, B SET`, and `SELECT *` over joins (each column aliased "Table.Field" so
that the Parts address joined fields as Jet does). Text ordering follows Jet's
accent-blind, case-blind order through the `jet_key` function the database registers.
"""

from __future__ import annotations

import datetime
import re
import sqlite3
import unicodedata
from dataclasses import dataclass, field

from varemo_contas.data import errors

_TOKEN = re.compile(
    r"""
    (?P<ws>\s+)
  | (?P<str>'(?:[^']|'')*'|"(?:[^"]|"")*")
  | (?P<badstr>['"])
  | (?P<date>\#[^#]*\#)
  | (?P<num>\d+(?:\.\d+)?(?:[eE][+-]?\d+)?)
  | (?P<ident>(?:\[[^\]]*\]|[^\W\d]\w*)(?:\.(?:\*|\[[^\]]*\]|[^\W\d]\w*))?)
  | (?P<op><>|<=|>=|[=<>+\-*/&])
  | (?P<punct>[(),;.])
    """,
    re.VERBOSE,
)

_CLAUSE_END = {"WHERE", "ORDER", "GROUP", "HAVING", "UNION"}


@dataclass
class Token:
    kind: str
    text: str

    @property
    def upper(self) -> str:
        return self.text.upper()


@dataclass
class ColumnInfo:
    """One output column: the name the Parts use and where it comes from."""

    name: str
    table: str | None = None
    field: str | None = None


@dataclass
class Translation:
    sql: str
    columns: list[ColumnInfo] | None = None
    base_table: str | None = None  # set when the result rows can be updated one by one
    rowid_alias: str | None = None
    tables: list[str] = field(default_factory=list)


Catalog = dict[str, tuple[str, list[str]]]  # lower-case table name -> (name, field names)


def tokenize(text: str) -> list[Token]:
    """Split a Jet text into tokens; an unterminated quote is Jet's syntax error."""
    tokens: list[Token] = []
    pos = 0
    while pos < len(text):
        match = _TOKEN.match(text, pos)
        if match is None or match.lastgroup == "badstr":
            raise errors.syntax_in_query(text)
        tokens.append(Token(match.lastgroup or "", match.group()))
        pos = match.end()
    return tokens


def _unbracket(name: str) -> str:
    return ".".join(part[1:-1] if part.startswith("[") else part for part in name.split("."))


def date_literal(text: str) -> str:
    """`#mm/dd/yyyy#` (time optional) -> an ISO date literal as SQLite compares it."""
    body = text.strip("#").strip()
    match = re.fullmatch(r"(\d{1,2})/(\d{1,2})/(\d{4})(?:\s+[\d:]+(?:\s*[AaPp][Mm])?)?", body)
    if match is None:
        raise errors.syntax_in_query(text)
    month, day, year = (int(part) for part in match.groups())
    try:
        value = datetime.date(year, month, day)
    except ValueError as exc:
        raise errors.syntax_in_query(text) from exc
    return f"'{value.isoformat()}'"


def like_pattern(jet_pattern: str) -> str:
    """Jet wildcards (* and ?) -> SQLite's (% and _), SQLite's own escaped with '\\'."""
    out = []
    for ch in jet_pattern:
        if ch == "*":
            out.append("%")
        elif ch == "?":
            out.append("_")
        elif ch in "%_\\":
            out.append("\\" + ch)
        else:
            out.append(ch)
    return "".join(out)


def _string_value(token: Token) -> str:
    quote = token.text[0]
    return token.text[1:-1].replace(quote * 2, quote)


def _sql_string(value: str) -> str:
    return "'" + value.replace("'", "''") + "'"


def _significant(tokens: list[Token]) -> list[int]:
    return [i for i, tok in enumerate(tokens) if tok.kind != "ws"]


def _rewrite_literals(tokens: list[Token]) -> None:
    """Dates, double-quoted strings, Like patterns and division, in place."""
    for i, tok in enumerate(tokens):
        if tok.kind == "op" and tok.text == "/":
            # Jet's "/" divides as floating point; SQLite's would truncate two integers.
            tokens[i] = Token("op", "* 1.0 /")
        elif tok.kind == "date":
            tokens[i] = Token("str", date_literal(tok.text))
        elif tok.kind == "str" and tok.text.startswith('"'):
            tokens[i] = Token("str", _sql_string(_string_value(tok)))
    sig = _significant(tokens)
    for pos, i in enumerate(sig):
        if tokens[i].kind == "ident" and tokens[i].upper == "LIKE" and pos + 1 < len(sig):
            j = sig[pos + 1]
            if tokens[j].kind == "str":
                pattern = like_pattern(_string_value(tokens[j]))
                tokens[j] = Token("str", _sql_string(pattern) + " ESCAPE '\\'")


_CONCAT_STOP_WORDS = {
    "AND", "OR", "NOT", "LIKE", "IS", "BETWEEN", "IN", "WHERE", "SET", "SELECT", "ON", "BY",
    "HAVING", "AS", "FROM", "ORDER", "GROUP", "ESCAPE",
}  # fmt: skip
_CONCAT_STOP_OPS = {"=", "<>", "<", ">", "<=", ">=", "&"}


def _is_concat_stop(tok: Token) -> bool:
    if tok.kind == "op" and tok.text in _CONCAT_STOP_OPS:
        return True
    if tok.kind == "punct" and tok.text in {",", ";"}:
        return True
    return tok.kind == "ident" and tok.upper in _CONCAT_STOP_WORDS


def _rewrite_concat(tokens: list[Token]) -> None:
    """Jet's "a & b" joins texts, Null as "": SQLite's "&" is a bitwise AND (Part 1.1)."""
    while True:
        at = next((i for i, t in enumerate(tokens) if t.kind == "op" and t.text == "&"), None)
        if at is None:
            return
        start, depth = at, 0
        while start > 0:
            tok = tokens[start - 1]
            if tok.text == ")":
                depth += 1
            elif tok.text == "(":
                if depth == 0:
                    break
                depth -= 1
            elif depth == 0 and _is_concat_stop(tok):
                break
            start -= 1
        end, depth = at + 1, 0
        while end < len(tokens):
            tok = tokens[end]
            if tok.text == "(":
                depth += 1
            elif tok.text == ")":
                if depth == 0:
                    break
                depth -= 1
            elif depth == 0 and _is_concat_stop(tok):
                break
            end += 1
        left, right = _text(tokens, start, at), _text(tokens, at + 1, end)
        if not left or not right:
            raise errors.syntax_in_query(_text(tokens))
        joined = f" (coalesce({left}, '') || coalesce({right}, '')) "
        tokens[start:end] = [Token("raw", joined)]


def _split_top(tokens: list[Token], start: int, end: int) -> list[tuple[int, int]]:
    """Ranges of comma-separated items between start and end at paren depth 0."""
    items, depth, item_start = [], 0, start
    for i in range(start, end):
        text = tokens[i].text
        if text == "(":
            depth += 1
        elif text == ")":
            depth -= 1
        elif text == "," and depth == 0:
            items.append((item_start, i))
            item_start = i + 1
    items.append((item_start, end))
    return items


def _find_keyword(tokens: list[Token], start: int, words: set[str]) -> int:
    depth = 0
    for i in range(start, len(tokens)):
        tok = tokens[i]
        if tok.text == "(":
            depth += 1
        elif tok.text == ")":
            depth -= 1
        elif depth == 0 and tok.kind == "ident" and tok.upper in words:
            return i
    return len(tokens)


def _from_tables(tokens: list[Token], start: int, end: int) -> list[tuple[str, str]]:
    """(table, alias) pairs named in a FROM region, in order of appearance."""
    tables: list[tuple[str, str]] = []
    expect = True
    i = start
    while i < end:
        tok = tokens[i]
        if tok.kind == "ws" or tok.text == "(":
            i += 1
            continue
        if expect and tok.kind == "ident" and tok.upper not in {"SELECT"}:
            name = _unbracket(tok.text)
            alias = name
            j = i + 1
            while j < end and tokens[j].kind == "ws":
                j += 1
            if j < end and tokens[j].kind == "ident" and tokens[j].upper == "AS":
                j += 1
                while j < end and tokens[j].kind == "ws":
                    j += 1
                if j < end and tokens[j].kind == "ident":
                    alias = _unbracket(tokens[j].text)
                    i = j
            tables.append((name, alias))
            expect = False
        elif tok.text == "," or (tok.kind == "ident" and tok.upper == "JOIN"):
            expect = True
        i += 1
    return tables


def _text(tokens: list[Token], start: int = 0, end: int | None = None) -> str:
    return "".join(tok.text for tok in tokens[start:end]).strip()


def _quote_alias(name: str) -> str:
    return '"' + name.replace('"', '""') + '"'


def _translate_select(tokens: list[Token], select_at: int, catalog: Catalog) -> Translation:
    from_at = _find_keyword(tokens, select_at + 1, {"FROM"})
    end_at = _find_keyword(tokens, from_at + 1, _CLAUSE_END)
    tables = _from_tables(tokens, from_at + 1, end_at) if from_at < len(tokens) else []
    by_alias = {alias.lower(): name for name, alias in tables}
    list_start = select_at + 1
    distinct = False
    for i in range(list_start, from_at):
        if tokens[i].kind == "ws":
            continue
        if tokens[i].upper in {"DISTINCT", "DISTINCTROW", "TOP"}:
            distinct = True
        break

    def fields_of(table: str) -> tuple[str, list[str]]:
        entry = catalog.get(table.lower())
        if entry is None:
            raise errors.from_sqlite(_no_such_table(table))
        return entry

    columns: list[ColumnInfo] = []
    pieces: list[str] = []
    computed = False
    for start, end in _split_top(tokens, list_start, from_at):
        item = [tok for tok in tokens[start:end] if tok.kind != "ws"]
        text = _text(tokens, start, end)
        if len(item) == 1 and item[0].text == "*":
            for alias_name, alias in [(n, a) for n, a in tables]:
                name, names = fields_of(alias_name)
                for f in names:
                    pieces.append(f"{alias}.{f} AS {_quote_alias(f'{name}.{f}')}")
                    columns.append(ColumnInfo(f"{name}.{f}", name, f))
            continue
        if len(item) == 1 and item[0].kind == "ident" and item[0].text.endswith(".*"):
            alias = _unbracket(item[0].text[:-2])
            name, names = fields_of(by_alias.get(alias.lower(), alias))
            for f in names:
                pieces.append(f"{alias}.{f} AS {_quote_alias(f'{name}.{f}')}")
                columns.append(ColumnInfo(f"{name}.{f}", name, f))
            continue
        if len(item) == 1 and item[0].kind == "ident":
            ref = _unbracket(item[0].text)
            if "." in ref:
                alias, f = ref.split(".", 1)
                name = by_alias.get(alias.lower(), alias)
                pieces.append(f"{ref} AS {_quote_alias(f'{name}.{f}')}")
                columns.append(ColumnInfo(f"{name}.{f}", name, f))
            else:
                owner = next(
                    (n for n, _a in tables if ref.lower() in _lower_fields(catalog, n)), None
                )
                pieces.append(text)
                columns.append(ColumnInfo(ref, owner, ref))
            continue
        computed = True
        alias_name = None
        if len(item) >= 3 and item[-2].upper == "AS":
            alias_name = _unbracket(item[-1].text)
        pieces.append(text)
        columns.append(ColumnInfo(alias_name or text))

    grouped = _find_keyword(tokens, from_at + 1, {"GROUP", "HAVING", "UNION"}) < len(tokens)
    base = None
    rowid_alias = None
    if len(tables) == 1 and not computed and not distinct and not grouped:
        entry = catalog.get(tables[0][0].lower())
        if entry is not None:
            base = entry[0]
            rowid_alias = "__rowid__"
            pieces.append(f"{tables[0][1]}.rowid AS {rowid_alias}")
    head = _text(tokens, 0, list_start)
    if distinct:
        # keep DISTINCT/TOP words in front of the rebuilt list
        first = next(i for i in range(list_start, from_at) if tokens[i].kind != "ws")
        head = _text(tokens, 0, first + 1)
    tail = _text(tokens, from_at)
    sql = f"{head} {', '.join(pieces)} {tail}"
    return Translation(
        sql, columns, base_table=base, rowid_alias=rowid_alias, tables=[n for n, _a in tables]
    )


def _lower_fields(catalog: Catalog, table: str) -> set[str]:
    entry = catalog.get(table.lower())
    return {f.lower() for f in entry[1]} if entry else set()


def _no_such_table(name: str) -> Exception:
    return sqlite3.OperationalError(f"no such table: {name}")


def _rewrite_order_by(tokens: list[Token]) -> None:
    """Text columns in ORDER BY sort as Jet sorts: ignoring case and accents."""
    order_at = _find_keyword(tokens, 0, {"ORDER"})
    if order_at == len(tokens):
        return
    by_at = _find_keyword(tokens, order_at + 1, {"BY"})
    if by_at == len(tokens):
        return
    end = len(tokens)
    for i in range(len(tokens) - 1, by_at, -1):
        if tokens[i].kind == "ws" or tokens[i].text == ";":
            end = i
        else:
            break
    for start, stop in reversed(_split_top(tokens, by_at + 1, end)):
        item = [tok for tok in tokens[start:stop] if tok.kind != "ws"]
        if not item or item[0].kind != "ident":
            continue
        direction = ""
        if item[-1].upper in {"ASC", "DESC"}:
            direction = " " + item[-1].upper
            item = item[:-1]
        if len(item) != 1:
            continue
        expr = item[0].text
        tokens[start:stop] = [Token("raw", f" jet_key({expr}), {expr}{direction}")]


def translate(statement: str, catalog: Catalog) -> Translation:
    """Translate one Jet statement (or a bare table name) into SQLite SQL."""
    tokens = tokenize(statement)
    sig = _significant(tokens)
    if not sig:
        raise errors.syntax_in_query(statement)
    _rewrite_literals(tokens)
    first = tokens[sig[0]].upper
    _rewrite_concat(tokens)
    sig = _significant(tokens)
    if first == "SELECT":
        _rewrite_order_by(tokens)
        return _translate_select(tokens, sig[0], catalog)
    if first == "DELETE":
        return Translation(_translate_delete(tokens, sig))
    if first == "INSERT":
        return Translation(_translate_insert(tokens, sig))
    if first == "UPDATE":
        return Translation(_translate_update(tokens, sig))
    return Translation(_text(tokens))


def _translate_delete(tokens: list[Token], sig: list[int]) -> str:
    # Jet's "DELETE * FROM T" and "DELETE T.* FROM T" are SQLite's "DELETE FROM T".
    if len(sig) > 1 and (tokens[sig[1]].text == "*" or tokens[sig[1]].text.endswith(".*")):
        tokens[sig[1]] = Token("ws", "")
        if sig[1] + 1 < len(tokens) and tokens[sig[1] + 1].kind == "ws":
            tokens[sig[1] + 1] = Token("ws", "")
    return _text(tokens)


def _translate_insert(tokens: list[Token], sig: list[int]) -> str:
    # Jet maps "INSERT INTO T SELECT a, b ..." by name: SQLite wants the column list.
    if len(sig) > 3 and tokens[sig[3]].upper == "SELECT":
        select_at = sig[3]
        from_at = _find_keyword(tokens, select_at + 1, {"FROM"})
        names = []
        for start, end in _split_top(tokens, select_at + 1, from_at):
            item = [tok for tok in tokens[start:end] if tok.kind != "ws"]
            if not item:
                raise errors.syntax_in_query(_text(tokens))
            names.append(_unbracket(item[-1].text).split(".")[-1])
        if "*" not in names:
            tokens.insert(select_at, Token("raw", f"({', '.join(names)}) "))
    return _text(tokens)


def _translate_update(tokens: list[Token], sig: list[int]) -> str:
    # Jet's "UPDATE A, B SET A.x = ... WHERE ..." is SQLite's "UPDATE A SET x = ... FROM B".
    set_at = _find_keyword(tokens, sig[0] + 1, {"SET"})
    targets = [tok.text for tok in tokens[sig[0] + 1 : set_at] if tok.kind == "ident"]
    if len(targets) < 2:
        return _strip_set_qualifiers(tokens, set_at, targets[:1])
    where_at = _find_keyword(tokens, set_at + 1, {"WHERE"})
    _strip_set_qualifiers(tokens, set_at, targets[:1])
    head = f"UPDATE {targets[0]} "
    assignments = _text(tokens, set_at, where_at)
    rest = _text(tokens, where_at)
    return f"{head}{assignments} FROM {', '.join(targets[1:])} {rest}".strip()


def _strip_set_qualifiers(tokens: list[Token], set_at: int, targets: list[str]) -> str:
    where_at = _find_keyword(tokens, set_at + 1, {"WHERE"})
    items = _split_top(tokens, set_at + 1, where_at)
    for start, end in items:
        for i in range(start, end):
            tok = tokens[i]
            if tok.kind == "ws":
                continue
            if tok.kind == "ident" and "." in tok.text:
                owner, name = tok.text.split(".", 1)
                if not targets or owner.lower() == targets[0].lower():
                    tokens[i] = Token("ident", name)
            break
    return _text(tokens)


def _build_fold() -> dict[int, str]:
    table: dict[int, str] = {}
    for code in range(0x41, 0x5B):
        table[code] = chr(code + 32)
    for code in range(0xC0, 0x250):
        ch = chr(code)
        base = unicodedata.normalize("NFD", ch)[0].lower()
        if base != ch:
            table[code] = base
    table[ord("ß")] = "ss"
    table[ord("æ")] = "ae"
    table[ord("Æ")] = "ae"
    return table


_FOLD = _build_fold()


def jet_key(text: object) -> object:
    """The sort key of a text as Jet orders it: accents and case ignored."""
    if isinstance(text, str):
        return text.translate(_FOLD)
    return text


def nocase(text: str) -> str:
    """Fold a text as the schema's COLLATE NOCASE compares it (ASCII letters only)."""
    return text.translate(_ASCII_FOLD)


_ASCII_FOLD = {code: chr(code + 32) for code in range(0x41, 0x5B)}
