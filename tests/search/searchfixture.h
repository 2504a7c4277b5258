#pragma once

#include "app/state.h"
#include "data/database.h"
#include "search/criteria.h"
#include "support/company.h"
#include "support/fakedesktop.h"

#include <QList>
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
        state.programFolder = company.programFolder();
        state.dataFolder = company.dataFolder();
        state.databasePath = company.databasePath();
        state.database = Database::open(company.databasePath());
    }

    // One Jet query's first column, row by row.
    QList<QVariant> column(const QString& jetQuery)
    {
        QList<QVariant> values;
        const auto set = state.database->openRecordset(jetQuery, RecordsetType::Snapshot);
        for (const auto& row : set->rows())
            values << row.value(0);
        return values;
    }
    QList<QVariant> marked()
    {
        return column(
            QStringLiteral("SELECT Codigo FROM NivelCategoria4 WHERE Marca = True ORDER BY Codigo"));
    }
    // The scratch table and the items' marks, one text per row, to compare two markings.
    QStringList snapshot()
    {
        QStringList rows;
        const auto set = state.database->openRecordset(
            QStringLiteral("SELECT * FROM Procura ORDER BY Codigo"), RecordsetType::Snapshot);
        for (const auto& row : set->rows()) {
            QStringList cells {row.value(0).toString()};
            for (qsizetype i = 1; i < row.size(); ++i)
                cells << (row[i].toInt() != 0 ? QStringLiteral("1") : QStringLiteral("0"));
            rows << cells.join(QLatin1Char(' '));
        }
        for (const QVariant& codigo : marked())
            rows << QStringLiteral("marca ") + codigo.toString();
        return rows;
    }

    TestCompany company;
    AppState state;
    FakeDesktop desktop;
};

// Up to five rows from (campo, criterio, conteudo, chave) quadruples.
inline search::Rows rowsOf(const QList<QStringList>& given)
{
    search::Rows rows;
    for (qsizetype i = 0; i < given.size(); ++i) {
        auto& row = rows[std::size_t(i)];
        row = {given[i].value(0), given[i].value(1), given[i].value(2), given[i].value(3)};
    }
    for (auto& row : rows) {
        if (row.campo.isEmpty())
            row = {search::QualquerCampo, QStringLiteral("contenha"), QString(), search::EO};
    }
    return rows;
}

} // namespace varemo::test
