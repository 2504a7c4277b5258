#pragma once

// Pieces the benchmark programs share.

#include "data/database.h"
#include "data/dialect.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

namespace bench {

enum class CompanyFile {
    Copy, // the run writes to it
    Link, // the run only reads it
};

// Every benchmark can run on a company loaded into a PostgreSQL server instead of its file.
inline void addServerOption(QCommandLineParser& parser)
{
    parser.addOption({QStringLiteral("server"),
        QStringLiteral("a empresa num servidor PostgreSQL (\"host=PASTA_OU_NOME port=5432 dbname=BANCO "
                       "user=USUARIO\"), carregada de EMPRESA por varemo-contas migrar"),
        QStringLiteral("CONEXAO")});
}

// The server of --server, read as libpq's key=value words; nothing when the option is absent.
// Exits with status 2 on a text without a host or a database.
inline std::optional<varemo::ServerAddress> serverOption(const QCommandLineParser& parser)
{
    const QString text = parser.value(QStringLiteral("server"));
    if (text.isEmpty())
        return std::nullopt;
    varemo::ServerAddress server;
    for (const QString& word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const QString key = word.section(QLatin1Char('='), 0, 0);
        const QString value = word.section(QLatin1Char('='), 1);
        if (key == QLatin1String("host"))
            server.host = value;
        else if (key == QLatin1String("port"))
            server.port = value.toInt();
        else if (key == QLatin1String("dbname"))
            server.database = value;
        else if (key == QLatin1String("user"))
            server.user = value;
    }
    if (server.host.isEmpty() || server.database.isEmpty()) {
        std::fprintf(stderr, "--server precisa de host= e dbname=: %s\n", qPrintable(text));
        std::exit(2);
    }
    return server;
}

// A program folder whose Caminho.dad names a data folder holding the company file, or, with a
// server, whose Empresa.ini sends the program to that server (the file is not placed: the
// server holds the company). Exits with status 2 when the folders cannot be made.
inline QString installCompany(const QString& company, const QString& root, CompanyFile how,
    const std::optional<varemo::ServerAddress>& server = std::nullopt)
{
    const QDir dir(root);
    dir.mkpath(QStringLiteral("programa"));
    dir.mkpath(QStringLiteral("empresa/Dados"));
    const QString data = dir.filePath(QStringLiteral("empresa")) + QLatin1Char('/');
    const QString target = data + QStringLiteral("Dados/empresa.mdb");
    QFile path(dir.filePath(QStringLiteral("programa/Caminho.dad")));
    QFile ini(data + QStringLiteral("Empresa.ini"));
    const bool placed = server
        || (how == CompanyFile::Copy ? QFile::copy(company, target)
                                     : QFile::link(QFileInfo(company).absoluteFilePath(), target));
    if (!path.open(QIODevice::WriteOnly) || !ini.open(QIODevice::WriteOnly) || !placed) {
        std::fprintf(stderr, "não foi possível montar a instalação em %s\n", qPrintable(root));
        std::exit(2);
    }
    path.write(data.toUtf8() + "\r\n");
    ini.write("[Empresa]\r\nNome=Bench\r\n");
    if (server)
        ini.write(QStringLiteral("[Servidor]\r\nServidor=%1\r\nPorta=%2\r\nBanco=%3\r\nUsuario=%4\r\n")
                      .arg(server->host)
                      .arg(server->port)
                      .arg(server->database, server->user)
                      .toUtf8());
    return dir.filePath(QStringLiteral("programa")) + QLatin1Char('/');
}

// The company: the file, or the server when there is one.
inline std::unique_ptr<varemo::Database> openCompany(
    const QString& file, const std::optional<varemo::ServerAddress>& server)
{
    return server ? varemo::Database::open(*server) : varemo::Database::open(file);
}

// A statement the program sent to its engine (the hook sees it as the SQLite side writes it),
// in the words of the engine the database is on.
inline QString engineText(const varemo::Database& database, const QString& sql)
{
    return database.onServer() ? varemo::dialect::serverText(sql) : sql;
}

// A floor written in Jet's words, as the program's own translation gives it to the database's
// engine: the statement is run once through the program to catch it. So a floor compares the
// same text on both engines, and on the server has the same functions as the program's.
inline QString floorSql(varemo::Database& database, const QString& jetText)
{
    QString sent;
    const auto hook = database.statementHook;
    database.statementHook = [&sent](const QString& sql) { sent = sql; };
    if (jetText.trimmed().startsWith(QLatin1String("SELECT"), Qt::CaseInsensitive))
        database.scalar(jetText);
    else
        database.execute(jetText);
    database.statementHook = hook;
    return engineText(database, sent);
}

// The line bench/server.sh pairs across the two engines: a figure's name, its time and its
// floor's, in milliseconds.
inline void printFigure(const QString& name, double ms, double floorMs)
{
    std::printf("FIGURE\t%s\t%.3f\t%.3f\n", qPrintable(name), ms, floorMs);
    std::fflush(stdout);
}

} // namespace bench
