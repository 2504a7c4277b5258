#pragma once

#include "app/state.h"
#include "data/database.h"
#include "support/company.h"
#include "support/fakedesktop.h"

#include <QStringList>

namespace varemo::test {

// A company with the program's state open on it, as the program's windows find it; `changes`
// are SQLite statements run on the file first (empty ones skipped).
struct OpenCompany {
    explicit OpenCompany(const QStringList& changes = {}, TestCompany::Seed seed = TestCompany::Seed::Small)
        : company(seed)
    {
        for (const QString& statement : changes) {
            if (!statement.trimmed().isEmpty())
                company.exec(statement);
        }
        company.closeSql();
        state.programFolder = company.programFolder();
        state.dataFolder = company.dataFolder();
        state.database = Database::open(company.databasePath());
    }

    // Each row of a Jet query as its cells' texts joined by blanks, booleans as 0 or 1, rows by "|".
    QString rows(const QString& jetQuery)
    {
        QStringList texts;
        const auto set = state.database->openRecordset(jetQuery, RecordsetType::Snapshot);
        for (const auto& row : set->rows()) {
            QStringList cells {row.value(0).toString()};
            for (qsizetype i = 1; i < row.size(); ++i)
                cells << QString::number(row[i].toInt() != 0);
            texts << cells.join(QLatin1Char(' '));
        }
        return texts.join(u'|');
    }
    QString marked()
    {
        return rows(QStringLiteral("SELECT Codigo FROM NivelCategoria4 WHERE Marca = True ORDER BY Codigo"))
            .replace(u'|', u' ');
    }
    // The scratch table and the items' marks, to compare two markings.
    QString snapshot()
    {
        return rows(QStringLiteral("SELECT * FROM Procura ORDER BY Codigo")) + u'/' + marked();
    }

    TestCompany company;
    AppState state;
    FakeDesktop desktop;
};

} // namespace varemo::test
