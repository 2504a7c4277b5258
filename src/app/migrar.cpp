#include "app/migrar.h"

#include "app/commandline.h"
#include "app/consoledesktop.h"
#include "app/headless.h"
#include "app/startup.h"
#include "app/state.h"
#include "data/database.h"
#include "data/migration.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QSqlError>

#include <cstdio>

namespace varemo {

namespace {

const QString TargetName = QStringLiteral("varemo-migrar");

void say(const QString& text)
{
    ConsoleDesktop::say(text);
}

void print(QString text)
{
    while (text.endsWith(QLatin1Char(' ')))
        text.chop(1);
    std::fprintf(stdout, "%s\n", text.toLocal8Bit().constData());
}

void printTotals(const QList<migration::TableTotals>& totals)
{
    const QLocale brazil(QLocale::Portuguese, QLocale::Brazil);
    print(QStringLiteral("  %1 %2 %3")
              .arg(QStringLiteral("Tabela"), -16)
              .arg(QStringLiteral("Linhas"), 10)
              .arg(QStringLiteral("Valor (R$)"), 18));
    for (const migration::TableTotals& table : totals)
        print(QStringLiteral("  %1 %2 %3")
                  .arg(table.table, -16)
                  .arg(table.rows, 10)
                  .arg(table.money ? brazil.toString(table.sum, 'f', 2) : QString(), 18));
    print(QStringLiteral("Conferido: as mesmas linhas e somas na origem e no destino."));
}

// What the shop's Empresa.ini says for the workstations to open the company on the server.
void printServerSection(const QSqlDatabase& server)
{
    print(QStringLiteral(
        "\nPara os computadores usarem o servidor, acrescente ao Empresa.ini da pasta de dados:"));
    print(QStringLiteral("[Servidor]"));
    print(QStringLiteral("Servidor=%1")
              .arg(server.hostName().isEmpty() ? QStringLiteral("localhost") : server.hostName()));
    print(QStringLiteral("Porta=%1").arg(server.port() > 0 ? server.port() : 5432));
    print(QStringLiteral("Banco=%1").arg(server.databaseName()));
    print(QStringLiteral("Usuario=%1").arg(server.userName()));
}

// The target, empty. A file is made when missing; false once the reason was said.
bool openTarget(const CommandLine& line, const QString& file, QSqlDatabase& target)
{
    if (!line.toServer.isEmpty()) {
        try {
            target = migration::connectServer(line.toServer, TargetName);
        } catch (const JetError& error) {
            say(QStringLiteral("Não foi possível conectar ao servidor PostgreSQL: %1")
                    .arg(error.description()));
            return false;
        }
    } else {
        if (QFileInfo(file).isDir()) {
            say(QStringLiteral("%1 é uma pasta; diga o nome do arquivo novo.")
                    .arg(QDir::toNativeSeparators(file)));
            return false;
        }
        target = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), TargetName);
        target.setDatabaseName(file);
        if (!target.open()) {
            say(QStringLiteral("Não foi possível criar o arquivo %1: %2")
                    .arg(QDir::toNativeSeparators(file), target.lastError().text()));
            return false;
        }
    }
    if (migration::holdsTables(target)) {
        say(QStringLiteral("O destino não está vazio: a empresa só é copiada para um banco sem tabelas. "
                           "Nada foi gravado."));
        return false;
    }
    return true;
}

int migrate(const CommandLine& line, const QString& file, Database& source)
{
    const bool fileExisted = QFileInfo::exists(file);
    bool copied = false;
    {
        QSqlDatabase from = source.connection();
        QSqlDatabase target;
        try {
            if (openTarget(line, file, target)) {
                const QList<migration::TableTotals> totals = migration::copyCompany(from, target);
                print(QStringLiteral("Empresa copiada para %1:")
                          .arg(line.toServer.isEmpty() ? QDir::toNativeSeparators(file) : line.toServer));
                printTotals(totals);
                if (!line.toServer.isEmpty())
                    printServerSection(target);
                copied = true;
            }
        } catch (const JetError& error) {
            say(QStringLiteral("A migração falhou e nada foi gravado: %1").arg(error.description()));
        }
        target.close();
    }
    QSqlDatabase::removeDatabase(TargetName);
    // A file this command made and could not fill is not left behind for a later run to refuse.
    if (!copied && !fileExisted && !file.isEmpty())
        QFile::remove(file);
    return copied ? 0 : ExitFailed;
}

} // namespace

int runMigration(const CommandLine& line, int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    // Opening the company changes the current folder: a relative name is taken from here.
    const QString file = line.toFile.isEmpty() ? QString() : QFileInfo(line.toFile).absoluteFilePath();
    AppState state;
    ConsoleDesktop desktop;
    if (!openCompanyForCommand(line.programFolder, state, desktop))
        return ExitFailed;
    const int status = migrate(line, file, *state.database);
    state.database->close();
    return status;
}

} // namespace varemo
