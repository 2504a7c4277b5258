#pragma once

#include "data/database.h"

#include <QString>
#include <QStringList>

#include <memory>

namespace varemo {

// The module's title: it names the settings store, the error-log lines and the About box.
inline const QString AppTitle = QStringLiteral("Plano de Contas");
inline const QString AppDescription
    = QStringLiteral("Cadastro do plano de contas financeiro da empresa: categorias, setores, grupos, "
                     "contas e itens, com procura por critérios e relatórios de receitas e despesas.");

// What the whole process shares: found at start-up, read by every window.
struct AppState {
    QString programFolder; // always ends in the separator
    QString dataFolder; // the first line of Caminho.dad, exactly as written
    QString databasePath; // dataFolder + "Dados/empresa.mdb"
    std::unique_ptr<Database> database;
    QString versionText;
    QString companyName;
    bool archiveMode = false;
    QString logoPath;
    QString userName; // this module never sets it
    bool mainWindowReady = false;
    int moduleToStart = 0; // 0, or the sibling module 1..10 started on exit

    QString title = AppTitle;
    int major = VAREMO_VERSION_MAJOR;
    int minor = VAREMO_VERSION_MINOR;
    int revision = VAREMO_VERSION_PATCH;

    QString sql; // the statement the last routine built
    int searchResult = -1; // -1 none or cancelled; the criterion number while searching; the hits
    QString periodStart; // "dd-mm-yyyy"
    QString periodEnd;
    bool confirmed = false;

    // What the report commands hand the run-report routine.
    int listingLevel = 4; // the chart listing's depth, 1 Setor .. 4 Item
    QStringList reportEntries; // the path entries of the chosen definition
    QString reportName;
};

} // namespace varemo
