#pragma once

#include <QDate>
#include <QString>
#include <QStringList>

namespace varemo {

// What the command line asks for:
//   varemo-contas [--programa DIR]
//   varemo-contas --demo [DIR]
//   varemo-contas relatorio plano --nivel N (--pdf|--xlsx|--csv) OUT [--programa DIR]
//   varemo-contas relatorio personalizado NOME --de dd-mm-yyyy --ate dd-mm-yyyy (--pdf|--xlsx|--csv) OUT
//                 [--programa DIR]
//   varemo-contas migrar (--para-postgresql CONNINFO | --para-sqlite FILE) [--programa DIR]
// A report may be written in several of the formats at once.
struct CommandLine {
    enum class Action { Run, Demo, Report, Migrate, Help, Error };
    Action action = Action::Run;

    QString programFolder; // --programa; empty: the executable's own folder
    QString demoFolder; // --demo, default ~/VaremoDemo

    QString report; // "plano" or "personalizado"
    int level = 0; // plano: 1..4
    QString reportName;
    QDate from;
    QDate to;
    QString pdf; // the output files; empty when not asked for
    QString xlsx;
    QString csv;

    // migrar: where the installation's company goes, a server or a new file.
    QString toServer; // a libpq connection text
    QString toFile;

    QString error; // a Portuguese sentence for Action::Error
};

// The arguments after the program's name.
CommandLine parseCommandLine(const QStringList& arguments);
QString defaultDemoFolder();
QString usageText();

// Exit statuses: a report that could not be made, and the command line's own refusals.
inline constexpr int ExitFailed = 1;
inline constexpr int ExitUsage = 2;
inline constexpr int ExitUnavailable = 3;

} // namespace varemo
