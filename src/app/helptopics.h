#pragma once

#include <QString>
#include <QUrl>

#include <span>

// Help context numbers: every window and control that answers F1 names its topic here.
// Numbers below 30001 are topics of the module's own help (Ajuda/Contas.qch); from 30001 up
// they belong to the suite's shared help (Ajuda/Sobre o Sistema.qch). Each topic is the page
// "<number>.html" of its file; 0 is the file's default topic, its contents page "index.html".
namespace varemo::help {

// --- the module's help ---
inline constexpr int Conteudo = 0; // contents page
inline constexpr int IndiceAssuntos = 900; // alphabetical index of terms
inline constexpr int Introducao = 1000; // what the chart of accounts is
inline constexpr int JanelaPrincipal = 1005; // the main window as a whole
inline constexpr int Arvore = 1010; // the account tree
inline constexpr int Seletores = 1020; // hierarchy page: the level selectors Combo
inline constexpr int PaginaNiveis = 1030; // level page: the fields Texto
inline constexpr int Movimento = 1040; // record navigator and counter
inline constexpr int MoveFiltro = 1050; // navigator over the search hits
inline constexpr int Relatos = 1060; // list of saved reports
inline constexpr int Comandos = 1070; // menus and toolbar
inline constexpr int Teclado = 1080; // Esc and F1
inline constexpr int IncluirAlterar = 1100; // insert and edit modes
inline constexpr int Gravar = 1110; // save, cancel and the duplicate rules
inline constexpr int Excluir = 1120; // delete rules
inline constexpr int LinhasProdutos = 1130; // product lines under the supplier groups
inline constexpr int Mensagens = 1200; // messages and common problems
inline constexpr int Procura = 25000; // search window ProContas
inline constexpr int RelatorioItens = 26000; // report definition window ArvRelat
inline constexpr int RelatorioPersonalizado = 26100; // income and expense report
inline constexpr int Periodo = 27000; // period window DataPeriodo
inline constexpr int Visualiza = 28000; // report preview
inline constexpr int PlanoContas = 29000; // chart listing report

// --- the suite's shared help ---
inline constexpr int FirstShared = 30001;
inline constexpr int Sistema = 30001; // the suite and its modules
inline constexpr int NovaVersao = 30010; // checking for a new version
inline constexpr int Sobre = 30020; // the About box
inline constexpr int Suporte = 30030; // support by e-mail

struct Topic {
    int context;
    const char* title; // UTF-8, as the page's own title begins
};

// Every topic the program opens, in context order.
std::span<const Topic> topics();
// The topic's title, or an empty text for a number the program does not use.
QString topicTitle(int context);

bool isShared(int context);
// "Contas.qch" or "Sobre o Sistema.qch", inside the program folder's Ajuda/.
QString helpFileName(int context);
// The namespace and virtual folder the file's pages live under.
QString helpNamespace(int context);
QString virtualFolder(int context);
// "index.html" for 0, else "<number>.html".
QString pageName(int context);
// qthelp://<namespace>/<folder>/<page>
QUrl topicUrl(int context);

} // namespace varemo::help
