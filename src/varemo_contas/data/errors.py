"""Typed storage errors: Jet-like errors the Parts log, and bugs that are ours.

The Parts log "the error's description and number" (Part 1.3), so every failure of a
statement, a criteria text or the database file surfaces as one `JetError` carrying the
number Jet would give and a Portuguese description, as Access shows them in Brazil.
Misuse of the data layer by our own code is a `StorageBugError`, never logged as the user's.
"""

from __future__ import annotations

import sqlite3

SYNTAX_IN_QUERY = 3075
SYNTAX_IN_EXPRESSION = 3077
NO_CURRENT_RECORD = 3021
FILE_NOT_FOUND = 3024
READ_ONLY = 3027
DUPLICATE_KEY = 3022
NOT_A_DATABASE = 3049
TOO_FEW_PARAMETERS = 3061
UNKNOWN_FIELD = 3070
TABLE_NOT_FOUND = 3078
CHARACTERS_AFTER_END = 3142
LOCKED = 3218
NOT_SUPPORTED = 3251
TYPE_MISMATCH = 3464
UPDATE_WITHOUT_EDIT = 3020
GENERAL = 3000


class JetError(Exception):
    """A database failure with the number and description the error log records."""

    def __init__(self, number: int, description: str) -> None:
        super().__init__(f"{number}: {description}")
        self.number = number
        self.description = description


class StorageBugError(Exception):
    """The data layer was used against its contract: a defect of ours, not the user's."""


def syntax_in_query(text: str) -> JetError:
    return JetError(
        SYNTAX_IN_QUERY, f"Erro de sintaxe (operador faltando) na expressão de consulta '{text}'."
    )


def syntax_in_expression(text: str) -> JetError:
    return JetError(
        SYNTAX_IN_EXPRESSION, f"Erro de sintaxe (operador faltando) na expressão '{text}'."
    )


def no_current_record() -> JetError:
    return JetError(NO_CURRENT_RECORD, "Nenhum registro atual.")


def unknown_field(name: str) -> JetError:
    return JetError(
        UNKNOWN_FIELD,
        f"O mecanismo de banco de dados não reconhece '{name}' como um nome de campo "
        "ou expressão válida.",
    )


def type_mismatch() -> JetError:
    return JetError(TYPE_MISMATCH, "Tipo de dados incompatível na expressão de critério.")


def from_sqlite(exc: sqlite3.Error, statement: str = "") -> JetError:
    """Translate an SQLite failure into the Jet error a user of the suite knows."""
    message = str(exc)
    lowered = message.lower()
    if isinstance(exc, sqlite3.IntegrityError):
        return JetError(
            DUPLICATE_KEY,
            "As alterações solicitadas à tabela não foram bem-sucedidas porque criariam "
            "valores duplicados no índice, chave primária ou relacionamento.",
        )
    if "one statement at a time" in lowered:
        return JetError(CHARACTERS_AFTER_END, "Caracteres encontrados após o fim da instrução SQL.")
    if any(word in lowered for word in ("syntax error", "unrecognized token", "incomplete input")):
        return syntax_in_query(statement or message)
    if lowered.startswith("no such table"):
        name = message.split(":", 1)[-1].strip()
        return JetError(
            TABLE_NOT_FOUND,
            f"O mecanismo de banco de dados não pode encontrar a tabela ou consulta de "
            f"entrada '{name}'. Certifique-se de que ela existe e que seu nome está "
            "digitado corretamente.",
        )
    if lowered.startswith("no such column"):
        return JetError(TOO_FEW_PARAMETERS, "Parâmetros insuficientes. Eram esperados 1.")
    if "locked" in lowered or "busy" in lowered:
        return JetError(
            LOCKED,
            "Não foi possível atualizar; bloqueado no momento por outro usuário ou módulo.",
        )
    if "readonly" in lowered or "read-only" in lowered:
        return JetError(
            READ_ONLY, "Não é possível atualizar. O banco de dados ou o objeto é somente leitura."
        )
    if "not a database" in lowered or "malformed" in lowered:
        return JetError(
            NOT_A_DATABASE,
            "Não é possível abrir o banco de dados. Talvez não seja um banco de dados "
            "reconhecido pelo seu aplicativo ou o arquivo pode estar corrompido.",
        )
    if "unable to open" in lowered:
        return JetError(FILE_NOT_FOUND, "Não foi possível encontrar ou abrir o arquivo.")
    return JetError(GENERAL, f"Erro do banco de dados: {message}")
