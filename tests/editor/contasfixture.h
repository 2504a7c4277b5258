#pragma once

#include "app/state.h"
#include "data/database.h"
#include "editor/contas.h"
#include "editor/widgets.h"
#include "support/company.h"
#include "support/fakedesktop.h"

#include <QStringList>

#include <memory>

namespace varemo::test {

// A desktop that also notes whether the company file was still open when a module started.
class ModuleDesktop : public FakeDesktop {
public:
    explicit ModuleDesktop(AppState& state)
        : m_state(state)
    {
    }
    void startModule(int number) override
    {
        FakeDesktop::startModule(number);
        databaseOpenAtStart << (m_state.database != nullptr && m_state.database->isOpen());
    }
    QList<bool> databaseOpenAtStart;

private:
    AppState& m_state;
};

// The main window loaded on a seeded test company, as start-up leaves it (not shown).
// `changes` are SQLite statements run on the company file before the load.
struct LoadedContas {
    explicit LoadedContas(const QStringList& changes = {}, TestCompany::Seed seed = TestCompany::Seed::Small)
        : company(seed)
        , desktop(state)
    {
        for (const QString& statement : changes)
            company.exec(statement);
        company.closeSql();
        state.programFolder = company.programFolder();
        state.dataFolder = company.dataFolder();
        state.databasePath = company.databasePath();
        state.companyName = QStringLiteral("Padaria Teste Ltda");
        state.database = Database::open(company.databasePath());
        window = std::make_unique<Contas>(state, desktop);
        loaded = window->Form_Load();
    }

    // Forgets what the load itself asked of the desktop.
    void clearCalls()
    {
        desktop.boxes.clear();
        desktop.sounds.clear();
        desktop.helpContexts.clear();
        desktop.modulesStarted.clear();
        desktop.modalWindows.clear();
        desktop.placementsSaved.clear();
        desktop.mailsSent = 0;
    }

    // The title of the first box shown, empty when none was.
    QString firstBoxTitle() const { return desktop.boxes.isEmpty() ? QString() : desktop.boxes[0].title; }

    // Types one name into each selector, from the category down.
    void typePath(const QStringList& names)
    {
        for (std::size_t level = 0; level < 5 && level < std::size_t(names.size()); ++level)
            window->Combo[level]->setText(names[qsizetype(level)]);
    }

    int rows(const QString& table)
    {
        return state.database->scalar(QStringLiteral("SELECT COUNT(*) FROM ") + table).toInt();
    }

    TestCompany company;
    AppState state;
    ModuleDesktop desktop;
    std::unique_ptr<Contas> window; // goes first: its recordsets read the state's database
    bool loaded = false;
};

} // namespace varemo::test
