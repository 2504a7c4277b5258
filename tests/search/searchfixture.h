#pragma once

#include "app/state.h"
#include "data/database.h"
#include "support/company.h"
#include "support/fakedesktop.h"

#include <QStringList>

namespace varemo::test {

// A company with the program's state pointing at it, as the search window finds it.
struct SearchCompany {
    explicit SearchCompany(TestCompany::Seed seed = TestCompany::Seed::Small, const QStringList& changes = {})
        : company(seed)
    {
        for (const QString& statement : changes)
            company.exec(statement);
        company.closeSql();
        state.dataFolder = company.dataFolder();
        state.database = Database::open(company.databasePath());
    }

    // Each row of a Jet query as its cells' texts joined by blanks, booleans as 0 or 1.
    QStringList rows(const QString& jetQuery)
    {
        QStringList texts;
        const auto set = state.database->openRecordset(jetQuery, RecordsetType::Snapshot);
        for (const auto& row : set->rows()) {
            QStringList cells {row.value(0).toString()};
            for (qsizetype i = 1; i < row.size(); ++i)
                cells << QString::number(row[i].toInt() != 0);
            texts << cells.join(QLatin1Char(' '));
        }
        return texts;
    }
    QString marked()
    {
        return rows(QStringLiteral("SELECT Codigo FROM NivelCategoria4 WHERE Marca = True ORDER BY Codigo"))
            .join(QLatin1Char(' '));
    }
    // The scratch table and the items' marks, to compare two markings.
    QStringList snapshot()
    {
        return rows(QStringLiteral("SELECT * FROM Procura ORDER BY Codigo")) << marked();
    }

    TestCompany company;
    AppState state;
    FakeDesktop desktop;
};

} // namespace varemo::test
