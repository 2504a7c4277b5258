#include "search/marking.h"

#include "app/state.h"
#include "data/database.h"

namespace varemo::search {

namespace {

Database& databaseOf(AppState& state)
{
    if (!state.database)
        throw StorageBug("search without an open company file");
    return *state.database;
}

// Every statement goes through the shared SQL text, as the rest of the program builds them.
int execute(AppState& state, const QString& sql)
{
    state.sql = sql;
    return databaseOf(state).execute(state.sql);
}

std::unique_ptr<Recordset> openSet(AppState& state, const QString& sql, RecordsetType type)
{
    state.sql = sql;
    return databaseOf(state).openRecordset(state.sql, type);
}

void markRowByRow(AppState& state, Recordset& procura, const Criterion& criterion)
{
    state.searchResult = criterion.number;
    for (const int level : criterion.levels)
        markLevel(state, procura, level, criterion.number, criterion.op, criterion.content);
}

} // namespace

Prepared prepare(AppState& state)
{
    Database& database = databaseOf(state);
    state.searchResult = -1;
    {
        UnitOfWork unit(database);
        for (const QString& statement : preparationStatements())
            execute(state, statement);
        unit.commit();
    }
    Prepared prepared;
    prepared.procura = openSet(state, AbreProcura, RecordsetType::Dynaset);
    prepared.itens = openSet(state, itemPaths(), RecordsetType::Snapshot);
    return prepared;
}

void markLevel(
    AppState& state, Recordset& procura, int level, int number, const QString& op, const QString& content)
{
    const auto found = openSet(state, markerSql(level, op, content), RecordsetType::Dynaset);
    if (found->recordCount() > 0) {
        const QString column = markColumn(number);
        found->moveFirst();
        while (!found->eof()) {
            if (procura.findFirst(procuraCriteria(found->value(QStringLiteral("NivelCategoria4.Codigo"))))) {
                procura.edit();
                procura.setValue(column, true);
                procura.update();
            }
            found->moveNext();
        }
    }
    found->close();
}

int runSearch(AppState& state, const Rows& rows, Recordset* procura, Marking marking)
{
    Database& database = databaseOf(state);
    state.searchResult = 0;
    const Plan plan = planSearch(rows);
    if (plan.criteria.isEmpty())
        return state.searchResult;
    try {
        UnitOfWork unit(database);
        std::unique_ptr<Recordset> own;
        auto scratch = [&]() -> Recordset& {
            if (procura && procura->isOpen())
                return *procura;
            if (!own)
                own = openSet(state, AbreProcura, RecordsetType::Dynaset);
            return *own;
        };
        // A content holding an apostrophe ends its quotes early: only the markers' own texts
        // say what such a criterion does, so it keeps the row-by-row marking.
        QList<Criterion> plain;
        for (const Criterion& criterion : plan.criteria) {
            if (marking == Marking::Fast && criterion.plain())
                plain << criterion;
        }
        if (!plain.isEmpty()) {
            state.searchResult = plain.last().number;
            execute(state, fastMarkingSql(plain));
        }
        for (const Criterion& criterion : plan.criteria) {
            if (marking != Marking::Fast || !criterion.plain())
                markRowByRow(state, scratch(), criterion);
        }
        execute(state, plan.combiningSql());
        execute(state, MarcaItens);
        const auto count = openSet(state, ContaItens, RecordsetType::Snapshot);
        const int hits = count->value(CampoContagem).toInt();
        count->close();
        unit.commit();
        state.searchResult = hits;
    } catch (const JetError&) {
        state.searchResult = -1;
        throw;
    }
    return state.searchResult;
}

} // namespace varemo::search
