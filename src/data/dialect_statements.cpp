// The statements whose shape differs between Jet and SQLite: SELECT (the result's names),
// DELETE, INSERT ... SELECT and the multi-table UPDATE.

#include "data/dialect_translator.h"

namespace varemo::dialect::detail {

Translator::From Translator::parseFrom(qsizetype from, qsizetype to) const
{
    From result;
    bool expectTable = true;
    int depth = 0;
    int onDepth = -1; // the depth an ON condition started at, -1 outside one
    qsizetype onStart = 0;
    const auto endOn = [&](qsizetype at) {
        result.onConditions.push_back({onStart, at});
        onDepth = -1;
    };
    for (qsizetype i = from; i < to; ++i) {
        const Token& token = m_tokens[i];
        if (token.kind == Kind::Space)
            continue;
        if (token.isPunct('(')) {
            ++depth;
        } else if (token.isPunct(')')) {
            if (onDepth >= 0 && depth == onDepth)
                endOn(i);
            --depth;
        } else if (token.isPunct(',') && (onDepth < 0 || depth == onDepth)) {
            if (onDepth >= 0)
                endOn(i);
            expectTable = true;
            result.joins = true;
        } else if (token.isWord("JOIN")) {
            expectTable = true;
            result.joins = true;
        } else if (token.isWord("INNER") || token.isWord("LEFT") || token.isWord("RIGHT")) {
            if (onDepth >= 0)
                endOn(i);
        } else if (token.isWord("ON")) {
            onDepth = depth;
            onStart = i + 1;
        } else if (expectTable && onDepth < 0 && isPlainName(token)) {
            Table table {jettext::unbracket(token.text), token.text};
            qsizetype after = next(i + 1);
            if (after < to && m_tokens[after].isWord("AS"))
                after = next(after + 1);
            if (after < to && isPlainName(m_tokens[after])) {
                table.ref = m_tokens[after].text;
                i = after;
            }
            result.tables.push_back(table);
            expectTable = false;
        } else if (expectTable && onDepth < 0) {
            fail(); // a sub-query or a keyword where a table belongs
        }
    }
    if (onDepth >= 0)
        endOn(to);
    return result;
}

const QStringList& Translator::fieldsOf(const QString& table) const
{
    const auto found = m_catalog.constFind(table.toLower());
    if (found == m_catalog.cend())
        throw JetError(jet::ObjectNotFound,
            QStringLiteral("O mecanismo de banco de dados não pode encontrar a tabela ou consulta de "
                           "entrada '%1'. Certifique-se de que ela existe e que seu nome está "
                           "digitado corretamente.")
                .arg(table));
    return *found;
}

Translation Translator::select(qsizetype at)
{
    Translation translation;
    translation.returnsRows = true;
    qsizetype listStart = at + 1;
    QString head = QStringLiteral("SELECT ");
    QString limit;
    bool distinct = false;
    for (qsizetype word = next(listStart); word < m_tokens.size(); word = next(listStart)) {
        const Token& token = m_tokens[word];
        if (token.isWord("DISTINCT")) {
            head += QStringLiteral("DISTINCT ");
            distinct = true;
        } else if (token.isWord("TOP")) {
            const qsizetype count = next(word + 1);
            if (count == m_tokens.size() || m_tokens[count].kind != Kind::Number)
                fail();
            limit = QStringLiteral(" LIMIT ") + m_tokens[count].text;
            listStart = count;
            distinct = true; // a cut list is no longer the table's rows
        } else if (!token.isWord("DISTINCTROW") && !token.isWord("ALL")) {
            break;
        }
        listStart = next(listStart) + 1;
    }
    const qsizetype fromAt = findWord(listStart, m_tokens.size(), words({"FROM"}));
    const qsizetype fromEnd
        = findWord(fromAt, m_tokens.size(), words({"WHERE", "GROUP", "HAVING", "ORDER", "UNION"}));
    const From from = fromAt < m_tokens.size() ? parseFrom(fromAt + 1, fromEnd) : From {};
    const bool joined = from.joins || from.tables.size() > 1;
    const auto owner = [&](const QString& ref) {
        for (const Table& table : from.tables) {
            if (jettext::unbracket(table.ref).compare(jettext::unbracket(ref), Qt::CaseInsensitive) == 0)
                return table;
        }
        return Table {jettext::unbracket(ref), ref};
    };

    QStringList pieces;
    bool computed = false;
    const auto addField = [&](const QString& ref, const QString& field, const QString& name) {
        pieces << ref + QLatin1Char('.') + quoted(field) + QStringLiteral(" AS ") + quoted(name);
        translation.columns << name;
    };
    for (const auto& [start, end] : splitTop(listStart, fromAt)) {
        const qsizetype first = next(start);
        const qsizetype last = previous(end);
        if (first > last)
            fail();
        const Token& item = m_tokens[first];
        if (first == last && item.isOperator("*")) {
            for (const Table& table : from.tables) {
                for (const QString& field : fieldsOf(table.name))
                    addField(table.ref, field,
                        joined ? jettext::unbracket(table.ref) + QLatin1Char('.') + field : field);
            }
        } else if (first == last && item.kind == Kind::Name && item.text.endsWith(QLatin1String(".*"))) {
            const Table table = owner(item.text.chopped(2));
            for (const QString& field : fieldsOf(table.name))
                addField(table.ref, field,
                    joined ? jettext::unbracket(table.ref) + QLatin1Char('.') + field : field);
        } else if (first == last && isPlainName(item)) {
            const QString name = jettext::unbracket(item.text);
            const QString field = name.section(QLatin1Char('.'), -1);
            pieces << item.text + QStringLiteral(" AS ") + quoted(joined ? name : field);
            translation.columns << (joined ? name : field);
        } else {
            computed = true;
            QString name = QStringLiteral("Expr%1").arg(1000 + translation.columns.size());
            qsizetype exprEnd = last + 1;
            const qsizetype as = previous(last);
            if (as > first && m_tokens[as].isWord("AS") && isPlainName(m_tokens[last])) {
                name = jettext::unbracket(m_tokens[last].text);
                exprEnd = as;
            }
            pieces << join(first, exprEnd) + QStringLiteral(" AS ") + quoted(name);
            translation.columns << name;
        }
    }
    const bool grouped
        = findWord(fromEnd, m_tokens.size(), words({"GROUP", "HAVING", "UNION"})) < m_tokens.size();
    if (from.tables.size() == 1 && !joined && !computed && !distinct && !grouped
        && m_catalog.contains(from.tables.front().name.toLower())) {
        translation.baseTable = from.tables.front().name;
        translation.rowidColumn = RowidName;
        pieces << from.tables.front().ref + QStringLiteral(".rowid AS ") + quoted(RowidName);
    }
    translation.sql
        = head + pieces.join(QStringLiteral(", ")) + QLatin1Char(' ') + join(fromAt, m_tokens.size()) + limit;
    return translation;
}

// "DELETE * FROM T ..." and "DELETE T.* FROM T ..." are SQLite's "DELETE FROM T ...";
// over a join, the rows of the first (or the starred) table that the join selects.
Translation Translator::remove(qsizetype at)
{
    const qsizetype fromAt = findWord(at + 1, m_tokens.size(), words({"FROM"}));
    if (fromAt == m_tokens.size())
        fail();
    QString target;
    const qsizetype star = next(at + 1);
    if (star < fromAt) {
        if (next(star + 1) != fromAt)
            fail();
        if (m_tokens[star].kind == Kind::Name && m_tokens[star].text.endsWith(QLatin1String(".*")))
            target = m_tokens[star].text.chopped(2);
        else if (!m_tokens[star].isOperator("*"))
            fail();
    }
    const qsizetype whereAt = findWord(fromAt, m_tokens.size(), words({"WHERE"}));
    const From from = parseFrom(fromAt + 1, whereAt);
    if (from.tables.isEmpty())
        fail();
    Translation translation;
    if (!from.joins) {
        translation.sql = QStringLiteral("DELETE ") + join(fromAt, m_tokens.size());
        return translation;
    }
    if (target.isEmpty())
        target = from.tables.front().ref;
    QString table = jettext::unbracket(target);
    for (const Table& candidate : from.tables) {
        if (jettext::unbracket(candidate.ref).compare(table, Qt::CaseInsensitive) == 0)
            table = candidate.name;
    }
    translation.sql = QStringLiteral("DELETE FROM %1 WHERE rowid IN (SELECT %2.rowid %3)")
                          .arg(quoted(table), target, join(fromAt, m_tokens.size()));
    return translation;
}

// Jet fills "INSERT INTO T SELECT a, b ..." by the names of the selected columns; SQLite
// wants them listed.
Translation Translator::insert(qsizetype at)
{
    const qsizetype into = next(at + 1);
    const qsizetype table = next(into + 1);
    if (table >= m_tokens.size() || !m_tokens[into].isWord("INTO") || !isPlainName(m_tokens[table]))
        fail();
    const qsizetype selectAt = next(table + 1);
    Translation translation;
    if (selectAt < m_tokens.size() && m_tokens[selectAt].isWord("SELECT")) {
        const qsizetype fromAt = findWord(selectAt + 1, m_tokens.size(), words({"FROM"}));
        QStringList names;
        for (const auto& [start, end] : splitTop(selectAt + 1, fromAt)) {
            const qsizetype last = previous(end);
            if (last < start)
                fail();
            const Token& token = m_tokens[last];
            if (token.isOperator("*") || token.text.endsWith(QLatin1String(".*"))) {
                names.clear(); // all of them, in the table's order
                break;
            }
            const qsizetype before = previous(last);
            const bool named = isPlainName(token) && (before < start || m_tokens[before].isWord("AS"));
            if (!named)
                throw JetError(jet::UnknownField,
                    QStringLiteral("O destino da instrução INSERT INTO contém um nome de campo "
                                   "desconhecido '%1'.")
                        .arg(QStringLiteral("Expr%1").arg(1000 + names.size())));
            names << jettext::unbracket(token.text).section(QLatin1Char('.'), -1);
        }
        const QString columns = names.isEmpty()
            ? QString()
            : QLatin1Char('(') + names.join(QStringLiteral(", ")) + QStringLiteral(") ");
        translation.sql = join(0, selectAt) + QLatin1Char(' ') + columns + join(selectAt, m_tokens.size());
    } else {
        translation.sql = join(0, m_tokens.size());
    }
    return translation;
}

// "UPDATE A, B SET A.x = ... WHERE ..." (or "UPDATE A INNER JOIN B ON ... SET ...") is
// SQLite's "UPDATE A SET x = ... FROM B WHERE ...": the table the assignments name is
// updated, the others join it.
Translation Translator::update(qsizetype at)
{
    const qsizetype setAt = findWord(at + 1, m_tokens.size(), words({"SET"}));
    if (setAt == m_tokens.size())
        fail();
    const qsizetype whereAt = findWord(setAt + 1, m_tokens.size(), words({"WHERE"}));
    const From from = parseFrom(at + 1, setAt);
    if (from.tables.isEmpty())
        fail();
    QString target;
    QStringList assignments;
    bool valuesReadNoColumn = true;
    for (const auto& [start, end] : splitTop(setAt + 1, whereAt)) {
        const qsizetype field = next(start);
        if (field >= end || !isPlainName(m_tokens[field]))
            fail();
        const QString name = m_tokens[field].text;
        QString owner = from.tables.front().ref;
        QString column = name;
        if (name.contains(QLatin1Char('.'))) {
            owner = name.left(name.lastIndexOf(QLatin1Char('.')));
            column = name.mid(name.lastIndexOf(QLatin1Char('.')) + 1);
        }
        if (!target.isEmpty()
            && jettext::unbracket(owner).compare(jettext::unbracket(target), Qt::CaseInsensitive) != 0)
            throw JetError(
                jet::MustBeUpdatableQuery, QStringLiteral("A operação deve usar uma consulta atualizável."));
        target = owner;
        assignments << column + QLatin1Char(' ') + join(field + 1, end);
        for (qsizetype i = field + 1; i < end; ++i)
            valuesReadNoColumn = valuesReadNoColumn && !isPlainName(m_tokens[i]);
    }
    Translation translation;
    QString targetTable;
    QStringList others;
    for (const Table& table : from.tables) {
        if (targetTable.isEmpty()
            && jettext::unbracket(table.ref).compare(jettext::unbracket(target), Qt::CaseInsensitive) == 0)
            targetTable
                = table.ref == table.name ? table.name : table.name + QStringLiteral(" AS ") + table.ref;
        else
            others << (table.ref == table.name ? table.name
                                               : table.name + QStringLiteral(" AS ") + table.ref);
    }
    if (targetTable.isEmpty())
        fail();
    QStringList conditions;
    for (const auto& [start, end] : from.onConditions)
        conditions << QLatin1Char('(') + join(start, end) + QLatin1Char(')');
    if (whereAt < m_tokens.size())
        conditions << QLatin1Char('(') + join(whereAt + 1, m_tokens.size()) + QLatin1Char(')');
    // SQLite writes an UPDATE ... FROM's whole join out before it updates; when the new values
    // are constants, the target's rows are picked by a list of rowids the join finds instead,
    // one pass over the target without that copy.
    if (!m_target.server && !others.isEmpty() && valuesReadNoColumn && targetTable == target) {
        translation.sql = QStringLiteral("UPDATE ") + targetTable + QStringLiteral(" SET ")
            + assignments.join(QStringLiteral(", ")) + QStringLiteral(" WHERE rowid IN (SELECT ")
            + targetTable + QStringLiteral(".rowid FROM ") + targetTable + QStringLiteral(", ")
            + others.join(QStringLiteral(", "));
        if (!conditions.isEmpty())
            translation.sql += QStringLiteral(" WHERE ") + conditions.join(QStringLiteral(" AND "));
        translation.sql += QLatin1Char(')');
        return translation;
    }
    translation.sql = QStringLiteral("UPDATE ") + targetTable + QStringLiteral(" SET ")
        + assignments.join(QStringLiteral(", "));
    if (!others.isEmpty())
        translation.sql += QStringLiteral(" FROM ") + others.join(QStringLiteral(", "));
    if (!conditions.isEmpty())
        translation.sql += QStringLiteral(" WHERE ") + conditions.join(QStringLiteral(" AND "));
    return translation;
}

} // namespace varemo::dialect::detail
