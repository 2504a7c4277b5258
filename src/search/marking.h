#pragma once

#include "data/recordset.h"
#include "search/criteria.h"

#include <memory>

namespace varemo {

struct AppState;

namespace search {

// What the window keeps open from its preparation until the search or the cancel.
struct Prepared {
    std::unique_ptr<Recordset> procura; // the scratch table, searched by Codigo
    std::unique_ptr<Recordset> itens; // every item's path
};

// Clears the previous hits and refills the scratch table with every item, all marks False,
// as one unit; the search result becomes -1. Throws JetError.
Prepared prepare(AppState& state);

enum class Marking {
    Fast, // one statement per criterion
    RowByRow, // each level marker's rows found and edited one by one in the scratch recordset
};

// Marks the items the filled rows select and returns the hit count, also left in
// state.searchResult (0 with no filled row). All or nothing: on a JetError the marks and
// the scratch table stay as the preparation left them, the result is -1 and the error
// propagates. `procura` is the prepared scratch recordset; without one a row-by-row
// marking opens its own.
int runSearch(
    AppState& state, const Rows& rows, Recordset* procura = nullptr, Marking marking = Marking::Fast);

// One level marker, row by row: every item it finds gets `Marca<number>` set in `procura`.
void markLevel(
    AppState& state, Recordset& procura, int level, int number, const QString& op, const QString& content);

} // namespace search
} // namespace varemo
