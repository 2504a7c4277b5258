"""Part 2.3: the table of commands, their tooltips and the enabling by mode (no widgets)."""

from __future__ import annotations

from dataclasses import dataclass

from varemo_contas.app.desktop import MODULES

MODE_VIEW = "Visualizar"
MODE_INSERT = "Inserir"
MODE_EDIT = "Alterar"

# The keys of the two menu groups that the mode switch turns on and off (Part 2.3).
GROUP_EDIT = "ID_Editar"
GROUP_REPORTS = "ID_Relatórios"
THIS_MODULE = 2
MODULE_TOOLTIP = "Encerrar este módulo e iniciar o "


@dataclass(frozen=True)
class Command:
    """One tool of the toolbar-and-menu control: its key, caption and tooltip texts."""

    key: str
    caption: str
    tooltip: str
    report_tooltip: str | None = None  # used while the report list `Relatos` is visible
    menu: str = ""  # the menu key that holds it
    toolbar: str | None = None  # "Barra1" (browse) or "Barra2" (save/cancel)
    icon: str = ""
    shortcut: str = ""


COMMANDS: tuple[Command, ...] = (
    Command(
        "ID_Incluir",
        "&Incluir",
        "Incluir novo registro",
        "Incluir novo relatório",
        GROUP_EDIT,
        "Barra1",
        "incluir",
        "Ins",
    ),
    Command(
        "ID_Alterar",
        "&Alterar",
        "Alterar o registro corrente",
        "Editar o relatório selecionado",
        GROUP_EDIT,
        "Barra1",
        "alterar",
        "Ctrl+E",
    ),
    Command(
        "ID_Excluir",
        "&Excluir",
        "Excluir o registro corrente",
        "Excluir o relatório selecionado",
        GROUP_EDIT,
        "Barra1",
        "excluir",
        "Del",
    ),
    Command(
        "ID_Filtrar",
        "&Localizar...",
        "Localizar registro(s)",
        None,
        GROUP_EDIT,
        "Barra1",
        "localizar",
        "Ctrl+L",
    ),
    Command(
        "ID_Gravar",
        "&Gravar",
        "Gravar dados do registro",
        None,
        "ID_Arquivo",
        "Barra2",
        "gravar",
        "Ctrl+S",
    ),
    Command(
        "ID_Cancelar",
        "&Cancelar",
        "Cancelar dados inseridos",
        None,
        "ID_Arquivo",
        "Barra2",
        "cancelar",
    ),
    Command(
        "ID_Setor",
        "&Setores",
        "Visualiza todos os setores cadastrados",
        None,
        "ID_Exibir",
        "Barra1",
        "setor",
        "Ctrl+1",
    ),
    Command(
        "ID_Grupo",
        "&Grupos",
        "Visualiza todos os grupos cadastrados",
        None,
        "ID_Exibir",
        "Barra1",
        "grupo",
        "Ctrl+2",
    ),
    Command(
        "ID_Conta",
        "&Contas",
        "Visualiza todas as contas cadastrados",
        None,
        "ID_Exibir",
        "Barra1",
        "conta",
        "Ctrl+3",
    ),
    Command(
        "ID_Item",
        "&Itens",
        "Visualiza e edita todos os itens cadastrados",
        None,
        "ID_Exibir",
        "Barra1",
        "item",
        "Ctrl+4",
    ),
    Command(
        "ID_Relatorios",
        "&Relatórios Personalizados",
        "Para visualizar, inserir, editar e visualizar relatórios",
        None,
        GROUP_REPORTS,
        "Barra1",
        "relatorios",
        "Ctrl+R",
    ),
    Command(
        "ID_PlanoContas",
        "&Plano de Contas...",
        "Mostra/Imprime o plano de contas financeiro",
        None,
        GROUP_REPORTS,
        "Barra1",
        "plano",
        "Ctrl+P",
    ),
    Command(
        "ID_AjudadoPrograma",
        "&Ajuda do Programa",
        "Fornece ajuda do programa",
        None,
        "ID_Ajuda",
        "Barra1",
        "ajuda",
    ),
    Command(
        "ID_ConteúdoeÍndice",
        "&Conteúdo e Índice",
        "Ajuda - Conteúdo e Índice",
        None,
        "ID_Ajuda",
    ),
    Command("ID_LocalizarnaAjuda", "&Localizar na Ajuda", "Localizar na ajuda", None, "ID_Ajuda"),
    Command("ID_Oqueéisto?", "&O que é isto?", "Ajuda local", None, "ID_Ajuda", None, "", "F1"),
    Command("ID_Oqueé", "O que é?", "Ajuda local", None, "", None),
    Command(
        "ID_Checarnova",
        "Checar &nova versão",
        "Como checar se existe nova versão do módulo",
        None,
        "ID_Ajuda",
    ),
    Command(
        "ID_Novaversão",
        "Nova &versão",
        "Como checar se existe nova versão do módulo",
        None,
        "",
    ),
    Command(
        "ID_EnviarMail",
        "&Enviar comentário por e-mail",
        "Para enviar um comentário, sugestão, critíca",
        None,
        "ID_Ajuda",
    ),
    Command(
        "ID_SobreoPrograma",
        "&Sobre o Programa",
        "Fornece dados sobre o programa",
        None,
        "ID_Ajuda",
    ),
    Command("ID_Sair", "Sai&r", "Sair do programa", None, "ID_Arquivo", "Barra1", "sair"),
    *(
        Command(f"ID_Modulo{number}", name, MODULE_TOOLTIP + name, None, "ID_Modulos")
        for number, (_program, name) in MODULES.items()
    ),
)

BY_KEY: dict[str, Command] = {command.key: command for command in COMMANDS}

# The menus in the menu bar, in order: key, caption (the groups' keys are Part 2.3's).
MENUS: tuple[tuple[str, str], ...] = (
    ("ID_Arquivo", "&Arquivo"),
    (GROUP_EDIT, "&Editar"),
    ("ID_Exibir", "E&xibir"),
    (GROUP_REPORTS, "&Relatórios"),
    ("ID_Ajuda", "Aj&uda"),
)
SUBMENUS: dict[str, tuple[str, str]] = {"ID_Modulos": ("ID_Arquivo", "&Módulos do Varemo")}


def tooltip_text(key: str, reports_visible: bool) -> str:
    """Part 2.3: the report text while `Relatos` is visible, else the record text."""
    command = BY_KEY.get(key)
    if command is None:
        return ""
    if reports_visible and command.report_tooltip is not None:
        return command.report_tooltip
    return command.tooltip


def group_enabled(mode: str) -> bool:
    """Part 2.3: the two menu groups are on only in "Visualizar"."""
    return mode == MODE_VIEW


def keys_in_menu(menu_key: str) -> list[str]:
    return [command.key for command in COMMANDS if command.menu == menu_key]
