"""Part 1.4: every call to the person or the platform goes through this module.

Callers use ``desktop.NAME(...)`` at call time, never ``from desktop import NAME``, so a
test replaces a function here once and every window sees the fake (DESIGN.md).
The platform context (program folder, module title) is set once by start-up through
``configure``: it is the platform boundary, not application state.
"""

from __future__ import annotations

import os
import shutil
import sys
from collections.abc import Callable
from dataclasses import dataclass

import shiboken6
from PySide6.QtCore import QCoreApplication, QProcess, QRect, QSettings, Qt, QUrl
from PySide6.QtGui import QDesktopServices
from PySide6.QtNetwork import QLocalServer, QLocalSocket
from PySide6.QtWidgets import QAbstractButton, QApplication, QMessageBox, QWidget

# VB-style message box flags and answers (DESIGN.md).
vbOKOnly = 0
vbYesNo = 4
vbCritical = 16
vbQuestion = 32
vbExclamation = 48
vbInformation = 64
vbDefaultButton2 = 256
vbOK = 1
vbYes = 6
vbNo = 7

# Part 1.4 sound table.
SOUNDS = {
    1: "somerro.wav",
    2: "somabre.wav",
    3: "sommuda.wav",
    4: "somsair.wav",
    5: "somlivre.wav",
    6: "mousemov.wav",
    7: "mousecli.wav",
}

# Part 1.4: the ten modules of the suite (program file, display name); this module is 2.
MODULES = {
    1: ("Estoque", "Cadastro de Produtos e Estoque"),
    2: ("Contas", "Plano de Contas"),
    3: ("Vendas", "Módulo de Vendas"),
    4: ("Compras", "Módulo de Compras"),
    5: ("Clientes", "Cadastro de Clientes"),
    6: ("Fornecedores", "Cadastro de Fornecedores"),
    7: ("Caixa", "Controle de Caixa"),
    8: ("Financeiro", "Contas a Pagar e Receber"),
    9: ("NotaFiscal", "Emissão de Notas Fiscais"),
    10: ("Empresa", "Dados da Empresa e Configuração"),
}

SUPPORT_ADDRESS = "suporte@varemo.com.br"
MAIL_SUBJECT = "Varemo - Módulo Plano de Contas"
HELP_MESSAGE = "A Ajuda não abre ou tópico não existe"
HELP_TITLE = "Ajuda do Programa"
# Part 1.4: context numbers from 30001 up belong to the suite's shared help.
SHARED_HELP_FIRST_CONTEXT = 30001
PLACEMENT_GROUP = "Posicao"
ACTIVATION_TITLE = "Este aplicativo deverá ser fechado"


@dataclass
class Platform:
    """Where the platform services find their files."""

    program_folder: str = ""
    title: str = "Plano de Contas"


_platform = Platform()


def configure(program_folder: str, title: str) -> None:
    """Tell the services where the program lives and what it is called (start-up)."""
    _platform.program_folder = program_folder
    _platform.title = title


def program_path(*parts: str) -> str:
    """A path under the program folder, the folder used as a plain prefix (Part 1.2)."""
    return _platform.program_folder + os.sep.join(parts)


# --- message boxes and windows -------------------------------------------------------


def _icon_for(buttons: int) -> QMessageBox.Icon:
    icon = buttons & 0x70
    return {
        vbCritical: QMessageBox.Icon.Critical,
        vbQuestion: QMessageBox.Icon.Question,
        vbExclamation: QMessageBox.Icon.Warning,
        vbInformation: QMessageBox.Icon.Information,
    }.get(icon, QMessageBox.Icon.NoIcon)


def _box_parent() -> QWidget | None:
    """The window a box belongs to: the active one, unless it is a box already closing."""
    window = QApplication.activeWindow()
    if window is None or isinstance(window, QMessageBox) or not window.isVisible():
        return None
    return window


def build_message_box(
    prompt: str, buttons: int = vbOKOnly, title: str = ""
) -> tuple[QMessageBox, dict[int, QAbstractButton]]:
    """The box `msgbox` shows, not yet shown: its icon, buttons and default from the flags.

    Returns the box and its buttons by the answer each gives (vbYes/vbNo or vbOK), so the
    mapping is inspected without waiting for a person.
    """
    box = QMessageBox(_box_parent())
    box.setWindowTitle(title or _platform.title)
    # Plain text: a name holding "<" or "&" is shown as typed, never read as markup.
    box.setTextFormat(Qt.TextFormat.PlainText)
    # The spec's prompts break lines with a carriage return alone.
    box.setText(prompt.replace("\r\n", "\n").replace("\r", "\n"))
    box.setIcon(_icon_for(buttons))
    answers: dict[int, QAbstractButton] = {}
    if buttons & 0x0F == vbYesNo:
        yes = box.addButton("&Sim", QMessageBox.ButtonRole.YesRole)
        no = box.addButton("&Não", QMessageBox.ButtonRole.NoRole)
        box.setDefaultButton(no if buttons & vbDefaultButton2 else yes)
        box.setEscapeButton(no)
        answers = {vbYes: yes, vbNo: no}
    else:
        ok = box.addButton("OK", QMessageBox.ButtonRole.AcceptRole)
        box.setDefaultButton(ok)
        box.setEscapeButton(ok)
        answers = {vbOK: ok}
    return box, answers


def answer_of(box: QMessageBox, answers: dict[int, QAbstractButton]) -> int:
    """The answer of the button the person pressed; closing the box counts as its escape."""
    clicked = box.clickedButton() or box.escapeButton()
    for answer, button in answers.items():
        if button is clicked:
            return answer
    return vbNo if vbNo in answers else vbOK


def msgbox(prompt: str, buttons: int = vbOKOnly, title: str = "") -> int:
    """Show a VB-style message box and return vbOK, vbYes or vbNo."""
    box, answers = build_message_box(prompt, buttons, title)
    try:
        box.exec()
        return answer_of(box, answers)
    finally:
        if shiboken6.isValid(box):  # its parent may have gone while it was up
            box.deleteLater()


def show_modal(window: QWidget) -> None:
    """Show a window modally and return when it is closed."""
    window.setWindowModality(Qt.WindowModality.ApplicationModal)
    exec_ = getattr(window, "exec", None)
    if callable(exec_):
        exec_()
        return
    from PySide6.QtCore import QEventLoop

    loop = QEventLoop()
    window.destroyed.connect(loop.quit)
    window.show()
    while window.isVisible():
        loop.processEvents(QEventLoop.ProcessEventsFlag.WaitForMoreEvents, 50)


def process_events() -> None:
    """Let pending window events run once (VB's DoEvents)."""
    QCoreApplication.processEvents()


# --- sounds --------------------------------------------------------------------------


def _sound_player() -> list[str] | None:
    for name, args in (("paplay", []), ("aplay", ["-q"]), ("afplay", [])):
        found = shutil.which(name)
        if found:
            return [found, *args]
    return None


def play_sound(number: int) -> None:
    """Play sound 1..7 asynchronously when its file exists; anything else is silent."""
    name = SOUNDS.get(number)
    if name is None:
        return
    path = program_path("Sons", name)
    if not os.path.isfile(path):
        return
    try:
        if sys.platform == "win32":
            import winsound

            winsound.PlaySound(path, winsound.SND_FILENAME | winsound.SND_ASYNC)
            return
        player = _sound_player()
        if player is not None:
            QProcess.startDetached(player[0], [*player[1:], path])
    except Exception:  # Part 1.4: a sound that cannot play is simply not heard
        return


# --- help, mail, sibling modules -----------------------------------------------------


def help_file_for(context: int) -> str:
    """Part 1.4: below 30001 the module's own help, from 30001 up the suite's."""
    if context >= SHARED_HELP_FIRST_CONTEXT:
        return program_path("Ajuda", "Sobre o Sistema", "index.html")
    return program_path("Ajuda", "Contas", "index.html")


def help_page_for(context: int) -> str:
    """The HTML page of a help context: the file's index for 0, else the topic's page."""
    index = help_file_for(context)
    if context == 0:
        return index
    return os.path.join(os.path.dirname(index), f"{context}.html")


def show_help(context: int = 0) -> bool:
    """Open a help topic; a missing topic gives the spec's message. True when opened."""
    page = help_page_for(context)
    opened = os.path.isfile(page) and QDesktopServices.openUrl(QUrl.fromLocalFile(page))
    if not opened:
        msgbox(HELP_MESSAGE, vbExclamation, HELP_TITLE)
    return bool(opened)


def mail_url() -> QUrl:
    """The support "mailto:" link with a subject naming this module."""
    url = QUrl(f"mailto:{SUPPORT_ADDRESS}")
    from PySide6.QtCore import QUrlQuery

    query = QUrlQuery()
    query.addQueryItem("subject", MAIL_SUBJECT)
    url.setQuery(query)
    return url


def send_mail() -> None:
    """Ask the desktop to open a mail to the support address."""
    QDesktopServices.openUrl(mail_url())


def module_program(number: int) -> str | None:
    """The program file of sibling module 1..10 under the program folder, else None."""
    entry = MODULES.get(number)
    if entry is None:
        return None
    folder = _platform.program_folder
    if folder and not folder.endswith(("/", "\\")):
        folder += os.sep
    suffix = ".exe" if sys.platform == "win32" else ""
    return folder + entry[0] + suffix


def start_module(number: int) -> bool:
    """Start sibling module 1..10 as a new process; any other number starts nothing."""
    program = module_program(number)
    if program is None:
        return False
    started, _pid = QProcess.startDetached(program, [])
    return bool(started)


# --- single instance -----------------------------------------------------------------


def instance_server_name(title: str) -> str:
    """The local socket name of a running copy: one per user and module title."""
    user = os.environ.get("USER") or os.environ.get("USERNAME") or "usuario"
    safe = "".join(ch if ch.isalnum() else "-" for ch in f"varemo-{title}-{user}")
    return safe.lower()


def activate_running_copy(title: str) -> bool:
    """Ask a running copy to come to the front, restored; True when one answered."""
    socket = QLocalSocket()
    socket.connectToServer(instance_server_name(title))
    if not socket.waitForConnected(500):
        return False
    socket.write(b"activate\n")
    socket.flush()
    socket.waitForBytesWritten(500)
    socket.disconnectFromServer()
    return True


# --- window placement ----------------------------------------------------------------

_DEFAULTS = {
    "flags": 0,
    "showCmd": 9,
    "MinX": 100,
    "MinY": 100,
    "Left": 0,
    "Top": 0,
    "Right": 100,
    "Bottom": 100,
}
SW_SHOWMINIMIZED = 2
SW_SHOWMAXIMIZED = 3
SW_SHOWNORMAL = 1


def placement_settings(app_name: str) -> QSettings:
    """The per-user settings store of the application (Part 1.4).

    The default format is the platform's (the registry on Windows); naming it explicitly
    lets a test redirect the store with `QSettings.setDefaultFormat` and `setPath`.
    """
    return QSettings(QSettings.defaultFormat(), QSettings.Scope.UserScope, "Varemo", app_name)


def _read_int(settings: QSettings, key: str) -> int:
    value = settings.value(key, None)
    try:
        return int(str(value).strip())
    except (TypeError, ValueError):
        return _DEFAULTS[key]


def restore_placement(window: QWidget, app_name: str) -> bool:
    """Apply the saved placement; False when "Right" came back as 100 (none saved)."""
    settings = placement_settings(app_name)
    settings.beginGroup(PLACEMENT_GROUP)
    values = {key: _read_int(settings, key) for key in _DEFAULTS}
    settings.endGroup()
    rect = QRect(
        values["Left"],
        values["Top"],
        max(1, values["Right"] - values["Left"]),
        max(1, values["Bottom"] - values["Top"]),
    )
    window.setGeometry(rect)
    if values["showCmd"] == SW_SHOWMAXIMIZED:
        window.setWindowState(Qt.WindowState.WindowMaximized)
    return values["Right"] != 100


def save_placement(window: QWidget, app_name: str) -> None:
    """Write the window's placement as the eight keys, decimal text."""
    if window.isMinimized():
        show_cmd = SW_SHOWMINIMIZED
    elif window.isMaximized():
        show_cmd = SW_SHOWMAXIMIZED
    else:
        show_cmd = SW_SHOWNORMAL
    rect = window.normalGeometry() if not window.normalGeometry().isEmpty() else window.geometry()
    values = {
        "flags": 0,
        "showCmd": show_cmd,
        "MinX": -1,
        "MinY": -1,
        "Left": rect.left(),
        "Top": rect.top(),
        "Right": rect.left() + rect.width(),
        "Bottom": rect.top() + rect.height(),
    }
    settings = placement_settings(app_name)
    settings.beginGroup(PLACEMENT_GROUP)
    for key, value in values.items():
        settings.setValue(key, str(value))
    settings.endGroup()
    settings.sync()


def _server_answers(name: str) -> bool:
    socket = QLocalSocket()
    socket.connectToServer(name)
    answered = socket.waitForConnected(500)
    if answered:
        socket.disconnectFromServer()
    return answered


def listen_for_activation(title: str, on_activate: Callable[[], object]) -> QLocalServer:
    """Serve the single-instance guard: a later copy's connection calls `on_activate`.

    A copy killed earlier leaves its socket behind; when no copy answers on it, it is
    stale and removed before listening again. A live copy's socket is never removed.
    """
    name = instance_server_name(title)
    server = QLocalServer()
    if not server.listen(name):
        if _server_answers(name):
            return server  # another copy holds the name (it came up meanwhile)
        QLocalServer.removeServer(name)
        server.listen(name)

    def accept() -> None:
        while server.hasPendingConnections():
            connection = server.nextPendingConnection()
            # The request's bytes carry nothing: drain them so the buffer stays empty.
            connection.readyRead.connect(lambda c=connection: c.readAll())
            connection.disconnected.connect(connection.deleteLater)
            on_activate()

    server.newConnection.connect(accept)
    return server


def bring_to_front(window: QWidget) -> None:
    """Part 1.4: the running copy's main window comes forward, restored if minimised."""
    if window.isMinimized():
        window.showNormal()
    else:
        window.show()
    window.raise_()
    window.activateWindow()


class Progress:
    """A progress bar for long work; it appears only when the work passes one second."""

    def __init__(self, text: str, total: int) -> None:
        from PySide6.QtWidgets import QProgressDialog

        self._dialog = QProgressDialog(text, "", 0, max(total, 1), QApplication.activeWindow())
        self._dialog.setWindowTitle(_platform.title)
        self._dialog.setCancelButton(None)
        self._dialog.setMinimumDuration(1000)
        self._dialog.setWindowModality(Qt.WindowModality.ApplicationModal)
        self._dialog.setAutoClose(False)

    def update(self, done: int) -> None:
        self._dialog.setValue(min(done, self._dialog.maximum()))
        QCoreApplication.processEvents()

    def close(self) -> None:
        self._dialog.close()
        self._dialog.deleteLater()


def progress(text: str, total: int) -> Progress:
    """Start a progress bar for `total` steps (shown once the work takes over a second)."""
    return Progress(text, total)
