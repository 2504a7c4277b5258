#pragma once

#include <QString>
#include <QVariant>
#include <QVector>

#include <functional>
#include <optional>

namespace varemo::criteria {

using Row = QVector<QVariant>;
// A field name as written in the criteria ("Nome", "NivelCategoria4.Codigo") to its
// column index in the row, or -1 when the recordset has no such field.
using Resolver = std::function<int(const QString& field)>;
using Predicate = std::function<bool(const Row&)>;

// A find's criteria text parsed once and compiled to a predicate over a row; compares
// text as the database does. Throws JetError for a text Jet would refuse.
Predicate compile(const QString& text, const Resolver& resolve);

// "Field = 17": the finds that an index can answer.
struct FieldEqualsNumber {
    QString field;
    qint64 number = 0;
};
std::optional<FieldEqualsNumber> fieldEqualsNumber(const QString& text);

} // namespace varemo::criteria
