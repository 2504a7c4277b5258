"""The main window `Contas`: layout, load and unload (Part 1.2) and the commands (Part 2.3).

The Parts' logic lives beside this module: the tree (Part 2.1) in `tree.py`; the
window only wires controls, commands and the state object to them.
"""

from __future__ import annotations

import functools
import os

from PySide6.QtCore import QEvent, QObject, Qt
from PySide6.QtGui import QAction, QCloseEvent, QGuiApplication, QKeyEvent, QKeySequence
from PySide6.QtWidgets import (
    QMainWindow,
    QMenu,
    QToolBar,
    QTreeWidgetItem,
    QWidget,
)

from varemo_contas.app import desktop, errorlog, helptopics
from varemo_contas.app.images import tool_icon
from varemo_contas.app.state import State
from varemo_contas.data import queries
from varemo_contas.data.dao import Recordset, RecordsetType
from varemo_contas.data.errors import JetError
from varemo_contas.editor import commands
from varemo_contas.editor.browse import BrowseMixin
from varemo_contas.editor.delete import DeleteMixin
from varemo_contas.editor.layout import build_layout
from varemo_contas.editor.modes import ModesMixin
from varemo_contas.editor.productlines import ProductLinesMixin
from varemo_contas.editor.reportlist import ReportListMixin
from varemo_contas.editor.save import SaveMixin
from varemo_contas.editor.selectors import SelectorsMixin
from varemo_contas.editor.tree import KEY_ROLE, ROOT_KEY, TreeChangesMixin, TreeMixin
from varemo_contas.editor.views import ViewsMixin
from varemo_contas.editor.widgets import DataControl

ARCHIVE_SUFFIX = "   [Arq. Mortos Carregados]"
RECORD_KEYS = ("ID_Incluir", "ID_Alterar", "ID_Excluir")
MENU_SECTIONS = {"ID_Filtrar", "ID_Sair", "ID_EnviarMail", "ID_SobreoPrograma"}


class Contas(
    TreeMixin,
    TreeChangesMixin,
    BrowseMixin,
    ViewsMixin,
    SelectorsMixin,
    ProductLinesMixin,
    ModesMixin,
    SaveMixin,
    DeleteMixin,
    ReportListMixin,
    QMainWindow,
):
    """The chart-of-accounts editor; controls and state keep the spec's names."""

    def __init__(self, state: State, parent: QWidget | None = None) -> None:
        super().__init__(parent)
        self.state = state
        self.setObjectName("Contas")
        self.actions_by_key: dict[str, QAction] = {}
        self.menus_by_key: dict[str, QMenu] = {}
        # Part 2.4 editor state.
        self.NivelAtual = 4
        self.PaginaAtiva = 0
        self.TotalRegistros = [0, 0]
        self.PosicaoSalva: list[object] = [None, None]
        self.EmInclusao = False
        self.EmAlteracao = False
        self.TextoSalvo = [""] * 5
        self.Gravou = False
        self.CodigoGravado = 0
        self.CodigoProcurado = 0
        self.Modo = commands.MODE_VIEW
        self.CodigoRelatorio = 0
        self.help_file = ""
        self.CodEntradas: Recordset | None = None
        self.Linhas: Recordset | None = None
        self.Nivel = [DataControl(f"Nivel{i}") for i in range(5)]
        self.Dados = [DataControl(f"Dados{i}") for i in range(2)]
        self.Rascunho = DataControl("Rascunho")
        self._unloaded = False
        self.child_windows: list[QWidget] = []
        self.NomeRelatorio = ""
        build_layout(self)
        self._build_commands()
        self._setup_browse()
        self._setup_views()
        self._setup_selectors()
        self._setup_report_list()
        self.Arvore.itemClicked.connect(lambda item, _column: self.Arvore_NodeClick(item))
        self.setWindowTitle(state.title)

    # --- layout -------------------------------------------------------------------
    def _build_commands(self) -> None:
        bar = self.menuBar()
        for key, caption in commands.MENUS:
            menu = bar.addMenu(caption)
            menu.menuAction().setObjectName(key)
            self.menus_by_key[key] = menu
        for key, (parent, caption) in commands.SUBMENUS.items():
            menu = self.menus_by_key[parent].addMenu(caption)
            menu.menuAction().setObjectName(key)
            self.menus_by_key[key] = menu
        self.Barra1 = QToolBar("Barra1")
        self.Barra1.setObjectName("Barra1")
        self.Barra2 = QToolBar("Barra2")
        self.Barra2.setObjectName("Barra2")
        for toolbar in (self.Barra1, self.Barra2):
            toolbar.setToolButtonStyle(Qt.ToolButtonStyle.ToolButtonTextUnderIcon)
            toolbar.setMovable(False)
            self.addToolBar(toolbar)
        previous_menu = {}
        for command in commands.COMMANDS:
            action = QAction(tool_icon(command.icon), command.caption, self)
            action.setObjectName(command.key)
            action.setToolTip(command.tooltip)
            action.setStatusTip(command.tooltip)
            if command.shortcut:
                action.setShortcut(QKeySequence(command.shortcut))
            action.triggered.connect(lambda _checked=False, k=command.key: self._tool_triggered(k))
            action.hovered.connect(lambda k=command.key: self._tool_hovered(k))
            self.addAction(action)
            self.actions_by_key[command.key] = action
            menu = self.menus_by_key.get(command.menu)
            if menu is not None:
                starts_section = command.key in MENU_SECTIONS
                if starts_section and previous_menu.get(command.menu):
                    menu.addSeparator()
                menu.addAction(action)
                previous_menu[command.menu] = True
            if command.toolbar == "Barra1":
                if command.key in {"ID_Filtrar", "ID_Setor", "ID_Relatorios", "ID_AjudadoPrograma"}:
                    self.Barra1.addSeparator()
                self.Barra1.addAction(action)
            elif command.toolbar == "Barra2":
                self.Barra2.addAction(action)
        self.menus_by_key["ID_Arquivo"].insertMenu(
            self.actions_by_key["ID_Sair"], self.menus_by_key["ID_Modulos"]
        )
        for menu in self.menus_by_key.values():
            menu.setToolTipsVisible(True)
        self.Barra2.setVisible(False)

    # --- Part 1.2: load --------------------------------------------------------------
    def Form_Load(self) -> None:
        """Part 1.2 main-window load, steps 1 to 10."""
        state = self.state
        try:
            if not desktop.restore_placement(self, state.title):
                self._place_from_screen()
            images = state.data_folder + "Imagens" + os.sep
            logo = images + "logo.bmp"
            state.logo_path = logo if os.path.isfile(logo) else images + "modelo.bmp"
            database = state.database
            company = database.open_recordset("DadosEmpresa", RecordsetType.TABLE)
            try:
                state.archive_mode = bool(not company.eof and company["Morto"])
            finally:
                company.close()
            caption = state.title
            if state.company_name:
                caption += " - " + state.company_name
            if state.archive_mode:
                caption += ARCHIVE_SUFFIX
            self.setWindowTitle(caption)
            self.help_file = state.program_folder + "Ajuda" + os.sep + "Contas.hlp"
            self.EmInclusao = False
            self.EmAlteracao = False
            state.module_to_start = 0
            self.actions_by_key[f"ID_Modulo{commands.THIS_MODULE}"].setEnabled(False)
            self.Pasta.setCurrentIndex(0)
            self.Linhas = database.open_recordset(queries.LINES_AND_PRODUCTS)
            self.Status.set_panel(1, "Usuário: " + state.user_name)
            state.database_path = state.data_folder + "Dados" + os.sep + "empresa.mdb"
            for level in range(5):
                self.Nivel[level].open(database, f"NivelCategoria{level}", RecordsetType.TABLE)
            self.fill_report_list()
            self.CodEntradas = database.open_recordset(queries.PURCHASED_ITEMS)
            self.load_chart()
            self.MenuBotao(commands.MODE_VIEW)
        except JetError as exc:
            errorlog.log_exception(state, errorlog.ROTINA_ABRIR_PROGRAMA, exc)
        finally:
            self.apply_archive_mode()
            state.main_window_ready = True

    def load_chart(self) -> None:
        """Part 1.2 step 8: tree and selectors (Part 2.1), browsing state (Part 2.2)."""
        self.CarregaArvore()
        self.PreencherCombo(0)
        self.NivelAtual = 4
        self.PaginaAtiva = 0
        self.open_level(4)
        self.set_field_access()
        self.TotalDeRegistros()

    def _place_from_screen(self) -> None:
        screen = QGuiApplication.primaryScreen()
        if screen is None:
            self.resize(1100, 720)
            return
        area = screen.availableGeometry()
        width = min(1200, int(area.width() * 0.85))
        height = min(780, int(area.height() * 0.85))
        self.setGeometry(
            area.x() + (area.width() - width) // 2,
            area.y() + (area.height() - height) // 2,
            width,
            height,
        )

    def fill_report_list(self) -> None:
        """Read `Relatorios` into `Relatos`, keeping each report's code beside its name."""
        reports = self.state.database.open_recordset("Relatorios", RecordsetType.TABLE)
        try:
            self.Lista = []
            while not reports.eof:
                self.Lista.append(
                    (str(reports["NomeRelatorio"] or ""), int(reports["CodigoRelatorio"]))
                )
                reports.move_next()
        finally:
            reports.close()
        self.Relatos.clear()
        for name, code in self.Lista:
            self.Relatos.addItem(name)
            self.Relatos.item(self.Relatos.count() - 1).setData(Qt.ItemDataRole.UserRole, code)
        self.Relatos.setCurrentRow(-1)

    # --- Part 2.3: commands ---------------------------------------------------------
    def reports_visible(self) -> bool:
        return not self.RelatosPainel.isHidden()

    def tooltip_for(self, key: str) -> str:
        """Part 2.3: the tooltip of a key, also written to the status bar when not empty."""
        text = commands.tooltip_text(key, self.reports_visible())
        if text:
            self.Status.set_panel(0, text)
        return text

    def _tool_hovered(self, key: str) -> None:
        action = self.actions_by_key[key]
        action.setToolTip(self.tooltip_for(key))
        desktop.play_sound(6)

    def _tool_triggered(self, key: str) -> None:
        desktop.play_sound(7)
        self.tool_click(key)

    def tool_click(self, key: str) -> None:
        """Part 2.3 dispatcher: run the command of a key; an unknown key does nothing."""
        action = self.actions_by_key.get(key)
        if action is not None and not action.isEnabled():
            return  # a switched-off tool does nothing, whoever asks (archive, modes)
        handler = self.command_handlers().get(key)
        if handler is None and key.startswith("ID_Modulo"):
            number = key.removeprefix("ID_Modulo")
            if number.isdigit() and 1 <= int(number) <= 10:
                handler = functools.partial(self.choose_module, int(number))
        if handler is None:
            return
        try:
            handler()
        except JetError as exc:
            errorlog.log_exception(self.state, key, exc)
        finally:
            self.apply_archive_mode()

    def command_handlers(self) -> dict[str, object]:
        """The shell's own commands; the Parts' mixins add theirs."""
        return {
            "ID_Sair": self.close,
            "ID_SobreoPrograma": self.show_about,
            "ID_Checarnova": lambda: desktop.show_help(helptopics.NOVA_VERSAO),
            "ID_Novaversão": lambda: desktop.show_help(helptopics.NOVA_VERSAO),
            "ID_EnviarMail": desktop.send_mail,
            "ID_AjudadoPrograma": lambda: desktop.show_help(helptopics.AJUDA_CONTEUDO),
            "ID_ConteúdoeÍndice": lambda: desktop.show_help(helptopics.AJUDA_CONTEUDO),
            "ID_LocalizarnaAjuda": lambda: desktop.show_help(helptopics.LOCALIZAR_NA_AJUDA),
            "ID_Oqueéisto?": self.context_help,
            "ID_Oqueé": self.context_help,
        } | self.part_handlers()

    def part_handlers(self) -> dict[str, object]:
        """Parts 2.3-2.6: record commands act on reports while `Relatos` is visible."""
        reports = self.reports_visible()
        return {
            "ID_Incluir": self.IncluirRelatorio if reports else self.Incluir,
            "ID_Alterar": self.AlterarRelatorio if reports else self.Alterar,
            "ID_Excluir": self.ExcluirRelatorio if reports else self.Excluir,
            "ID_Gravar": self.Gravar,
            "ID_Cancelar": self.Cancelar,
            "ID_Relatorios": self.show_report_list,
            "ID_Filtrar": self.Filtrar,
            "ID_PlanoContas": self.PlanoContas,
        } | self.view_handlers()

    def Filtrar(self) -> None:
        """ "ID_Filtrar": the search window (Part 3.1), then the found-records report."""
        from varemo_contas.search.procontas import ProContas

        window = ProContas(self.state, self)
        self.child_windows.append(window)
        desktop.show_modal(window)
        if self.state.search_result > -1:
            self.RelatorioEncontrados(self.state.search_result)

    def PlanoContas(self) -> None:
        """ "ID_PlanoContas": ask the level, then report number 1 in the preview (Part 4.5)."""
        from varemo_contas.reports.nivelplano import ask_level
        from varemo_contas.reports.runreport import run_report

        level = ask_level(self)
        if level is not None:
            run_report(self.state, 1, self, level=level)

    def Arvore_NodeClick(self, item: QTreeWidgetItem) -> None:
        """Part 2.1/2.2: a click in the tree makes the clicked row current."""
        if self.EmInclusao or self.EmAlteracao:
            return
        key = str(item.data(0, KEY_ROLE) or "")
        if key == ROOT_KEY or len(key) < 3:
            return
        level, code = int(key[-1]), int(key[:-2])
        try:
            if level == 0:
                self._find_in_page("NivelCategoria0.Codigo = " + str(code))
            else:
                if level != self.NivelAtual:
                    self.show_level(level, keep_row=False)
                self.relocate(level, code)
            self.TotalDeRegistros()
        except JetError as exc:
            errorlog.log_exception(self.state, errorlog.ROTINA_MOVIMENTO, exc)

    def _find_in_page(self, criteria: str) -> None:
        recordset = self.data_set()
        if recordset is not None and recordset.find_first(criteria):
            self._sync_position()

    def eventFilter(self, watched: QObject, event: QEvent) -> bool:
        # Part 1.4: sound 6 when the mouse passes over the filtered navigator.
        if event.type() == QEvent.Type.Enter and watched in self.MoveFiltro:
            desktop.play_sound(6)
        return super().eventFilter(watched, event)

    def show_about(self) -> None:
        from varemo_contas.app.sobre import Sobre

        about = Sobre(self.state, self)
        self.child_windows.append(about)
        desktop.show_modal(about)

    def context_help(self) -> None:
        """F1 and "Ajuda local": the help topic of the control that has the focus."""
        widget = QGuiApplication.focusObject()
        context = 0
        while isinstance(widget, QObject) and widget is not None:
            value = widget.property("help_context")
            if value is not None:
                context = int(value)
                break
            widget = widget.parent()
        desktop.show_help(context)

    def choose_module(self, number: int) -> None:
        """Part 1.4: remember the sibling module and close; the unload starts it."""
        self.state.module_to_start = number
        self.close()

    def MenuBotao(self, mode: str) -> None:
        """Part 2.3 mode switch: the two groups (and the views) are on only while browsing."""
        self.Modo = mode
        enabled = commands.group_enabled(mode)
        for menu_key in (commands.GROUP_EDIT, commands.GROUP_REPORTS, "ID_Exibir"):
            self.menus_by_key[menu_key].menuAction().setEnabled(enabled)
            for key in commands.keys_in_menu(menu_key):
                self.actions_by_key[key].setEnabled(enabled)
        for key in ("ID_Gravar", "ID_Cancelar"):
            self.actions_by_key[key].setEnabled(not enabled)
        self.Status.set_panel(3, mode)
        self.apply_archive_mode()

    def apply_archive_mode(self) -> None:
        """Part 1.2 step 9: archive data is read-only after every command."""
        if self.state.archive_mode:
            for key in RECORD_KEYS:
                self.actions_by_key[key].setEnabled(False)

    # --- keys ---------------------------------------------------------------------------
    def keyPressEvent(self, event: QKeyEvent) -> None:
        if not self.Form_KeyDown(event.key()):
            super().keyPressEvent(event)

    def Form_KeyDown(self, key: int) -> bool:
        """Part 1.2 keys: Escape asks to leave (or cancels a mode); F1 opens help."""
        if key == Qt.Key.Key_Escape:
            if self.EmInclusao or self.EmAlteracao:
                self.Salvar(1)
                return True
            answer = desktop.msgbox(
                "Quer sair do programa?",
                desktop.vbYesNo + desktop.vbQuestion + desktop.vbDefaultButton2,
                "Finalizando",
            )
            if answer == desktop.vbYes:
                self.close()
            return True
        if key == Qt.Key.Key_F1:
            self.context_help()
            return True
        return False

    # --- Part 1.2: unload -----------------------------------------------------------------
    def closeEvent(self, event: QCloseEvent) -> None:
        self.Form_Unload()
        event.accept()

    def Form_Unload(self) -> None:
        """Part 1.2 closing, in the spec's order; the chosen sibling module starts last."""
        if self._unloaded:
            return
        self._unloaded = True
        state = self.state
        if self.isVisible():  # Part 1.4: only a shown window has a placement worth keeping
            desktop.save_placement(self, state.title)
        for control in (*self.Nivel, self.Rascunho, *self.Dados):
            control.close()
        for recordset in (self.Linhas, self.CodEntradas):
            if recordset is not None:
                recordset.close()
        for window in self.child_windows:
            window.close()
        self.child_windows.clear()
        if state.database is not None:
            state.database.close()
            state.database = None
        number = state.module_to_start
        if 1 <= number <= 10:
            desktop.start_module(number)
        state.module_to_start = 0
