#include "support/company.h"

#include "data/demo.h"
#include "data/errors.h"
#include "data/schema.h"
#include "data/servercompany.h"
#include "support/pgserver.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <pwd.h>
#include <unistd.h>

namespace varemo::test {

namespace {

// Every rule of the chart has a row to bite on: an empty category, the four special groups (one
// repeated under an ordinary sector), locks Null, on and off, tied and typed items, accents, sales
// concluded and not, purchases of products and items, lines and products without a name.
const char* const smallSeed = R"(
INSERT INTO DadosEmpresa (Nome, Morto, InicioSemana, RetroAtivo) VALUES ('  Padaria Teste Ltda  ', 0, 1, 0);
INSERT INTO NivelCategoria0 (Codigo, Nome) VALUES (1, 'Receitas'), (2, 'Despesas'), (3, 'Vazia');
INSERT INTO NivelCategoria1 (Codigo, Nome, CodigoCategoria0, Travado) VALUES
    (1, 'Receitas Clientes', 1, 1), (2, 'Despesas Fornecedores', 2, 1),
    (3, 'Despesas Administrativas', 2, NULL), (4, 'Receitas Financeiras', 1, 0);
INSERT INTO NivelCategoria2 (Codigo, Nome, CodigoCategoria1, Travado) VALUES (1, 'Vendas Produtos', 1, 1),
    (2, 'Vendas Insumos', 1, 0), (3, 'Fornecedores Produtos', 2, 1), (4, 'Fornecedores Insumos', 2, 0),
    (5, 'Ocupação', 3, NULL), (6, 'Vendas Produtos', 4, 0);
INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (1, 'Pães', 1), (2, 'Farinhas', 2),
    (3, 'Pães', 3), (4, 'Farinhas', 4), (5, 'Aluguel e condomínio', 5), (6, 'Energia', 5),
    (7, 'Aplicações', 6);
INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3, CodigoProduto, Marca) VALUES
    (1, 'Pão francês', 1, 1, 0), (2, 'Baguete', 1, 2, 0), (3, 'Farinha de trigo', 2, 0, 0),
    (4, 'Pão francês', 3, 1, 0), (5, 'Farinha de trigo', 4, 3, 0), (6, 'Aluguel da loja', 5, 0, 0),
    (7, 'Condomínio', 5, 0, 0), (8, 'Conta de luz', 6, 0, 0), (9, 'CDB', 7, 0, 0);
INSERT INTO Linhas (CodigoLinha, NomeLinha, Insumo) VALUES
    (1, 'Pães', 0), (2, 'Farinhas', 1), (3, 'Sorvetes', 0), (4, NULL, 0);
INSERT INTO Produtos (CodigoProduto, CodigoLinha, NomeProduto) VALUES
    (1, 1, 'Pão francês'), (2, 1, 'Baguete'), (3, 2, 'Farinha de trigo'), (4, 1, NULL);
INSERT INTO Venda (Codigo, DataDocumento, Venda) VALUES (1, '2026-03-01', 1), (2, '2026-03-15', 1),
    (3, '2026-03-31', 1), (4, '2026-03-10', 0), (5, '2026-04-01', 1);
INSERT INTO VendaProdutos (Codigo, CodigoProduto, CodigoSetor, Produto, PrecoUnit, QdeComprada) VALUES
    (1, 1, 1, 1, 0.5, 100), (2, 1, 1, 1, 0.5, 40), (3, 2, 1, 1, 8.0, 3), (4, 1, 1, 1, 0.5, 999),
    (5, 1, 1, 1, 0.5, 7), (2, 9, 4, 0, 120.0, 1);
INSERT INTO Compra (Codigo, DataDocumento) VALUES (1, '2026-03-05'), (2, '2026-03-20');
INSERT INTO CompraProdutos (Codigo, CodigoProduto, CodigoSetor, Produto, PrecoUnit, QdeComprada) VALUES
    (1, 3, 2, 1, 150.0, 2), (1, 6, 3, 0, 2500.0, 1), (2, 8, 3, 0, 420.5, 1);
INSERT INTO Relatorios (CodigoRelatorio, NomeRelatorio) VALUES (1, 'Resultado Mensal');
INSERT INTO RelatorioItens (CodigoRelatorio, Nivel, CodigoConta, Imagem) VALUES
    (1, 'N0', 2, 2), (1, 'N1', 3, 3), (1, 'N2', 5, 3), (1, 'N3', 5, 3), (1, 'N3', 6, 3), (1, 'N4', 6, 3),
    (1, 'N4', 7, 3), (1, 'N4', 8, 3);
)";

// Plain copies: QFile::copy flushes every file to disk, too slow for a fixture made per test.
void copyTree(const QString& from, const QString& to)
{
    std::error_code error;
    std::filesystem::copy(std::filesystem::path(from.toStdU16String()),
        std::filesystem::path(to.toStdU16String()),
        std::filesystem::copy_options::recursive | std::filesystem::copy_options::overwrite_existing, error);
}

QSqlDatabase connect(
    const QString& name, const QString& driver, const QString& database, const PgServer* server = nullptr)
{
    if (QSqlDatabase::contains(name))
        return QSqlDatabase::database(name);
    QSqlDatabase db = QSqlDatabase::addDatabase(driver, name);
    db.setDatabaseName(database);
    if (server) {
        db.setHostName(server->socketFolder());
        db.setPort(server->port());
        db.setUserName(server->user());
    }
    if (!db.open())
        qFatal("TestCompany: %s: %s", qPrintable(database), qPrintable(db.lastError().text()));
    return db;
}

// A failed check statement fails the test that wrote it, with its text.
void run(QSqlQuery& query, const QString& statement)
{
    if (!query.exec(statement))
        QTest::qFail(
            qPrintable(statement + QStringLiteral(": ") + query.lastError().text()), __FILE__, __LINE__);
}

void seedDatabase(const QString& path, const char* seedSql)
{
    const QString name = QStringLiteral("varemo-test-seed");
    {
        QSqlDatabase db = connect(name, QStringLiteral("QSQLITE"), path);
        QSqlQuery query(db);
        query.exec(QStringLiteral("PRAGMA synchronous = OFF")); // a scratch file: no flushes
        db.transaction();
        schema::create(db);
        for (const auto& statement : QString::fromUtf8(seedSql).split(QLatin1Char(';'), Qt::SkipEmptyParts))
            if (!statement.trimmed().isEmpty() && !query.exec(statement))
                qFatal("TestCompany: seed failed: %s", qPrintable(query.lastError().text()));
        db.commit();
    }
    QSqlDatabase::removeDatabase(name);
}

const QString bin = qEnvironmentVariable("VAREMO_PG_BIN", QStringLiteral("/usr/lib/postgresql/15/bin"));

void shell(const QString& command, bool mustWork = true)
{
    if (std::system(command.toLocal8Bit().constData()) != 0 && mustWork)
        qFatal("PgServer: failed: %s", qPrintable(command));
}

void stop(const QString& prefix, const QString& folder)
{
    shell(QStringLiteral("%1%2/pg_ctl -D %3/data -m immediate -s stop > /dev/null 2>&1")
              .arg(prefix, bin, folder),
        false);
    QDir(folder).removeRecursively();
}

// A test process that died (an abort, a crash) never stopped its server: the next one does,
// recognising it by the process id the folder was made for.
void stopOrphans()
{
    const QDir temp(QDir::tempPath());
    for (const QString& folder : temp.entryList({QStringLiteral("varemo-pg-*")}, QDir::Dirs)) {
        QFile owner(temp.filePath(folder) + QStringLiteral("/owner.pid"));
        const pid_t pid = owner.open(QIODevice::ReadOnly) ? owner.readAll().trimmed().toInt() : 0;
        if (pid > 0 && kill(pid, 0) != 0 && errno == ESRCH)
            stop(geteuid() == 0 ? QStringLiteral("runuser -u postgres -- ") : QString(),
                temp.filePath(folder));
    }
}

} // namespace

TestCompany::TestCompany(Seed seed)
{
    static std::atomic<int> serial {0};
    m_connection = QStringLiteral("varemo-test-company-%1").arg(++serial);
    if (!m_dir.isValid())
        qFatal("TestCompany: no temporary folder");
    const QString built = qEnvironmentVariable("VAREMO_PROGRAM_DIR");
    if (seed == Seed::Demo) {
        demo::build(m_dir.path(), built, demoToday());
    } else {
        QDir().mkpath(programFolder());
        QDir().mkpath(dataFolder() + QStringLiteral("Dados"));
        // The suite writes Caminho.dad on Windows: CR LF, data folder with its closing separator.
        writeFile(programFolder() + QStringLiteral("Caminho.dad"),
            (dataFolder() + QStringLiteral("\r\n")).toUtf8());
        writeFile(dataFolder() + QStringLiteral("Empresa.ini"),
            QByteArrayLiteral("[Empresa]\r\nNome=Padaria Teste\r\n"));
        if (!built.isEmpty()) {
            copyTree(built + QStringLiteral("/Sons"), programFolder() + QStringLiteral("Sons/"));
            copyTree(built + QStringLiteral("/Ajuda"), programFolder() + QStringLiteral("Ajuda/"));
        }
        seedDatabase(databasePath(),
            seed == Seed::Small ? smallSeed
                                : "INSERT INTO DadosEmpresa (Nome, Morto, InicioSemana, RetroAtivo) VALUES "
                                  "('Empresa Vazia Ltda', 0, 1, 0)");
    }
    if (onServer())
        moveToServer();
}

// The company moves to a fresh server database; its file stays as the tests' mirror of it.
void TestCompany::moveToServer()
{
    PgServer& server = PgServer::instance();
    m_serverDatabase = server.createDatabase();
    try {
        QSqlDatabase file = sql();
        QSqlDatabase target = serverSql();
        servercompany::copy(file, target);
    } catch (const JetError& error) {
        qFatal("TestCompany: copy to the server failed: %s", qPrintable(error.description()));
    }
    m_fileStamp = fileStamp();
    m_serverPosition = serverPosition();
    const QString ini = dataFolder() + QStringLiteral("Empresa.ini");
    writeFile(ini,
        readFile(ini)
            + QStringLiteral("\r\n[Servidor]\r\nServidor=%1\r\nPorta=%2\r\nBanco=%3\r\nUsuario=%4\r\n")
                  .arg(server.socketFolder())
                  .arg(server.port())
                  .arg(m_serverDatabase, server.user())
                  .toUtf8());
}

QSqlDatabase TestCompany::serverSql()
{
    return connect(m_connection + QStringLiteral("-server"), QStringLiteral("QPSQL"), m_serverDatabase,
        &PgServer::instance());
}

QString TestCompany::fileStamp() const
{
    const QFileInfo file(databasePath());
    return QStringLiteral("%1/%2").arg(file.lastModified().toMSecsSinceEpoch()).arg(file.size());
}

QString TestCompany::serverPosition()
{
    QSqlQuery position(serverSql());
    if (!position.exec(QStringLiteral("SELECT pg_current_wal_insert_lsn()::text")) || !position.next())
        qFatal("TestCompany: %s", qPrintable(position.lastError().text()));
    return position.value(0).toString();
}

// The checks are in SQLite's words and run on the file: whichever side changed since the last
// sync is copied onto the other (the file when a test wrote it, the server when the program did).
void TestCompany::sync()
{
    if (m_serverDatabase.isEmpty())
        return;
    QSqlDatabase server = serverSql();
    QSqlDatabase file = sql();
    try {
        if (fileStamp() != m_fileStamp) {
            QSqlQuery query(server);
            if (!m_serverTransaction)
                query.exec(QStringLiteral("BEGIN"));
            servercompany::copyRows(file, server);
            if (!m_serverTransaction)
                query.exec(QStringLiteral("COMMIT"));
        } else if (serverPosition() != m_serverPosition || m_serverTransaction) {
            file.transaction();
            servercompany::copyRows(server, file);
            file.commit();
        }
    } catch (const JetError& error) {
        qFatal("TestCompany: %s", qPrintable(error.description()));
    }
    m_fileStamp = fileStamp();
    m_serverPosition = serverPosition();
}

// A test's BEGIN holds the server's tables as SQLite's would hold the file, until its ROLLBACK.
bool TestCompany::serverTransaction(const QString& statement)
{
    const QString word = statement.trimmed().section(QLatin1Char(' '), 0, 0).toUpper();
    QSqlQuery query(serverSql());
    if (word == QLatin1String("BEGIN")) {
        const QString mode = statement.contains(QLatin1String("EXCLUSIVE"), Qt::CaseInsensitive)
            ? QStringLiteral("ACCESS EXCLUSIVE")
            : statement.contains(QLatin1String("IMMEDIATE"), Qt::CaseInsensitive)
            ? QStringLiteral("EXCLUSIVE")
            : QStringLiteral("SHARE");
        query.exec(QStringLiteral("BEGIN"));
        query.exec(QStringLiteral("LOCK TABLE %1 IN %2 MODE").arg(schema::tableNames().join(", "), mode));
        m_serverTransaction = true;
        return true;
    }
    if (word != QLatin1String("ROLLBACK") && word != QLatin1String("COMMIT") && word != QLatin1String("END"))
        return false;
    query.exec(word);
    m_serverTransaction = false;
    m_serverPosition.clear();
    return true;
}

TestCompany::~TestCompany()
{
    if (QSqlDatabase::contains(m_connection)) {
        QSqlDatabase::database(m_connection, false).close();
        QSqlDatabase::removeDatabase(m_connection);
    }
    if (!m_serverDatabase.isEmpty()) {
        QSqlDatabase::removeDatabase(m_connection + QStringLiteral("-server"));
        PgServer::instance().dropDatabase(m_serverDatabase);
    }
}

QSqlDatabase TestCompany::sql()
{
    return connect(m_connection, QStringLiteral("QSQLITE"), databasePath());
}

QVariant TestCompany::scalar(const QString& sqliteQuery)
{
    sync();
    QSqlQuery query(sql());
    run(query, sqliteQuery);
    return query.next() ? query.value(0) : QVariant();
}

void TestCompany::exec(const QString& sqliteStatement)
{
    if (!m_serverDatabase.isEmpty() && serverTransaction(sqliteStatement))
        return;
    sync();
    QSqlQuery query(sql());
    run(query, sqliteStatement);
    m_fileStamp.clear(); // the file is ahead now
    // Rows are copied across, tables are not: a table the test drops goes from the server too.
    if (!m_serverDatabase.isEmpty() && sqliteStatement.trimmed().startsWith(QLatin1String("DROP"))) {
        QSqlQuery server(serverSql());
        run(server, sqliteStatement);
    }
    sync();
}

void TestCompany::closeSql()
{
    if (!QSqlDatabase::contains(m_connection) && m_serverDatabase.isEmpty())
        return;
    // The program is about to open the company: the server gets what the test wrote.
    if (!m_serverDatabase.isEmpty() && !m_serverTransaction)
        sync();
    QSqlDatabase::database(m_connection, false).close();
    QSqlDatabase::removeDatabase(m_connection);
}

QString itemChainJoin()
{
    return QStringLiteral(
        "SELECT * FROM ((((NivelCategoria4 "
        "LEFT JOIN NivelCategoria3 ON NivelCategoria3.Codigo = NivelCategoria4.CodigoCategoria3) "
        "LEFT JOIN NivelCategoria2 ON NivelCategoria2.Codigo = NivelCategoria3.CodigoCategoria2) "
        "LEFT JOIN NivelCategoria1 ON NivelCategoria1.Codigo = NivelCategoria2.CodigoCategoria1) "
        "LEFT JOIN NivelCategoria0 ON NivelCategoria0.Codigo = NivelCategoria1.CodigoCategoria0) ");
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString& path, const QByteArray& contents)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(contents) != contents.size())
        qFatal("cannot write %s", qPrintable(path));
}

int jetFailure(const std::function<void()>& call)
{
    try {
        call();
    } catch (const JetError& error) {
        return error.number();
    }
    return 0;
}

bool onServer()
{
    return qEnvironmentVariable("VAREMO_TEST_ENGINE").toLower() == QLatin1String("postgresql");
}

PgServer& PgServer::instance()
{
    static PgServer server;
    return server;
}

PgServer::PgServer()
{
    QByteArray pattern = QDir::tempPath().toLocal8Bit() + "/varemo-pg-XXXXXX";
    if (!mkdtemp(pattern.data()))
        qFatal("PgServer: no temporary folder");
    m_folder = QString::fromLocal8Bit(pattern);
    stopOrphans();
    QFile owner(m_folder + QStringLiteral("/owner.pid"));
    if (!owner.open(QIODevice::WriteOnly) || owner.write(QByteArray::number(getpid())) <= 0)
        qFatal("PgServer: cannot write %s", qPrintable(owner.fileName()));
    owner.close();
    if (geteuid() == 0) {
        const passwd* account = getpwnam("postgres");
        if (!account || chown(pattern.constData(), account->pw_uid, account->pw_gid) != 0)
            qFatal("PgServer: running as root needs the postgres user");
        m_prefix = QStringLiteral("runuser -u postgres -- ");
    }
    // A scratch cluster: nothing is flushed to disk.
    shell(QStringLiteral(
        "%1%2/initdb -D %3/data -A trust -U postgres -E UTF8 --no-locale -N > %3/initdb.log 2>&1")
              .arg(m_prefix, bin, m_folder));
    shell(QStringLiteral("%1%2/pg_ctl -D %3/data -l %3/server.log -w -s -o \"-k %3 -c listen_addresses='' "
                         "-c fsync=off -c synchronous_commit=off -c full_page_writes=off\" start")
              .arg(m_prefix, bin, m_folder));
}

PgServer::~PgServer()
{
    stop(m_prefix, m_folder);
}

// Runs statements on one database of the server, through a connection of its own.
void PgServer::admin(const QString& database, const QStringList& statements)
{
    const QString name = QStringLiteral("varemo-pg-admin");
    {
        QSqlQuery query(connect(name, QStringLiteral("QPSQL"), database, this));
        for (const QString& statement : statements)
            if (!query.exec(statement))
                qFatal("PgServer: %s: %s", qPrintable(statement), qPrintable(query.lastError().text()));
    }
    QSqlDatabase::removeDatabase(name);
}

// Making a database costs the server far more than emptying one: a database given back
// is emptied and handed out again.
QString PgServer::createDatabase()
{
    if (m_free.isEmpty()) {
        const QString name = QStringLiteral("empresa%1").arg(++m_databases);
        admin(
            QStringLiteral("postgres"), {QStringLiteral("CREATE DATABASE %1 TEMPLATE template0").arg(name)});
        return name;
    }
    const QString name = m_free.takeLast();
    admin(QStringLiteral("postgres"),
        {QStringLiteral("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '%1'")
                .arg(name)});
    admin(name,
        {QStringLiteral("SET client_min_messages = warning"), QStringLiteral("DROP SCHEMA public CASCADE"),
            QStringLiteral("CREATE SCHEMA public")});
    return name;
}

void PgServer::dropDatabase(const QString& name)
{
    m_free << name;
}

} // namespace varemo::test
