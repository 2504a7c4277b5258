#pragma once

#include <QString>

#include <vector>

namespace varemo::commands {

// The three modes of the main window, as the mode routine and the status bar name them.
inline const QString ModeView = QStringLiteral("Visualizar");
inline const QString ModeInsert = QStringLiteral("Inserir");
inline const QString ModeEdit = QStringLiteral("Alterar");

// Menus of the menu bar; the first two are the groups the mode routine switches.
inline const QString GroupEdit = QStringLiteral("ID_Editar");
inline const QString GroupReports = QStringLiteral("ID_Relatórios");
inline const QString MenuFile = QStringLiteral("ID_Arquivo");
inline const QString MenuView = QStringLiteral("ID_Exibir");
inline const QString MenuHelp = QStringLiteral("ID_Ajuda");
inline const QString MenuModules = QStringLiteral("ID_Modulos");

inline const QString Band1 = QStringLiteral("Barra1"); // browsing commands
inline const QString Band2 = QStringLiteral("Barra2"); // save and cancel

inline const QString ModuleTooltip = QStringLiteral("Encerrar este módulo e iniciar o ");

// One tool of the menu and toolbars.
struct Command {
    QString key;
    QString caption;
    QString tooltip; // the record text
    QString reportTooltip; // while the report list is shown; empty: same as tooltip
    QString menu; // key of the menu that lists it; empty: none
    QString band; // Band1, Band2 or empty
    QString icon; // picture name for images.h; empty: none
    QString shortcut;
    bool separatorBefore = false; // in its menu and band
    QString bandCaption; // a shorter caption under its toolbar picture
};

struct Menu {
    QString key;
    QString caption;
    QString parent; // empty: the menu bar
};

const std::vector<Command>& all();
const std::vector<Menu>& menus();
const Command* find(const QString& key);

// The tooltip of a key: the report text while the report list is visible (where the key
// has one), else the record text; empty for a key that is no command.
QString tooltipText(const QString& key, bool reportsVisible);

// The record and report groups are on only while browsing.
bool groupsEnabled(const QString& mode);

// 1..10 for "ID_Modulo1".."ID_Modulo10", else 0.
int moduleNumber(const QString& key);

} // namespace varemo::commands
