"""Help context numbers of the module (Part 1.4), one named constant per topic.

Numbers below 30001 are topics of the module's own help (``Ajuda/Contas/<n>.html``,
0 = its contents page ``index.html``); from 30001 up they belong to the suite's shared
help (``Ajuda/Sobre o Sistema/<n>.html``). 25000 (search window) and 30020 (About box)
are fixed by the spec; the other numbers are this module's choice.

Pure module: no Qt, so windows and tests import it freely.
"""

from __future__ import annotations

# --- the module's help (Ajuda/Contas) ---------------------------------------------------

AJUDA_CONTEUDO = 0  # contents page (index.html)
LOCALIZAR_NA_AJUDA = 900  # alphabetical index of terms ("Localizar na ajuda")
INTRODUCAO = 1000  # what the chart of accounts is
JANELA_PRINCIPAL = 1005  # the main window as a whole
ARVORE = 1010  # the account tree
SELETORES = 1020  # hierarchy page: the level selectors Combo(0..4)
PAGINA_NIVEIS = 1030  # level page: the fields Texto(0..3)
MOVIMENTO = 1040  # record navigator and the counter
MOVE_FILTRO = 1050  # navigator over the search hits
RELATOS = 1060  # the list of saved reports
COMANDOS = 1070  # menus and toolbar
TECLADO = 1080  # keyboard: Esc and F1
INCLUIR_ALTERAR = 1100  # insert and edit modes
GRAVAR = 1110  # save and cancel, duplicate rules
EXCLUIR = 1120  # delete rules
LINHAS_PRODUTOS = 1130  # product lines and products under the supplier groups
MENSAGENS = 1200  # messages and common problems
PROCURA = 25000  # search window ProContas (fixed by the spec)
RELATORIO_ITENS = 26000  # report definition window ArvRelat
RELATORIO_PERSONALIZADO = 26100  # the personalised income and expense report
PERIODO = 27000  # period window DataPeriodo
VISUALIZA = 28000  # report preview
PLANO_CONTAS = 29000  # chart listing report

# --- the suite's shared help (Ajuda/Sobre o Sistema) -------------------------------------

SISTEMA = 30001  # the Varemo suite and its modules
NOVA_VERSAO = 30010  # how to check for a new version of the module
SOBRE = 30020  # the About box (fixed by the spec)
SUPORTE = 30030  # support and contact by e-mail

SHARED_HELP_FIRST_CONTEXT = 30001

TOPICS: dict[int, str] = {
    AJUDA_CONTEUDO: "Conteúdo",
    LOCALIZAR_NA_AJUDA: "Índice de assuntos",
    INTRODUCAO: "O que é o Plano de Contas",
    JANELA_PRINCIPAL: "A janela principal",
    ARVORE: "A árvore de contas",
    SELETORES: "Página Hierarquia: os seletores de nível",
    PAGINA_NIVEIS: "Página Níveis: setores, grupos e contas",
    MOVIMENTO: "Navegar pelos registros e o contador",
    MOVE_FILTRO: "Navegar pelos registros encontrados",
    RELATOS: "A lista de relatórios personalizados",
    COMANDOS: "Menus e barra de ferramentas",
    TECLADO: "Teclado: Esc e F1",
    INCLUIR_ALTERAR: "Incluir e alterar registros",
    GRAVAR: "Gravar e cancelar",
    EXCLUIR: "Excluir registros",
    LINHAS_PRODUTOS: "Linhas de produtos e insumos nas compras",
    MENSAGENS: "Mensagens e problemas comuns",
    PROCURA: "Localizar registros: critérios do filtro de procura",
    RELATORIO_ITENS: "Definir um relatório personalizado",
    RELATORIO_PERSONALIZADO: "O relatório de receitas e despesas",
    PERIODO: "Escolher o período do relatório",
    VISUALIZA: "Visualizar, imprimir e exportar relatórios",
    PLANO_CONTAS: "Relatório do plano de contas",
    SISTEMA: "O Sistema Varemo",
    NOVA_VERSAO: "Como verificar se existe nova versão do módulo",
    SOBRE: "Sobre o programa",
    SUPORTE: "Suporte e contato por e-mail",
}


def is_shared(context: int) -> bool:
    """True when the topic lies in the suite's shared help, not the module's."""
    return context >= SHARED_HELP_FIRST_CONTEXT


def page_file(context: int) -> str:
    """The page's file name inside its help folder: index.html for 0, else <n>.html."""
    return "index.html" if context == 0 else f"{context}.html"
