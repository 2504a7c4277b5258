// The other process of the reliability tests.
//
//   child_program STEPS PROGRAM_FOLDER K normal|spill [BEFORE_COPY]
// The program played step by step (see Player::play) with Yes to every question. From "arm" it
// counts the statements that reach SQLite and kills itself with SIGKILL right after the K-th,
// as when the power goes; when the steps end first it prints them one a line. "spill" gives a
// one-page cache, so changed pages reach the file before COMMIT and only the rollback journal
// can put them back. BEFORE_COPY receives a copy of the company file at "arm".
//
//   child_program hold DATABASE reserved|shared|exclusive MILLISECONDS
// Another module holding the file: the sales module saving a sale (reserved), a long report
// reading (shared), a large commit (exclusive). Prints "locked" once it holds, lets go after
// the milliseconds given or, with 0, when a line arrives on its input, and prints "released".
//
//   child_program guard TITLE
// A copy about to be killed, listening for later copies: prints "locked" once it listens.

#include "app/singleinstance.h"
#include "app/startup.h"
#include "reliability/reliability.h"
#include "reports/arvrelat.h"
#include "reports/dataperiodo.h"
#include "search/procontas.h"

#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>
#include <QSqlError>
#include <QThread>

#include <csignal>
#include <cstdio>
#include <iostream>
#include <unistd.h>

using namespace varemo;

namespace {

void say(QString line)
{
    std::printf("%s\n", line.replace(QLatin1Char('\r'), QLatin1Char('~')).toUtf8().constData());
    std::fflush(stdout);
}

[[noreturn]] void stop(const QString& why)
{
    std::fprintf(stderr, "%s\n", qPrintable(why));
    ::_exit(2);
}

void waitForLine()
{
    std::string line;
    std::getline(std::cin, line);
}

int hold(const QString& path, const QString& lock, int milliseconds)
{
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("holder"));
    db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=10000"));
    db.setDatabaseName(path);
    if (!db.open())
        stop(db.lastError().text());
    QSqlQuery query(db);
    const bool shared = lock == QLatin1String("shared");
    // A read keeps its lock until the transaction ends, as a cursor being walked.
    const QStringList statements = shared
        ? QStringList {QStringLiteral("BEGIN"), QStringLiteral("SELECT COUNT(*) FROM NivelCategoria4")}
        : QStringList {lock == QLatin1String("reserved") ? QStringLiteral("BEGIN IMMEDIATE")
                                                         : QStringLiteral("BEGIN EXCLUSIVE"),
            QStringLiteral("INSERT INTO Venda (Codigo, DataDocumento, Venda) "
                           "SELECT COALESCE(MAX(Codigo), 0) + 1, '2026-11-24', 1 FROM Venda"),
            QStringLiteral(
                "INSERT INTO VendaProdutos (Codigo, CodigoProduto, CodigoSetor, Produto, PrecoUnit, "
                "QdeComprada) SELECT MAX(Codigo), 2, 1, 1, 8.0, 5 FROM Venda")};
    for (const QString& statement : statements) {
        if (!query.exec(statement) || (statement.startsWith(u'S') && !query.next()))
            stop(query.lastError().text());
    }
    say(QStringLiteral("locked"));
    if (milliseconds > 0)
        QThread::msleep(static_cast<unsigned long>(milliseconds));
    else
        waitForLine();
    query.finish();
    if (!query.exec(QStringLiteral("COMMIT")))
        stop(query.lastError().text());
    say(QStringLiteral("released"));
    return 0;
}

template<class Window> Window& as(QWidget* dialog)
{
    auto* window = qobject_cast<Window*>(dialog);
    if (!window)
        stop(QStringLiteral("a step for another window"));
    return *window;
}

struct Player {
    Contas& window;
    AppState& state;
    test::YesDesktop& desktop;
    int killAt;
    QString beforeCopy;
    QStringList statements;

    void arm()
    {
        if (!beforeCopy.isEmpty())
            QFile::copy(state.database->path(), beforeCopy);
        state.database->statementHook = [this](const QString& sql) {
            statements << QString(sql).replace(QLatin1Char('\n'), QLatin1Char(' '));
            if (statements.size() == killAt)
                ::kill(::getpid(), SIGKILL);
        };
    }

    // Each step is a verb and its words; the steps between "modal" and "back" are played on
    // the next window the program shows modally.
    void play(QStringList steps, QWidget* dialog = nullptr)
    {
        while (!steps.isEmpty()) {
            const QString step = steps.takeFirst();
            const QString verb = step.section(u' ', 0, 0), words = step.section(u' ', 1);
            const auto n = std::size_t(words.section(u' ', 0, 0).toInt());
            const QString text = words.section(u' ', 1);
            if (verb == u"modal") {
                const qsizetype back = steps.indexOf(QStringLiteral("back"));
                desktop.setNextModal(
                    [this, inner = steps.mid(0, back)](QWidget& shown) { play(inner, &shown); });
                steps = steps.mid(back + 1);
            } else if (verb == u"arm") {
                arm();
            } else if (verb == u"disarm") {
                state.database->statementHook = nullptr;
            } else if (verb == u"click") {
                window.tool_click(words);
            } else if (verb == u"at") {
                window.relocate(int(n), text.toInt());
                window.PreencheCampos();
            } else if (verb == u"path") { // the hierarchy page's five names
                for (std::size_t level = 0; level < 5; ++level)
                    window.Combo[level]->setText(words.section(u'|', int(level), int(level)));
            } else if (verb == u"combo") {
                window.Combo[n]->setText(text);
            } else if (verb == u"texto") {
                window.Texto[n]->setText(text);
            } else if (verb == u"node" && !dialog) {
                window.Arvore_NodeClick(window.node(words));
            } else if (verb == u"list") {
                window.Relatos->setCurrentItem(window.Relatos->findItems(words, Qt::MatchExactly).value(0));
            } else if (verb == u"escape") {
                window.Form_KeyDown(Qt::Key_Escape);
            } else if (verb == u"unload") {
                window.Form_Unload();
            } else if (verb == u"say") { // what the person sees, on standard output
                say(words + u' '
                    + (words == u"mode" ? window.Modo
                            : words == u"chart"
                            ? QString::number(test::chartDetails(state, desktop))
                            : window.dataSet()->value(QStringLiteral("NivelCategoria4.Nome")).toString()));
            } else if (verb == u"tell") { // the boxes shown and the sounds played
                for (const test::Box& box : std::as_const(desktop.boxes))
                    say(QStringLiteral("box ") + box.title + u'|' + box.prompt);
                for (const int sound : std::as_const(desktop.sounds))
                    say(QStringLiteral("sound %1").arg(sound));
            } else if (verb == u"ver") {
                window.BotaoVer_Click();
            } else if (verb == u"node") {
                as<ArvRelat>(dialog).Arvore_NodeClick(as<ArvRelat>(dialog).node(words));
            } else if (verb == u"nome") {
                as<ArvRelat>(dialog).Nome->setText(words);
            } else if (verb == u"escolha") {
                as<ArvRelat>(dialog).BotaoEscolha_Click(int(n));
            } else if (verb == u"row") { // a search row: field|criterion|contents
                auto& search = as<ProContas>(dialog);
                if (n > 0)
                    search.BotaoMais_Click(0);
                search.Campo[n]->setCurrentText(text.section(u'|', 0, 0));
                search.Criterio[n]->setCurrentText(text.section(u'|', 1, 1));
                search.Conteudo[n]->setText(text.section(u'|', 2));
            } else if (verb == u"procura") {
                as<ProContas>(dialog).BotaoProcura_Click(int(n));
            } else if (verb == u"semana") { // the week starts n days later
                QComboBox* week = as<DataPeriodo>(dialog).InicioSemana;
                week->setCurrentIndex((week->currentIndex() + int(n)) % 7);
            } else if (verb == u"retrocede") { // the other kind of period
                auto& period = as<DataPeriodo>(dialog);
                period.OpcaoRetrocede_Click(period.OpcaoRetrocede[0]->isChecked() ? 1 : 0);
            } else if (verb == u"botao") {
                as<DataPeriodo>(dialog).Botao_Click(int(n));
            } else {
                stop(QStringLiteral("no such step: ") + step);
            }
        }
    }
};

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QStringList args = QApplication::arguments();
    if (args.value(1) == u"hold") {
        const int code = hold(args.value(2), args.value(3), args.value(4).toInt());
        QSqlDatabase::removeDatabase(QStringLiteral("holder"));
        return code;
    }
    if (args.value(1) == u"guard") {
        InstanceGuard guard(args.value(2));
        if (!guard.listen())
            return 2;
        say(QStringLiteral("locked"));
        waitForLine();
        return 0;
    }
    AppState state;
    test::YesDesktop desktop;
    const std::unique_ptr<Contas> window = start(args.value(2), state, desktop);
    if (!window)
        stop(QStringLiteral("start-up stopped"));
    if (args.value(4) == u"spill")
        QSqlQuery(state.database->connection()).exec(QStringLiteral("PRAGMA cache_size = 1"));
    Player player {*window, state, desktop, args.value(3).toInt(), args.value(5), {}};
    QStringList steps = args.value(1).split(u';');
    for (QString& step : steps)
        step = step.trimmed();
    player.play(steps);
    if (state.database)
        state.database->statementHook = nullptr;
    std::printf("%s\n", qPrintable(player.statements.join(u'\n')));
    std::fflush(stdout);
    // The parent needs only the file: Qt's teardown would cost more than the action.
    ::_exit(0);
}
