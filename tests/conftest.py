"""Shared fixtures: offscreen Qt, a fake desktop seam, a seeded company database."""

from __future__ import annotations

import os

os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")
# The users are Brazilian: the tests run under Portuguese settings whatever the machine's.
os.environ["LANG"] = "pt_BR.UTF-8"
os.environ.pop("LC_ALL", None)
os.environ.pop("LC_TIME", None)

from collections.abc import Iterator
from dataclasses import dataclass, field
from pathlib import Path

import pytest
from hypothesis import settings as hypothesis_settings
from PySide6.QtCore import QSettings

from varemo_contas.app import desktop

# CI runs the property tests on a fixed sequence of examples, so that a landing is judged on
# the code, not on the draw; developers' runs keep drawing new examples.
hypothesis_settings.register_profile("ci", derandomize=True)
if os.environ.get("CI"):
    hypothesis_settings.load_profile("ci")


@dataclass
class Call:
    name: str
    args: tuple
    kwargs: dict

    @property
    def prompt(self) -> str:
        return self.args[0] if self.args else self.kwargs.get("prompt", "")

    @property
    def buttons(self) -> int:
        if len(self.args) > 1:
            return self.args[1]
        return self.kwargs.get("buttons", 0)

    @property
    def title(self) -> str:
        if len(self.args) > 2:
            return self.args[2]
        return self.kwargs.get("title", "")


@dataclass
class FakeDesktop:
    """Records every call of the desktop seam and answers message boxes from a script."""

    calls: list[Call] = field(default_factory=list)
    answers: list[int] = field(default_factory=list)
    modal_hook: object = None
    running_copy: bool = False
    help_opens: bool = True
    bars: list = field(default_factory=list)

    def _record(self, name: str, *args, **kwargs) -> None:
        self.calls.append(Call(name, args, kwargs))

    def msgbox(self, prompt: str, buttons: int = 0, title: str = "") -> int:
        self._record("msgbox", prompt, buttons, title)
        if self.answers:
            return self.answers.pop(0)
        return desktop.vbYes if buttons & 0x0F == desktop.vbYesNo else desktop.vbOK

    def show_modal(self, window) -> None:
        self._record("show_modal", window)
        if callable(self.modal_hook):
            self.modal_hook(window)

    def play_sound(self, number: int) -> None:
        self._record("play_sound", number)

    def show_help(self, context: int = 0) -> bool:
        self._record("show_help", context)
        return self.help_opens

    def send_mail(self) -> None:
        self._record("send_mail")

    def start_module(self, number: int) -> bool:
        self._record("start_module", number)
        return 1 <= number <= 10

    def activate_running_copy(self, title: str) -> bool:
        self._record("activate_running_copy", title)
        return self.running_copy

    def process_events(self) -> None:
        self._record("process_events")

    def progress(self, text: str, total: int) -> FakeProgress:
        self._record("progress", text, total)
        bar = FakeProgress(self, total)
        self.bars.append(bar)
        return bar

    def named(self, name: str) -> list[Call]:
        return [call for call in self.calls if call.name == name]

    @property
    def boxes(self) -> list[Call]:
        return self.named("msgbox")

    @property
    def sounds(self) -> list[int]:
        return [call.args[0] for call in self.named("play_sound")]


@dataclass
class FakeProgress:
    owner: FakeDesktop
    total: int
    steps: list[int] = field(default_factory=list)
    closed: bool = False

    def update(self, done: int) -> None:
        self.steps.append(done)

    def close(self) -> None:
        self.closed = True


FAKED = (
    "msgbox",
    "show_modal",
    "play_sound",
    "show_help",
    "send_mail",
    "start_module",
    "activate_running_copy",
    "process_events",
    "progress",
)


@pytest.fixture
def fake_desktop(monkeypatch: pytest.MonkeyPatch) -> FakeDesktop:
    """Replace the person-facing calls of the desktop seam with a recording fake."""
    fake = FakeDesktop()
    for name in FAKED:
        monkeypatch.setattr(desktop, name, getattr(fake, name))
    return fake


def _no_real_box(*args: object, **kwargs: object) -> int:
    raise AssertionError(f"a real message box would block the tests: {args!r}")


@pytest.fixture(autouse=True)
def _isolated(tmp_path: Path, monkeypatch: pytest.MonkeyPatch, qapp) -> Iterator[None]:
    """Each test gets its own working folder and settings store (start-up changes both).

    A real message box or modal window would wait for a person forever: without the
    `fake_desktop` fixture they fail the test at once instead.
    """
    monkeypatch.setattr(desktop, "msgbox", _no_real_box)
    monkeypatch.setattr(desktop, "show_modal", _no_real_box)
    monkeypatch.chdir(tmp_path)
    settings_dir = tmp_path / "_settings"
    settings_dir.mkdir()
    QSettings.setDefaultFormat(QSettings.Format.IniFormat)
    QSettings.setPath(QSettings.Format.IniFormat, QSettings.Scope.UserScope, str(settings_dir))
    yield


# --- a small seeded company, known row by row -------------------------------------

SEED_SQL = """
INSERT INTO DadosEmpresa (Nome, Morto, InicioSemana, RetroAtivo)
    VALUES ('  Padaria Teste Ltda  ', 0, 1, 0);
INSERT INTO NivelCategoria0 (Codigo, Nome) VALUES (1, 'Receitas'), (2, 'Despesas'), (3, 'Vazia');
INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0, Travado) VALUES
    (1, 'Receitas Clientes', 1, 1),
    (2, 'Despesas Fornecedores', 2, 1),
    (3, 'Despesas Administrativas', 2, NULL),
    (4, 'Receitas Financeiras', 1, 0);
INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1, Travado) VALUES
    (1, 'Vendas Produtos', 1, 1),
    (2, 'Vendas Insumos', 1, 0),
    (3, 'Fornecedores Produtos', 2, 1),
    (4, 'Fornecedores Insumos', 2, 0),
    (5, 'Ocupação', 3, NULL),
    (6, 'Vendas Produtos', 4, 0);
INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES
    (1, 'Pães', 1),
    (2, 'Farinhas', 2),
    (3, 'Pães', 3),
    (4, 'Farinhas', 4),
    (5, 'Aluguel e condomínio', 5),
    (6, 'Energia', 5),
    (7, 'Aplicações', 6);
INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3, CodigoProduto, Marca) VALUES
    (1, 'Pão francês', 1, 1, 0),
    (2, 'Baguete', 1, 2, 0),
    (3, 'Farinha de trigo', 2, 0, 0),
    (4, 'Pão francês', 3, 1, 0),
    (5, 'Farinha de trigo', 4, 3, 0),
    (6, 'Aluguel da loja', 5, 0, 0),
    (7, 'Condomínio', 5, 0, 0),
    (8, 'Conta de luz', 6, 0, 0),
    (9, 'CDB', 7, 0, 0);
INSERT INTO Linhas (CodigoLinha, NomeLinha, Insumo) VALUES
    (1, 'Pães', 0), (2, 'Farinhas', 1), (3, 'Sorvetes', 0), (4, NULL, 0);
INSERT INTO Produtos (CodigoProduto, CodigoLinha, NomeProduto) VALUES
    (1, 1, 'Pão francês'), (2, 1, 'Baguete'), (3, 2, 'Farinha de trigo'), (4, 1, NULL);
INSERT INTO Venda (Codigo, DataDocumento, Venda) VALUES
    (1, '2026-03-01', 1), (2, '2026-03-15', 1), (3, '2026-03-31', 1), (4, '2026-03-10', 0),
    (5, '2026-04-01', 1);
INSERT INTO VendaProdutos (Codigo, CodigoProduto, CodigoSetor, Produto, PrecoUnit, QdeComprada)
    VALUES
    (1, 1, 1, 1, 0.5, 100), (2, 1, 1, 1, 0.5, 40), (3, 2, 1, 1, 8.0, 3),
    (4, 1, 1, 1, 0.5, 999), (5, 1, 1, 1, 0.5, 7), (2, 9, 4, 0, 120.0, 1);
INSERT INTO Compra (Codigo, DataDocumento) VALUES (1, '2026-03-05'), (2, '2026-03-20');
INSERT INTO CompraProdutos (Codigo, CodigoProduto, CodigoSetor, Produto, PrecoUnit, QdeComprada)
    VALUES
    (1, 3, 2, 1, 150.0, 2), (1, 6, 3, 0, 2500.0, 1), (2, 8, 3, 0, 420.5, 1);
INSERT INTO Relatorios (CodigoRelatorio, NomeRelatorio) VALUES (1, 'Resultado Mensal');
INSERT INTO RelatorioItens (CodigoRelatorio, Nivel, CodigoConta, Imagem) VALUES
    (1, 'N0', 2, 2), (1, 'N1', 3, 3), (1, 'N2', 5, 3), (1, 'N3', 5, 3), (1, 'N3', 6, 3),
    (1, 'N4', 6, 3), (1, 'N4', 7, 3), (1, 'N4', 8, 3);
"""


def build_seeded_database(path: str) -> str:
    """Create the schema and the small known company at `path`."""
    import sqlite3

    from varemo_contas.data import schema

    schema.create_database(path)
    connection = sqlite3.connect(path)
    try:
        connection.executescript(SEED_SQL)
        connection.commit()
    finally:
        connection.close()
    return path


@pytest.fixture
def seeded_path(tmp_path: Path) -> str:
    return build_seeded_database(str(tmp_path / "empresa.mdb"))


@pytest.fixture
def db(seeded_path: str) -> Iterator[object]:
    from varemo_contas.data.dao import Database

    database = Database.open(seeded_path)
    yield database
    database.close()


@dataclass
class Installation:
    """A program folder with "Caminho.dad" and a data folder holding the seeded company."""

    program: Path
    data: Path

    @property
    def database(self) -> Path:
        return self.data / "Dados" / "empresa.mdb"

    @property
    def error_log(self) -> Path:
        return self.data / "Dados" / "Erros.txt"


def make_installation(root: Path) -> Installation:
    program = root / "programa"
    data = root / "empresa"
    (program / "Sons").mkdir(parents=True)
    (data / "Dados").mkdir(parents=True)
    (program / "Caminho.dad").write_text(str(data) + os.sep + "\r\n", encoding="cp1252")
    (data / "Empresa.ini").write_text("[Empresa]\r\nNome=Padaria Teste\r\n", encoding="cp1252")
    build_seeded_database(str(data / "Dados" / "empresa.mdb"))
    return Installation(program, data)


@pytest.fixture
def installation(tmp_path: Path) -> Installation:
    return make_installation(tmp_path)


@pytest.fixture
def contas(installation: Installation, fake_desktop: FakeDesktop, qtbot):
    """The main window loaded on the seeded company (hidden), through the start-up seam."""
    from varemo_contas.app.startup import start

    window = start(str(installation.program))
    assert window is not None, fake_desktop.boxes
    qtbot.addWidget(window)
    yield window
    window.Form_Unload()


def pytest_sessionfinish(session: pytest.Session, exitstatus: int) -> None:
    """Leave no data on the offscreen clipboard: it crashes the interpreter's exit."""
    from PySide6.QtWidgets import QApplication

    app = QApplication.instance()
    if app is not None:
        app.clipboard().clear()
