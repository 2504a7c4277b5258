"""DAO semantics over SQLite: the `Database` and `Recordset` the Parts rely on (Part 1.1).

Recordsets hold their rows in memory in the order of their query, with DAO's current
record, BOF/EOF, bookmarks, finds by Jet criteria text with a no-match flag, and
add-new/edit/update/delete on single-table sources (parameterised SQL underneath).
Every failure surfaces as a `JetError`; a user action that writes several rows runs
inside `Database.transaction()` so that it is all or nothing.
"""

from __future__ import annotations

import contextlib
import datetime
import os
import re
import sqlite3
import urllib.request
import weakref
from collections.abc import Callable, Iterator
from enum import IntEnum

from varemo_contas.data import criteria, errors, jet
from varemo_contas.data.errors import JetError, StorageBugError

# "Field = 17": the finds a click in the tree and a relocation use, answered by an index.
_EQUALS_NUMBER = re.compile(r"^\s*([A-Za-z_][\w.]*)\s*=\s*(-?\d+)\s*;?\s*$")

# How long a statement waits for another module's write lock before it fails.
BUSY_TIMEOUT_SECONDS = 5.0


def _adapt_date(value: datetime.date) -> str:
    return value.isoformat()


def _convert_boolean(raw: bytes) -> bool:
    return raw not in (b"0", b"", b"0.0")


def _convert_date(raw: bytes) -> datetime.date | str:
    text = raw.decode("utf-8", "replace")
    try:
        return datetime.date.fromisoformat(text[:10])
    except ValueError:
        return text


sqlite3.register_adapter(datetime.date, _adapt_date)
sqlite3.register_converter("BOOLEAN", _convert_boolean)
sqlite3.register_converter("DATE", _convert_date)


@contextlib.contextmanager
def storage_errors(statement: str) -> Iterator[None]:
    """Any SQLite failure inside becomes the Jet-like error the Parts log."""
    try:
        yield
    except sqlite3.Error as exc:
        raise errors.from_sqlite(exc, statement) from exc


class RecordsetType(IntEnum):
    """DAO's recordset types (dbOpenTable, dbOpenDynaset, dbOpenSnapshot)."""

    TABLE = 1
    DYNASET = 2
    SNAPSHOT = 4


class EditMode(IntEnum):
    NONE = 0
    EDIT = 1
    ADD = 2


class Database:
    """The one open company database (Part 1.1), with Jet text translated on the way."""

    def __init__(self, connection: sqlite3.Connection, path: str) -> None:
        self._connection = connection
        self.path = path
        self._catalog: jet.Catalog | None = None
        self._recordsets: weakref.WeakSet[Recordset] = weakref.WeakSet()
        self._in_transaction = 0
        self._touched: list[Recordset] = []
        # Called after every statement that reached SQLite (crash tests hook in here).
        self.statement_hook: Callable[[str], None] | None = None
        connection.create_function("jet_key", 1, jet.jet_key, deterministic=True)

    @classmethod
    def open(cls, path: str) -> Database:
        """Open an existing database file shared and read-write (Part 1.2)."""
        if not os.path.isfile(path):
            raise JetError(errors.FILE_NOT_FOUND, f"Não foi possível encontrar o arquivo '{path}'.")
        uri = "file:" + urllib.request.pathname2url(os.path.abspath(path)) + "?mode=rw"
        with storage_errors(""):
            connection = sqlite3.connect(
                uri,
                uri=True,
                timeout=BUSY_TIMEOUT_SECONDS,
                isolation_level=None,
                detect_types=sqlite3.PARSE_DECLTYPES,
                check_same_thread=False,
            )
        database = cls(connection, path)
        try:
            tables = database.catalog
        except JetError:
            connection.close()
            raise
        if not tables:
            connection.close()
            raise errors.from_sqlite(sqlite3.DatabaseError("file is not a database"))
        return database

    # -- catalog --
    @property
    def catalog(self) -> jet.Catalog:
        if self._catalog is None:
            catalog: jet.Catalog = {}
            with storage_errors(""):
                names = [
                    row[0]
                    for row in self._connection.execute(
                        "SELECT name FROM sqlite_master WHERE type = 'table' "
                        "AND name NOT LIKE 'sqlite%'"
                    )
                ]
                for name in names:
                    fields = [
                        row[1] for row in self._connection.execute(f'PRAGMA table_info("{name}")')
                    ]
                    catalog[name.lower()] = (name, fields)
            self._catalog = catalog
        return self._catalog

    def has_table(self, name: str) -> bool:
        return name.lower() in self.catalog

    def check_tables(self, names: tuple[str, ...]) -> None:
        """Jet's 3049 when a page of these tables (or their indexes) is damaged.

        SQLite reads the file lazily, so a damaged page would otherwise first show up halfway
        through an action; `quick_check` walks just these tables' pages.
        """
        for name in names:
            [[verdict], *_rest] = self._rows(f'PRAGMA quick_check("{name}")')
            if verdict != "ok":
                raise errors.from_sqlite(sqlite3.DatabaseError("database disk image is malformed"))

    # -- statements --
    def translate(self, statement: str) -> jet.Translation:
        source = statement.strip()
        if source and " " not in source and source.lower() in self.catalog:
            source = f"SELECT * FROM {source}"
        return jet.translate(source, self.catalog)

    def _run(self, sql: str, params: tuple = (), original: str = "") -> sqlite3.Cursor:
        with storage_errors(original or sql):
            cursor = self._connection.execute(sql, params)
        if self.statement_hook is not None:
            self.statement_hook(sql)
        return cursor

    def _rows(
        self, sql: str, params: tuple = (), original: str = "", first_only: bool = False
    ) -> list[tuple]:
        """The rows of a query; SQLite reads most pages while rows are fetched, so a damaged
        page or a lock met there is a `JetError` too (issue 6), never a bare sqlite3 error."""
        cursor = self._run(sql, params, original)
        with storage_errors(original or sql):
            if first_only:
                row = cursor.fetchone()
                return [] if row is None else [row]
            return cursor.fetchall()

    def execute(self, statement: str) -> int:
        """Run a Jet action statement; return the number of rows it touched."""
        translation = self.translate(statement)
        cursor = self._run(translation.sql, original=statement)
        return max(cursor.rowcount, 0)

    def open_recordset(self, source: str, kind: RecordsetType = RecordsetType.DYNASET) -> Recordset:
        """Open a table by name or a Jet SELECT as a recordset positioned on its first row."""
        translation = self.translate(source)
        if translation.columns is None:
            raise errors.syntax_in_query(source)
        recordset = Recordset(self, source, kind, translation)
        self._recordsets.add(recordset)
        return recordset

    def scalar(self, statement: str) -> object:
        """The first field of the first row of a Jet SELECT, or None."""
        translation = self.translate(statement)
        rows = self._rows(translation.sql, original=statement, first_only=True)
        return rows[0][0] if rows else None

    # -- transactions --
    @contextlib.contextmanager
    def transaction(self) -> Iterator[None]:
        """All or nothing: BEGIN IMMEDIATE ... COMMIT, or ROLLBACK and forget cached edits."""
        if self._in_transaction:
            self._in_transaction += 1
            try:
                yield
            finally:
                self._in_transaction -= 1
            return
        self._run("BEGIN IMMEDIATE")
        self._in_transaction = 1
        try:
            yield
            # Another module reading the file keeps COMMIT waiting; past the busy timeout it
            # fails like any statement and the whole action is abandoned below (issue 6).
            self._run("COMMIT")
        except BaseException:
            self._abandon()
            raise
        self._in_transaction = 0
        self._touched = []

    def _abandon(self) -> None:
        """Roll back, and make the recordsets written to forget the rows that never were."""
        self._in_transaction = 0
        with contextlib.suppress(sqlite3.Error):
            self._connection.execute("ROLLBACK")
        touched, self._touched = self._touched, []
        for recordset in touched:
            if not recordset.closed:
                with contextlib.suppress(JetError):
                    recordset.requery()

    @property
    def in_transaction(self) -> bool:
        return self._in_transaction > 0

    def _note_write(self, recordset: Recordset) -> None:
        if self._in_transaction and recordset not in self._touched:
            self._touched.append(recordset)

    def close(self) -> None:
        for recordset in list(self._recordsets):
            recordset.close()
        with contextlib.suppress(sqlite3.Error):
            self._connection.close()

    @property
    def connection(self) -> sqlite3.Connection:
        """The raw connection, for the schema builder and benchmarks only."""
        return self._connection


class Recordset:
    """A DAO recordset: rows in query order, a current record, finds and edits."""

    def __init__(
        self,
        database: Database,
        source: str,
        kind: RecordsetType,
        translation: jet.Translation,
    ) -> None:
        self.database = database
        self.source = source
        self.kind = kind
        self._translation = translation
        columns = translation.columns or []
        self.fields = [column.name for column in columns]
        self._columns = columns
        self._index: dict[str, int] = {}
        for i, column in enumerate(columns):
            self._index.setdefault(column.name.lower(), i)
            if column.field:
                self._index.setdefault(column.field.lower(), i)
        self._updatable = translation.base_table is not None and kind != RecordsetType.SNAPSHOT
        self._rows: list[tuple] = []
        self._ids: list[object] = []
        self._positions: dict[object, int] | None = None
        self._pos = 0
        self._deleted_current = False
        self._mode = EditMode.NONE
        self._buffer: dict[int, object] = {}
        self._criteria_cache: dict[str, Callable[[criteria.Row], bool]] = {}
        self._value_index: dict[int, dict[object, int] | None] = {}
        self.no_match = False
        self.last_modified: object = None
        self.closed = False
        self._load()

    # -- loading --
    def _load(self) -> None:
        rows = self.database._rows(self._translation.sql, original=self.source)
        width = len(self._columns)
        if self._translation.rowid_alias is not None:
            self._ids = [row[width] for row in rows]
            self._rows = [row[:width] for row in rows]
        else:
            self._ids = list(range(1, len(rows) + 1))
            self._rows = rows
        self._next_id = len(rows) + 1
        self._changed()
        self._pos = 0
        self._deleted_current = False
        self._mode = EditMode.NONE
        self._buffer = {}

    def requery(self) -> None:
        """Read the rows again; the first row becomes current."""
        self._check_open()
        self._load()

    def close(self) -> None:
        self.closed = True
        self._rows = []
        self._ids = []

    def _check_open(self) -> None:
        if self.closed:
            raise StorageBugError(f"recordset closed: {self.source}")

    # -- position --
    @property
    def record_count(self) -> int:
        return len(self._rows)

    @property
    def bof(self) -> bool:
        return not self._rows or self._pos < 0

    @property
    def eof(self) -> bool:
        return not self._rows or self._pos >= len(self._rows)

    def _current(self) -> int:
        if self._deleted_current:
            raise JetError(3167, "O registro foi excluído.")
        if self.bof or self.eof:
            raise errors.no_current_record()
        return self._pos

    @property
    def absolute_position(self) -> int:
        """0-based index of the current row; -1 when there is none (DAO)."""
        if self.bof or self.eof or self._deleted_current:
            return -1
        return self._pos

    @absolute_position.setter
    def absolute_position(self, value: int) -> None:
        if not 0 <= value < len(self._rows):
            raise JetError(3001, "Argumento inválido.")
        self._go(value)

    def _go(self, index: int) -> None:
        self._pos = index
        self._deleted_current = False

    def move_first(self) -> None:
        self._check_open()
        if not self._rows:
            raise errors.no_current_record()
        self._go(0)

    def move_last(self) -> None:
        self._check_open()
        if not self._rows:
            raise errors.no_current_record()
        self._go(len(self._rows) - 1)

    def move_next(self) -> None:
        self._check_open()
        if self._deleted_current:
            self._go(self._pos)  # the row after the deleted one, or EOF
            return
        if self.eof:
            raise errors.no_current_record()
        self._go(self._pos + 1)

    def move_previous(self) -> None:
        self._check_open()
        if self.bof and not self._deleted_current:
            raise errors.no_current_record()
        self._go(self._pos - 1)

    @property
    def bookmark(self) -> object:
        return self._ids[self._current()]

    @bookmark.setter
    def bookmark(self, value: object) -> None:
        if self._positions is None:
            self._positions = {key: i for i, key in enumerate(self._ids)}
        index = self._positions.get(value)
        if index is None:
            raise JetError(3159, "Indicador inválido.")
        self._go(index)

    # -- fields --
    def field_index(self, name: str) -> int:
        index = self._index.get(name.lower())
        if index is None:
            raise errors.unknown_field(name)
        return index

    def __getitem__(self, name: str) -> object:
        index = self.field_index(name)
        if self._mode != EditMode.NONE and index in self._buffer:
            return self._buffer[index]
        if self._mode == EditMode.ADD:
            return None
        return self._rows[self._current()][index]

    def __setitem__(self, name: str, value: object) -> None:
        index = self.field_index(name)
        if self._mode == EditMode.NONE:
            raise JetError(
                errors.UPDATE_WITHOUT_EDIT,
                "Atualização ou CancelarAtualização sem AdicionarNovo ou Editar.",
            )
        self._buffer[index] = value

    def value(self, name: str, default: object = None) -> object:
        """A field of the current row, `default` in place of Null."""
        found = self[name]
        return default if found is None else found

    def rows(self) -> list[tuple]:
        """All rows in order (read-only view for bulk readers such as tree builders)."""
        return self._rows

    # -- finds --
    def _predicate(self, text: str) -> Callable[[criteria.Row], bool]:
        predicate = self._criteria_cache.get(text)
        if predicate is None:
            predicate = criteria.compile_criteria(text, self.field_index)
            self._criteria_cache[text] = predicate
        return predicate

    def _find(self, text: str, indexes: range) -> bool:
        self._check_open()
        predicate = self._predicate(text)
        rows = self._rows
        for i in indexes:
            if predicate(rows[i]):
                self._go(i)
                self.no_match = False
                return True
        # A failed find leaves the current record where it was (the Parts rely on it).
        self.no_match = True
        return False

    def _changed(self) -> None:
        self._positions = None
        self._value_index = {}

    def _index_appended(self, row: tuple, position: int) -> None:
        """A row added at the end keeps the indexes valid: add its values to them."""
        for column, index in list(self._value_index.items()):
            if index is None:
                continue
            value = row[column]
            if value is None:
                continue
            if not isinstance(value, int) or isinstance(value, bool):
                self._value_index[column] = None
            else:
                index.setdefault(value, position)

    def _indexed_first(self, text: str) -> int | bool | None:
        """The first row with `field = number`, from an index; False when not indexable."""
        match = _EQUALS_NUMBER.match(text)
        if match is None or match.group(1).upper() in {"TRUE", "FALSE"}:
            return False
        column = self.field_index(match.group(1))
        if column not in self._value_index:
            index: dict[object, int] | None = {}
            for i, row in enumerate(self._rows):
                value = row[column]
                if value is None:
                    continue
                if not isinstance(value, int) or isinstance(value, bool):
                    index = None  # text or booleans compare by Jet's rules: scan instead
                    break
                index.setdefault(value, i)
            self._value_index[column] = index
        index = self._value_index[column]
        if index is None:
            return False
        return index.get(int(match.group(2)))

    def find_first(self, text: str) -> bool:
        self._check_open()
        found = self._indexed_first(text)
        if found is not False:
            # Same answer as the scan: the first row in order whose field equals the number.
            if found is None:
                self.no_match = True
                return False
            self._go(found)
            self.no_match = False
            return True
        return self._find(text, range(len(self._rows)))

    def find_last(self, text: str) -> bool:
        return self._find(text, range(len(self._rows) - 1, -1, -1))

    def find_next(self, text: str) -> bool:
        start = 0 if self.bof else (self._pos if self._deleted_current else self._pos + 1)
        return self._find(text, range(start, len(self._rows)))

    def find_previous(self, text: str) -> bool:
        start = len(self._rows) - 1 if self.eof else self._pos - 1
        return self._find(text, range(start, -1, -1))

    # -- editing --
    def _check_updatable(self) -> None:
        self._check_open()
        if not self._updatable:
            raise JetError(
                errors.READ_ONLY,
                "Não é possível atualizar. O banco de dados ou o objeto é somente leitura.",
            )

    @property
    def edit_mode(self) -> EditMode:
        return self._mode

    def add_new(self) -> None:
        self._check_updatable()
        self._mode = EditMode.ADD
        self._buffer = {}

    def edit(self) -> None:
        self._check_updatable()
        self._current()
        self._mode = EditMode.EDIT
        self._buffer = {}

    def cancel_update(self) -> None:
        self._mode = EditMode.NONE
        self._buffer = {}

    def _column_field(self, index: int) -> str:
        field = self._columns[index].field
        if field is None:
            raise StorageBugError(f"computed column cannot be written: {self.fields[index]}")
        return field

    def _fetch(self, rowid: object) -> tuple:
        fields = ", ".join(f'"{self._column_field(i)}"' for i in range(len(self._columns)))
        table = self._translation.base_table
        rows = self.database._rows(
            f'SELECT {fields} FROM "{table}" WHERE rowid = ?', (rowid,), first_only=True
        )
        if not rows:
            raise JetError(3167, "O registro foi excluído.")
        return tuple(rows[0])

    def update(self) -> None:
        """Store the row being added or edited."""
        if self._mode == EditMode.NONE:
            raise JetError(
                errors.UPDATE_WITHOUT_EDIT,
                "Atualização ou CancelarAtualização sem AdicionarNovo ou Editar.",
            )
        table = self._translation.base_table
        names = [self._column_field(i) for i in self._buffer]
        values = tuple(self._buffer.values())
        if self._mode == EditMode.ADD:
            if names:
                columns = ", ".join(f'"{name}"' for name in names)
                marks = ", ".join("?" for _ in names)
                sql = f'INSERT INTO "{table}" ({columns}) VALUES ({marks})'
            else:
                sql = f'INSERT INTO "{table}" DEFAULT VALUES'
            cursor = self.database._run(sql, values)
            rowid = cursor.lastrowid
            self.database._note_write(self)
            row = self._fetch(rowid)
            at_eof = self._pos >= len(self._rows) and not self._deleted_current
            self._rows.append(row)
            self._ids.append(rowid)
            if at_eof:
                self._pos += 1  # DAO: the record current before AddNew (here EOF) stays current
            self._positions = None
            self._index_appended(row, len(self._rows) - 1)
            self.last_modified = rowid
        else:
            index = self._current()
            rowid = self._ids[index]
            if names:
                assignments = ", ".join(f'"{name}" = ?' for name in names)
                self.database._run(
                    f'UPDATE "{table}" SET {assignments} WHERE rowid = ?', (*values, rowid)
                )
                self.database._note_write(self)
            before = self._rows[index]
            self._rows[index] = after = self._fetch(rowid)
            # Only the indexes of columns whose value changed are rebuilt (the search edits
            # thousands of rows found by an unchanged code).
            for column in [c for c in self._value_index if before[c] != after[c]]:
                del self._value_index[column]
            self.last_modified = rowid
        self._mode = EditMode.NONE
        self._buffer = {}

    def delete(self) -> None:
        """Delete the current row; it stays current but unreadable until a move (DAO)."""
        self._check_updatable()
        index = self._current()
        rowid = self._ids[index]
        table = self._translation.base_table
        self.database._run(f'DELETE FROM "{table}" WHERE rowid = ?', (rowid,))
        self.database._note_write(self)
        del self._rows[index]
        del self._ids[index]
        self._changed()
        self._deleted_current = True
