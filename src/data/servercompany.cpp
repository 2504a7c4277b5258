#include "data/servercompany.h"

#include "data/errors.h"
#include "data/schema.h"

#include <QDate>
#include <QSqlError>
#include <QSqlQuery>

namespace varemo::servercompany {

namespace {

// Rows per INSERT: few round trips, statements of a reasonable size.
constexpr int Batch = 500;

QString literal(const QVariant& value)
{
    if (value.isNull())
        return QStringLiteral("NULL");
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return QString::number(value.toLongLong());
    case QMetaType::Double:
        return QString::number(value.toDouble(), 'g', 17);
    case QMetaType::QDate:
        return QLatin1Char('\'') + value.toDate().toString(Qt::ISODate) + QLatin1Char('\'');
    default: {
        QString text = value.toString();
        text.replace(QLatin1Char('\''), QLatin1String("''"));
        return QLatin1Char('\'') + text + QLatin1Char('\'');
    }
    }
}

void run(QSqlQuery& query, const QString& statement)
{
    if (!query.exec(statement))
        throw JetError(jet::GeneralError, query.lastError().text());
}

void copyTable(QSqlDatabase& from, QSqlQuery& insert, const QString& table)
{
    const QStringList columns = schema::columnNames(table);
    run(insert, QStringLiteral("DELETE FROM %1").arg(table));
    QSqlQuery rows(from);
    rows.setForwardOnly(true);
    if (!rows.exec(QStringLiteral("SELECT rowid, %1 FROM %2 ORDER BY rowid")
                       .arg(columns.join(QLatin1String(", ")), table)))
        throw JetError(jet::GeneralError, rows.lastError().text());
    const QString head
        = QStringLiteral("INSERT INTO %1 (rowid, %2) VALUES ").arg(table, columns.join(QLatin1String(", ")));
    QStringList values;
    const auto flush = [&] {
        if (!values.isEmpty())
            run(insert, head + values.join(QLatin1String(", ")));
        values.clear();
    };
    while (rows.next()) {
        QStringList row;
        for (int c = 0; c <= columns.size(); ++c)
            row << literal(rows.value(c));
        values << QLatin1Char('(') + row.join(QLatin1String(", ")) + QLatin1Char(')');
        if (values.size() == Batch)
            flush();
    }
    flush();
}

} // namespace

void copy(QSqlDatabase& file, QSqlDatabase& server)
{
    schema::create(server);
    QSqlQuery insert(server);
    run(insert, QStringLiteral("BEGIN"));
    try {
        copyRows(file, server);
    } catch (const JetError&) {
        insert.exec(QStringLiteral("ROLLBACK"));
        throw;
    }
    run(insert, QStringLiteral("COMMIT"));
}

void copyRows(QSqlDatabase& from, QSqlDatabase& to)
{
    QSqlQuery insert(to);
    // A table missing on either side (a test that dropped it) has nothing to carry over.
    const auto present = [](const QSqlDatabase& database) {
        QStringList names = database.tables();
        for (QString& name : names)
            name = name.toLower();
        return names;
    };
    const QStringList source = present(from);
    const QStringList target = present(to);
    for (const QString& table : schema::tableNames()) {
        if (source.contains(table.toLower()) && target.contains(table.toLower()))
            copyTable(from, insert, table);
    }
    schema::resetKeys(to);
}

} // namespace varemo::servercompany
