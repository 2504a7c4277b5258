// A find's criteria text, parsed, compiled and evaluated on fixed rows. Jet refuses a
// malformed text with one of its errors; nothing else may come out of the data layer.

#include "data/criteria.h"
#include "data/errors.h"

#include <QDate>
#include <QDateTime>

#include <cstdint>
#include <limits>

namespace {

using varemo::criteria::Row;

// The columns a find meets: an item's fields, a Yes/No, a date, a money value, an empty one.
const QStringList fields {QStringLiteral("codigo"), QStringLiteral("nome"),
    QStringLiteral("codigocategoria3"), QStringLiteral("marca"), QStringLiteral("datadocumento"),
    QStringLiteral("precounit"), QStringLiteral("obs"), QStringLiteral("nivelcategoria4.nome")};

// Rows at the edges of what the file can hold: the largest numbers, texts that look like
// numbers or dates, Nulls everywhere, a row narrower than the fields.
const QList<Row> rows {
    {qint64(7), QStringLiteral("Pão de açúcar"), qint64(3), true, QDate(2026, 3, 1), 12.5, QVariant(),
        QStringLiteral("Pão")},
    {std::numeric_limits<qint64>::max(), QStringLiteral("ÁGUA [1]*?#"), std::numeric_limits<qint64>::min(),
        false, QDateTime(QDate(1899, 12, 30), QTime(23, 59)), -0.0, QStringLiteral("12,5"),
        QStringLiteral("")},
    {QVariant(), QVariant(), QVariant(), QVariant(), QVariant(), QVariant(), QVariant(), QVariant()},
    {QStringLiteral("2026-03-01"), qint64(-1), QStringLiteral("True"), QStringLiteral("x"),
        QStringLiteral("2026-02-30 10:00:00"), std::numeric_limits<double>::infinity(), 1e308},
    {},
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    varemo::criteria::fieldEqualsNumber(text);
    try {
        const varemo::criteria::Predicate matches = varemo::criteria::compile(
            text, [](const QString& field) { return int(fields.indexOf(field.toLower())); });
        for (const Row& row : rows) {
            try {
                matches(row);
            } catch (const varemo::JetError&) {
                // a value of the wrong type for the expression: Jet's 3464
            }
        }
    } catch (const varemo::JetError&) {
        // a text Jet refuses
    }
    return 0;
}
