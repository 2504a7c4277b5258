// A copy of the program that dies in the middle of a user action, as when the power goes.
//
//   child_crash ACTION PROGRAM_FOLDER K normal|spill [BEFORE_COPY]
//
// Starts the program on the installation with a desktop that answers Yes to every question,
// gets the action's window ready as a person would, then counts the statements that reach
// SQLite during the action's decisive click and kills itself with SIGKILL right after the
// K-th: nothing is flushed, closed or rolled back. When the action ends first (K = 0, or K
// past its last statement) the statements are printed one a line and the exit code is 0.
// "spill" gives the connection a one-page cache, so changed pages reach the file before
// COMMIT and only the rollback journal can put them back. BEFORE_COPY receives a copy of the
// company file as it is just before the click.

#include "app/startup.h"
#include "app/state.h"
#include "editor/contas.h"
#include "editor/widgets.h"
#include "reliability.h"
#include "reports/arvrelat.h"
#include "reports/dataperiodo.h"
#include "search/procontas.h"
#include "support/fakedesktop.h"

#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>
#include <QSqlQuery>
#include <QTreeWidget>

#include <csignal>
#include <cstdio>
#include <functional>
#include <map>
#include <unistd.h>

using namespace varemo;

namespace {

class YesDesktop : public test::FakeDesktop {
public:
    int msgbox(const QString& prompt, int buttons, const QString& title) override
    {
        FakeDesktop::msgbox(prompt, buttons, title);
        return (buttons & 0xF) == vb::YesNo ? vb::Yes : vb::OK;
    }
};

// Counts the statements of the decisive click and dies at the chosen one.
class KillSwitch {
public:
    KillSwitch(Database& database, int killAt, QString beforeCopy)
        : m_database(database)
        , m_killAt(killAt)
        , m_beforeCopy(std::move(beforeCopy))
    {
    }
    void arm()
    {
        if (!m_beforeCopy.isEmpty())
            QFile::copy(m_database.path(), m_beforeCopy);
        m_database.statementHook = [this](const QString& sql) {
            statements << sql;
            if (statements.size() == m_killAt)
                ::kill(::getpid(), SIGKILL);
        };
    }
    void disarm() { m_database.statementHook = nullptr; }

    QStringList statements;

private:
    Database& m_database;
    int m_killAt;
    QString m_beforeCopy;
};

using Action = std::function<void(Contas&, YesDesktop&, KillSwitch&)>;

Action newPath()
{
    return [](Contas& window, YesDesktop&, KillSwitch& kill) {
        test::typeNewPath(window);
        kill.arm();
        window.tool_click(QStringLiteral("ID_Gravar"));
    };
}

// From "Conta de luz" under "Energia": a view, then a new or changed record with the name of
// one level typed, the others kept.
Action saveFromLightBill(const QString& view, const QString& command, int level, const QString& name)
{
    return [view, command, level, name](Contas& window, YesDesktop&, KillSwitch& kill) {
        window.relocate(4, 8);
        window.PreencheCampos();
        if (!view.isEmpty())
            window.tool_click(view);
        window.tool_click(command);
        (level == 4 ? window.Combo : window.Texto)[std::size_t(level)]->setText(name);
        kill.arm();
        window.tool_click(QStringLiteral("ID_Gravar"));
    };
}

Action deleteRow(const QString& view, const QString& key)
{
    return [view, key](Contas& window, YesDesktop&, KillSwitch& kill) {
        window.tool_click(view);
        window.Arvore_NodeClick(window.node(key));
        kill.arm();
        window.tool_click(QStringLiteral("ID_Excluir"));
    };
}

void chooseReport(Contas& window, const QString& name)
{
    window.tool_click(QStringLiteral("ID_Relatorios"));
    if (!name.isEmpty())
        window.Relatos->setCurrentItem(window.Relatos->findItems(name, Qt::MatchExactly).value(0));
}

// The definition window opened from the report list: a name and a few nodes toggled, saved.
Action definitionSave(
    const QString& command, const QString& chosen, const QString& name, const QStringList& keys)
{
    return [command, chosen, name, keys](Contas& window, YesDesktop& desktop, KillSwitch& kill) {
        chooseReport(window, chosen);
        desktop.setNextModal([name, keys, &kill](QWidget& shown) {
            auto& definition = static_cast<ArvRelat&>(shown);
            definition.Nome->setText(name);
            for (const QString& key : keys)
                definition.Arvore_NodeClick(definition.node(key));
            kill.arm();
            definition.BotaoEscolha_Click(0);
            kill.disarm();
        });
        window.tool_click(command);
    };
}

Action reportDelete()
{
    return [](Contas& window, YesDesktop&, KillSwitch& kill) {
        chooseReport(window, QStringLiteral("Resultado Mensal"));
        kill.arm();
        window.tool_click(QStringLiteral("ID_Excluir"));
    };
}

// Two criteria in the search window, then the search click.
void searchTwoCriteria(YesDesktop& desktop, KillSwitch* kill)
{
    desktop.setNextModal([kill](QWidget& shown) {
        auto& search = static_cast<ProContas&>(shown);
        search.Campo[0]->setCurrentText(QStringLiteral("Item"));
        search.Criterio[0]->setCurrentText(QStringLiteral("contenha"));
        search.Conteudo[0]->setText(QStringLiteral("Pão"));
        search.BotaoMais_Click(0);
        search.Campo[1]->setCurrentText(QStringLiteral("Setor"));
        search.Criterio[1]->setCurrentText(QStringLiteral("contenha"));
        search.Conteudo[1]->setText(QStringLiteral("Receitas"));
        if (kill)
            kill->arm();
        search.BotaoProcura_Click(2);
    });
}

Action searchMarking()
{
    return [](Contas& window, YesDesktop& desktop, KillSwitch& kill) {
        searchTwoCriteria(desktop, &kill);
        window.tool_click(QStringLiteral("ID_Filtrar"));
    };
}

// The window brought up again after a search: coming up clears the marks it left.
Action searchPreparation()
{
    return [](Contas& window, YesDesktop& desktop, KillSwitch& kill) {
        searchTwoCriteria(desktop, nullptr);
        window.tool_click(QStringLiteral("ID_Filtrar"));
        desktop.setNextModal([](QWidget& shown) { static_cast<ProContas&>(shown).BotaoProcura_Click(1); });
        kill.arm();
        window.tool_click(QStringLiteral("ID_Filtrar"));
    };
}

// Another week start and the other period type, confirmed; the report that follows is
// only reading.
Action periodConfirmation()
{
    return [](Contas& window, YesDesktop& desktop, KillSwitch& kill) {
        chooseReport(window, QStringLiteral("Resultado Mensal"));
        desktop.setNextModal([&kill](QWidget& shown) {
            auto& period = static_cast<DataPeriodo&>(shown);
            period.InicioSemana->setCurrentIndex((period.InicioSemana->currentIndex() + 2) % 7);
            period.OpcaoRetrocede_Click(period.OpcaoRetrocede[0]->isChecked() ? 1 : 0);
            kill.arm();
            period.Botao_Click(1);
            kill.disarm();
        });
        window.BotaoVer_Click();
    };
}

const std::map<QString, Action>& actions()
{
    static const std::map<QString, Action> all {
        {QStringLiteral("hierarchy_new_path"), newPath()},
        {QStringLiteral("hierarchy_new_item"),
            saveFromLightBill({}, QStringLiteral("ID_Incluir"), 4, QStringLiteral("Conta de água"))},
        {QStringLiteral("level_insert"),
            saveFromLightBill(
                QStringLiteral("ID_Conta"), QStringLiteral("ID_Incluir"), 3, QStringLiteral("Telefone"))},
        {QStringLiteral("level_rename"),
            saveFromLightBill(
                QStringLiteral("ID_Conta"), QStringLiteral("ID_Alterar"), 3, QStringLiteral("Água e luz"))},
        {QStringLiteral("delete_item"), deleteRow(QStringLiteral("ID_Item"), QStringLiteral("7N4"))},
        {QStringLiteral("delete_account"), deleteRow(QStringLiteral("ID_Conta"), QStringLiteral("8N3"))},
        {QStringLiteral("report_new"),
            definitionSave(QStringLiteral("ID_Incluir"), QString(), QStringLiteral("Relatório Novo"),
                {QStringLiteral("3N1"), QStringLiteral("8N4")})},
        {QStringLiteral("report_edit"),
            definitionSave(QStringLiteral("ID_Alterar"), QStringLiteral("Resultado Mensal"),
                QStringLiteral("Resultado Mensal Revisto"), {QStringLiteral("1N0")})},
        {QStringLiteral("report_delete"), reportDelete()},
        {QStringLiteral("search_marking"), searchMarking()},
        {QStringLiteral("search_preparation"), searchPreparation()},
        {QStringLiteral("period_confirmation"), periodConfirmation()},
    };
    return all;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QStringList args = QApplication::arguments();
    if (args.size() < 5 || actions().count(args[1]) == 0) {
        std::fputs("usage: child_crash ACTION PROGRAM_FOLDER K normal|spill [BEFORE_COPY]\n", stderr);
        return 2;
    }
    AppState state;
    YesDesktop desktop;
    const std::unique_ptr<Contas> window = start(args[2], state, desktop);
    if (!window) {
        std::fputs("start-up stopped\n", stderr);
        return 2;
    }
    if (args[4] == QLatin1String("spill"))
        QSqlQuery(state.database->connection()).exec(QStringLiteral("PRAGMA cache_size = 1"));
    KillSwitch kill(*state.database, args[3].toInt(), args.value(5));
    actions().at(args[1])(*window, desktop, kill);
    kill.disarm();
    for (const QString& sql : std::as_const(kill.statements))
        std::printf("%s\n", qPrintable(QString(sql).replace(QLatin1Char('\n'), QLatin1Char(' '))));
    std::fflush(stdout);
    // The parent needs only the file: Qt's teardown would cost more than the action.
    ::_exit(0);
}
