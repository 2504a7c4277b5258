#include "app/startup.h"

#include "app/commandline.h"
#include "app/cp1252.h"
#include "app/entrada.h"
#include "app/errorlog.h"
#include "app/headless.h"
#include "app/migrar.h"
#include "app/qtdesktop.h"
#include "app/singleinstance.h"
#include "app/state.h"
#include "app/translations.h"
#include "data/demo.h"
#include "data/schema.h"
#include "editor/contas.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPointer>
#include <QStringDecoder>
#include <QTimer>

#include <cstdio>

namespace varemo {

namespace {

const QString NotFoundTitle = QStringLiteral("Arquivo não encontrado");
const QString MissingPathFile = QStringLiteral("Sumiu o arquivo path da rede");
const QString MissingIni = QStringLiteral("Sumiu o arquivo Empresa.ini");
const QString CorruptMessage = QStringLiteral("Arquivo de banco de dados empresa.mdb corrompido\r"
                                              "ou não é .mdb. Solicite ajuda do Adm. de Sistema");
const QString CorruptTitle = QStringLiteral("Arquivo corrompido ou com defeitos");
// Advice first, then the two lines of the cause.
const QString ImproperMessage = QStringLiteral("Solicite ajuda do Adm. de Sistema\r"
                                               "Banco de dados não encontrado\r"
                                               "ou com formato .mdb impróprio!");
const QString ImproperTitle = QStringLiteral("Arquivo não existe ou impróprio");
// A company on a server (named in Empresa.ini) that cannot be reached or refuses the login.
const QString ServerMessage = QStringLiteral("Solicite ajuda do Adm. de Sistema\r"
                                             "Servidor do banco de dados não encontrado\r"
                                             "ou acesso recusado!");
const QString ServerTitle = QStringLiteral("Servidor não encontrado ou acesso recusado");

void prepareState(const QString& programFolder, AppState& state)
{
    state.versionText
        = QStringLiteral("%1.%2.%3").arg(state.major).arg(state.minor).arg(state.revision).trimmed();
    state.mainWindowReady = false;
    QString folder = programFolder;
    if (!folder.endsWith(QLatin1Char('/')) && !folder.endsWith(QLatin1Char('\\')))
        folder += QDir::separator();
    state.programFolder = folder;
}

// The suite's other modules write Caminho.dad as Windows text; one written here is UTF-8.
QString decodeLine(QByteArray bytes)
{
    if (bytes.startsWith("\xEF\xBB\xBF"))
        bytes.remove(0, 3);
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8.decode(bytes);
    return utf8.hasError() ? cp1252::decode(bytes) : text;
}

// The first line is the data folder, used exactly as written: a missing closing separator
// runs the last folder's name into the file names that follow.
bool readDataFolder(AppState& state, Desktop& desktop)
{
    QFile file(state.programFolder + QStringLiteral("Caminho.dad"));
    if (!QFileInfo(file).isFile()) {
        desktop.msgbox(MissingPathFile, vb::Exclamation, NotFoundTitle);
        return false;
    }
    QByteArray content;
    if (file.open(QIODevice::ReadOnly))
        content = file.readAll();
    qsizetype end = content.indexOf('\n');
    const qsizetype cr = content.indexOf('\r');
    if (cr >= 0 && (end < 0 || cr < end))
        end = cr;
    state.dataFolder = decodeLine(end >= 0 ? content.left(end) : content);
    return true;
}

bool checkCompanyIni(const AppState& state, Desktop& desktop)
{
    if (QFileInfo::exists(state.dataFolder + QStringLiteral("Empresa.ini")))
        return true;
    desktop.msgbox(MissingIni, vb::Exclamation, NotFoundTitle);
    return false;
}

// While a statement waits for another module's lock the window cannot answer: the busy
// cursor tells the person the program is working, not hung. Runs without a window system
// (the command-line reports) need no cursor.
void showBusyCursor(bool waiting)
{
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return;
    if (waiting)
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QGuiApplication::restoreOverrideCursor();
}

std::unique_ptr<Database> openCompanyFile(const QString& path)
{
    auto database = Database::open(path);
    database->busyHook = showBusyCursor;
    for (const QString& table : schema::tableNames()) {
        if (!database->hasTable(table))
            throw JetError(jet::ObjectNotFound,
                QStringLiteral("O mecanismo de banco de dados não encontrou a tabela '%1'.").arg(table));
    }
    // A damaged chart is told now, as a damaged file, not halfway through a save: the engine
    // itself reads a page only when a statement needs it.
    database->checkTables(schema::chartTables());
    return database;
}

bool openDatabase(AppState& state, Desktop& desktop)
{
    const QString folder = state.dataFolder + QStringLiteral("Dados") + QDir::separator();
    state.databasePath = folder + QStringLiteral("empresa.mdb");
    // Resolved before the change of folder, so that a relative data folder still finds it.
    const QString resolved = QFileInfo(state.databasePath).absoluteFilePath();
    QDir::setCurrent(folder);
    try {
        state.database = openCompanyFile(resolved);
    } catch (const JetError& error) {
        if (error.number() == jet::Corrupted)
            desktop.msgbox(CorruptMessage, vb::Critical, CorruptTitle);
        else if (error.number() == jet::ServerConnectionFailed)
            desktop.msgbox(ServerMessage, vb::Critical, ServerTitle);
        else
            desktop.msgbox(ImproperMessage, vb::Critical, ImproperTitle);
        return false;
    }
    return true;
}

void readCompany(AppState& state, Desktop& desktop)
{
    try {
        const auto company
            = state.database->openRecordset(QStringLiteral("DadosEmpresa"), RecordsetType::Table);
        state.companyName
            = company->eof() ? QString() : company->value(QStringLiteral("Nome")).toString().trimmed();
        company->close();
    } catch (const JetError& error) {
        logError(state, desktop, rotina::AbrirPrograma, error);
    }
}

// From Caminho.dad to the company name; false once a start-up message has been shown.
bool splashLoad(AppState& state, Desktop& desktop)
{
    if (!readDataFolder(state, desktop) || !checkCompanyIni(state, desktop) || !openDatabase(state, desktop))
        return false;
    readCompany(state, desktop);
    return true;
}

// Ends the event loop when the main window closes, even while the help window is still up.
class QuitOnClose : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Show)
            m_shown = true;
        else if (event->type() == QEvent::Hide && !event->spontaneous() && m_shown)
            QTimer::singleShot(0, qApp, &QCoreApplication::quit);
        return QObject::eventFilter(watched, event);
    }

private:
    bool m_shown = false;
};

void printError(const QString& text)
{
    std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
}

int runProgram(const QString& programFolder)
{
    AppState state;
    QtDesktop desktop(state);
    prepareState(programFolder, state);
    if (desktop.activateRunningCopy(state.title))
        return 0;

    // Listening at once: a copy started while this one still loads must find it.
    InstanceGuard guard(state.title);
    guard.listen();
    Entrada splash(state);
    std::unique_ptr<Contas> window;
    QObject::connect(&guard, &InstanceGuard::activationRequested, &splash, [&splash, &window] {
        if (window && window->isVisible())
            bringToFront(*window);
        else if (splash.isVisible())
            bringToFront(splash);
    });
    splash.show();
    QCoreApplication::processEvents();

    if (!splashLoad(state, desktop))
        return 1;
    splash.showCompany(state.companyName);
    QCoreApplication::processEvents();

    window = std::make_unique<Contas>(state, desktop);
    // A failed step was logged and shown; the window still opens with what it loaded.
    window->Form_Load();
    if (!state.mainWindowReady)
        return 1; // nothing would ever take the splash down
    QuitOnClose quitOnClose;
    window->installEventFilter(&quitOnClose);
    splash.setMainWindow(window.get());
    splash.Timer1->start();

    const int code = QApplication::exec();
    window->removeEventFilter(&quitOnClose);
    window->Form_Unload(); // starts the chosen sibling module; nothing when already done
    return code;
}

} // namespace

bool openCompany(const QString& programFolder, AppState& state, Desktop& desktop)
{
    prepareState(programFolder, state);
    return splashLoad(state, desktop);
}

std::unique_ptr<Contas> start(const QString& programFolder, AppState& state, Desktop& desktop)
{
    prepareState(programFolder, state);
    if (desktop.activateRunningCopy(state.title))
        return nullptr;
    if (!splashLoad(state, desktop))
        return nullptr;
    auto window = std::make_unique<Contas>(state, desktop);
    window->Form_Load();
    return window;
}

int run(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    // Answered before any window system is needed.
    const CommandLine line = parseCommandLine(arguments);
    switch (line.action) {
    case CommandLine::Action::Help:
        std::fputs(usageText().toLocal8Bit().constData(), stdout);
        return 0;
    case CommandLine::Action::Error:
        printError(line.error + QStringLiteral("\nUse varemo-contas --ajuda para ver as opções."));
        return ExitUsage;
    case CommandLine::Action::Report:
        return runReport(line, argc, argv);
    case CommandLine::Action::Migrate:
        return runMigration(line, argc, argv);
    case CommandLine::Action::Run:
    case CommandLine::Action::Demo:
        break;
    }

    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Varemo"));
    QApplication::setApplicationName(AppTitle);
    installTranslations(app);

    QString programFolder
        = line.programFolder.isEmpty() ? QCoreApplication::applicationDirPath() : line.programFolder;
    if (line.action == CommandLine::Action::Demo) {
        try {
            programFolder = demo::build(line.demoFolder, QCoreApplication::applicationDirPath());
        } catch (const std::exception& error) {
            printError(QStringLiteral("Não foi possível montar a demonstração em %1: %2")
                           .arg(line.demoFolder, QString::fromUtf8(error.what())));
            return 1;
        }
    }
    return runProgram(programFolder);
}

} // namespace varemo
