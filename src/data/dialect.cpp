#include "data/dialect.h"

#include "data/dialect_translator.h"

namespace varemo::dialect {

namespace detail {

namespace {

const QSet<QString>& stopWords()
{
    static const QSet<QString> words {
        QStringLiteral("AND"),
        QStringLiteral("OR"),
        QStringLiteral("NOT"),
        QStringLiteral("LIKE"),
        QStringLiteral("IS"),
        QStringLiteral("BETWEEN"),
        QStringLiteral("IN"),
        QStringLiteral("WHERE"),
        QStringLiteral("SET"),
        QStringLiteral("SELECT"),
        QStringLiteral("ON"),
        QStringLiteral("BY"),
        QStringLiteral("HAVING"),
        QStringLiteral("AS"),
        QStringLiteral("FROM"),
        QStringLiteral("ORDER"),
        QStringLiteral("GROUP"),
        QStringLiteral("VALUES"),
        QStringLiteral("XOR"),
        QStringLiteral("EQV"),
        QStringLiteral("IMP"),
        QStringLiteral("ASC"),
        QStringLiteral("DESC"),
        QStringLiteral("UNION"),
    };
    return words;
}

bool isValue(const Token& token)
{
    return token.kind == Kind::String || token.kind == Kind::Date || token.kind == Kind::Number
        || token.isWord("TRUE") || token.isWord("FALSE") || token.isWord("NULL");
}

} // namespace

QSet<QString> words(std::initializer_list<const char*> list)
{
    QSet<QString> out;
    for (const char* word : list)
        out.insert(QString::fromLatin1(word));
    return out;
}

QString quoted(const QString& name)
{
    QString inner = name;
    inner.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + inner + QLatin1Char('"');
}

bool isPlainName(const Token& token)
{
    return token.kind == Kind::Name && !jettext::isKeyword(token.text);
}

qsizetype Translator::next(qsizetype i) const
{
    while (i < m_tokens.size() && m_tokens[i].kind == Kind::Space)
        ++i;
    return i;
}

qsizetype Translator::previous(qsizetype i) const
{
    --i;
    while (i >= 0 && m_tokens[i].kind == Kind::Space)
        --i;
    return i;
}

qsizetype Translator::findWord(qsizetype from, qsizetype to, const QSet<QString>& wanted) const
{
    int depth = 0;
    for (qsizetype i = from; i < to; ++i) {
        const Token& token = m_tokens[i];
        if (token.isPunct('('))
            ++depth;
        else if (token.isPunct(')'))
            --depth;
        else if (depth == 0 && token.kind == Kind::Name && wanted.contains(token.text.toUpper()))
            return i;
    }
    return to;
}

QList<std::pair<qsizetype, qsizetype>> Translator::splitTop(qsizetype from, qsizetype to) const
{
    QList<std::pair<qsizetype, qsizetype>> items;
    int depth = 0;
    qsizetype start = from;
    for (qsizetype i = from; i < to; ++i) {
        if (m_tokens[i].isPunct('('))
            ++depth;
        else if (m_tokens[i].isPunct(')'))
            --depth;
        else if (depth == 0 && m_tokens[i].isPunct(',')) {
            items.push_back({start, i});
            start = i + 1;
        }
    }
    items.push_back({start, to});
    return items;
}

QString Translator::join(qsizetype from, qsizetype to) const
{
    QString out;
    for (qsizetype i = from; i < to; ++i) {
        const QString& piece = m_tokens[i].text;
        // Jet has no comments: "- -" and "/ *" must not reach SQLite as "--" or "/*".
        if (!out.isEmpty() && !piece.isEmpty()
            && ((out.back() == QLatin1Char('-') && piece.front() == QLatin1Char('-'))
                || (out.back() == QLatin1Char('/') && piece.front() == QLatin1Char('*'))))
            out += QLatin1Char(' ');
        out += piece;
    }
    return out.trimmed();
}

bool Translator::isStop(const Token& token) const
{
    if (token.kind == Kind::Operator)
        return QStringList {QStringLiteral("="), QStringLiteral("<>"), QStringLiteral("<"),
            QStringLiteral(">"), QStringLiteral("<="), QStringLiteral(">="), QStringLiteral("&")}
            .contains(token.text);
    if (token.kind == Kind::Punct)
        return token.isPunct(',') || token.isPunct(';');
    return token.kind == Kind::Name && stopWords().contains(token.text.toUpper());
}

// The first token of the operand that ends just before `before` (an operator's position).
qsizetype Translator::operandStart(qsizetype before) const
{
    int depth = 0;
    qsizetype start = before;
    while (start > 0) {
        const Token& token = m_tokens[start - 1];
        if (token.isPunct(')'))
            ++depth;
        else if (token.isPunct('(')) {
            if (depth == 0)
                break;
            --depth;
        } else if (depth == 0 && isStop(token))
            break;
        --start;
    }
    return start;
}

// One past the last token of the operand that starts just after `after`.
qsizetype Translator::operandEnd(qsizetype after) const
{
    int depth = 0;
    qsizetype end = after + 1;
    while (end < m_tokens.size()) {
        const Token& token = m_tokens[end];
        if (token.isPunct('('))
            ++depth;
        else if (token.isPunct(')')) {
            if (depth == 0)
                break;
            --depth;
        } else if (depth == 0 && isStop(token))
            break;
        ++end;
    }
    return end;
}

void Translator::replace(qsizetype from, qsizetype to, const QString& raw)
{
    m_tokens.remove(from, to - from);
    m_tokens.insert(from, Token {Kind::Raw, QLatin1Char(' ') + raw + QLatin1Char(' ')});
}

// What Jet refuses as a malformed text: one statement only, known operators, and no two
// values side by side. The last catches a name whose apostrophes cut its quotes into
// pieces ("'D'Avila'") before SQLite could read the pieces as an alias or a new clause.
void Translator::checkShape()
{
    static const QStringList knownOperators {QStringLiteral("="), QStringLiteral("<>"), QStringLiteral("<"),
        QStringLiteral(">"), QStringLiteral("<="), QStringLiteral(">="), QStringLiteral("+"),
        QStringLiteral("-"), QStringLiteral("*"), QStringLiteral("/"), QStringLiteral("&"),
        QStringLiteral("\\"), QStringLiteral("^")};
    for (qsizetype i = 0; i < m_tokens.size(); ++i) {
        const Token& token = m_tokens[i];
        if (token.kind == Kind::Operator && !knownOperators.contains(token.text))
            fail();
        if (token.isPunct('.'))
            fail();
        if (token.isPunct(';')) {
            if (next(i + 1) < m_tokens.size())
                throw JetError(jet::CharactersAfterEnd,
                    QStringLiteral("Caracteres encontrados após o fim da instrução SQL."));
            m_tokens.resize(i);
            break;
        }
    }
    for (qsizetype i = next(0), j = next(i + 1); j < m_tokens.size(); i = j, j = next(j + 1)) {
        const Token& a = m_tokens[i];
        const Token& b = m_tokens[j];
        const qsizetype beforeA = previous(i);
        const bool afterTop = beforeA >= 0 && m_tokens[beforeA].isWord("TOP");
        if (isValue(a) && (isValue(b) || (isPlainName(b) && !afterTop) || b.isPunct('(')))
            fail();
        if (isPlainName(a) && isValue(b))
            fail();
        if (a.isPunct(')') && isValue(b))
            fail();
    }
}

void Translator::rewriteLiterals()
{
    static const QHash<QString, QString> functions {
        {QStringLiteral("UCASE"), QStringLiteral("upper")},
        {QStringLiteral("LCASE"), QStringLiteral("lower")},
        {QStringLiteral("LEN"), QStringLiteral("length")},
        {QStringLiteral("NZ"), QStringLiteral("coalesce")},
        {QStringLiteral("IIF"), QStringLiteral("iif")},
        {QStringLiteral("MID"), QStringLiteral("substr")},
    };
    for (qsizetype i = 0; i < m_tokens.size(); ++i) {
        Token& token = m_tokens[i];
        if (token.kind == Kind::Date) {
            const QDate date = jettext::dateValue(token);
            if (!date.isValid())
                fail();
            token = {Kind::Raw, jettext::sqlString(date.toString(Qt::ISODate))};
        } else if (token.kind == Kind::String && token.text.startsWith(QLatin1Char('"'))) {
            token.text = jettext::sqlString(jettext::stringValue(token));
        } else if (token.isWord("TRUE") || token.isWord("FALSE")) {
            token = {Kind::Raw, token.isWord("TRUE") ? QStringLiteral("1") : QStringLiteral("0")};
        } else if (token.isWord("MOD")) {
            token = {Kind::Operator, QStringLiteral("%")};
        } else if (token.isOperator("/")) {
            // Jet divides as floating point; SQLite would truncate two integers.
            token = {Kind::Raw, QStringLiteral(" * 1.0 / ")};
        } else if (token.kind == Kind::Name && next(i + 1) < m_tokens.size()
            && m_tokens[next(i + 1)].isPunct('(')) {
            token.text = functions.value(token.text.toUpper(), token.text);
        }
    }
}

// Jet's "a & b" joins texts (SQLite's "&" is a bitwise AND). Left to right, so that
// "a & b & c" nests.
void Translator::rewriteConcatenation()
{
    for (qsizetype at = 0; at < m_tokens.size(); ++at) {
        if (!m_tokens[at].isOperator("&"))
            continue;
        const qsizetype start = operandStart(at);
        const qsizetype end = operandEnd(at);
        const QString left = join(start, at);
        const QString right = join(at + 1, end);
        if (left.isEmpty() || right.isEmpty())
            fail();
        replace(start, end,
            m_target.server ? serverConcat(left, right)
                            : QStringLiteral("jet_concat(%1, %2)").arg(left, right));
        at = start;
    }
}

// "x Like p" and "x Not Like p" become calls of our jet_like, which knows Jet's
// wildcards and folds text as the collation does.
void Translator::rewriteLike()
{
    for (qsizetype at = 0; at < m_tokens.size(); ++at) {
        if (!m_tokens[at].isWord("LIKE"))
            continue;
        const qsizetype before = previous(at);
        const bool negated = before >= 0 && m_tokens[before].isWord("NOT");
        const qsizetype leftEnd = negated ? before : at;
        const qsizetype start = operandStart(leftEnd);
        const qsizetype end = operandEnd(at);
        const QString left = join(start, leftEnd);
        QString right = join(at + 1, end);
        if (left.isEmpty() || right.isEmpty())
            fail();
        const qsizetype patternAt = next(at + 1);
        const bool literal = next(patternAt + 1) == end && m_tokens[patternAt].kind == Kind::String;
        QString call;
        if (literal) {
            const QString pattern = jettext::stringValue(m_tokens[patternAt]);
            if (!jettext::likePatternValid(pattern))
                fail();
            right = jettext::sqlString(pattern);
            if (m_target.server)
                call = serverLike(left, pattern);
        }
        if (call.isEmpty())
            call = m_target.server ? serverLikeExpression(left, right)
                                   : QStringLiteral("jet_like(%1, %2)").arg(left, right);
        replace(start, end, negated ? QStringLiteral("NOT ") + call : call);
        at = start;
    }
}

// Whether the parenthesised list opening at `open` holds a text literal.
bool Translator::listHoldsText(qsizetype open) const
{
    if (open >= m_tokens.size() || !m_tokens[open].isPunct('('))
        return false;
    int depth = 0;
    for (qsizetype i = open; i < m_tokens.size(); ++i) {
        if (m_tokens[i].isPunct('('))
            ++depth;
        else if (m_tokens[i].isPunct(')') && --depth == 0)
            return false;
        else if (m_tokens[i].kind == Kind::String)
            return true;
    }
    return false;
}

// Text literals carry our collation, so that "=", "<", ">" and BETWEEN with them compare
// as Jet does whatever collation the column was declared with; "x IN ('a', ...)" takes
// its collation from x (a list of numbers keeps x's index usable).
void Translator::collateText()
{
    for (qsizetype i = 0; i < m_tokens.size(); ++i) {
        Token& token = m_tokens[i];
        if (token.kind == Kind::String) {
            token = {Kind::Raw, token.text + Collate};
        } else if (token.isWord("IN") && listHoldsText(next(i + 1))) {
            const qsizetype before = previous(i);
            const qsizetype leftEnd = before >= 0 && m_tokens[before].isWord("NOT") ? before : i;
            const qsizetype start = operandStart(leftEnd);
            if (start == leftEnd)
                fail();
            const QString left = join(start, leftEnd);
            // The server refuses a collation on a number: a code looked up in a subquery whose
            // own condition names a text keeps its type.
            if (m_target.server && m_tokens[next(next(i + 1) + 1)].isWord("SELECT")
                && !m_target.textFields.contains(
                    jettext::unbracket(left.trimmed()).section(QLatin1Char('.'), -1).toLower()))
                continue;
            const qsizetype shift = leftEnd - start - 1;
            replace(start, leftEnd, QLatin1Char('(') + left + QLatin1Char(')') + Collate);
            i -= shift;
        }
    }
}

// Every ORDER BY / GROUP BY term orders text as Jet does.
void Translator::collateOrdering(const char* firstWord)
{
    const qsizetype word = findWord(0, m_tokens.size(), words({firstWord}));
    if (word == m_tokens.size())
        return;
    const qsizetype by = next(word + 1);
    if (by == m_tokens.size() || !m_tokens[by].isWord("BY"))
        fail();
    const qsizetype end = findWord(by + 1, m_tokens.size(), words({"HAVING", "ORDER", "UNION"}));
    const auto items = splitTop(by + 1, end);
    for (auto it = items.crbegin(); it != items.crend(); ++it) {
        qsizetype last = previous(it->second);
        if (last < it->first)
            fail();
        QString direction;
        if (m_tokens[last].isWord("ASC") || m_tokens[last].isWord("DESC")) {
            direction = QLatin1Char(' ') + m_tokens[last].text.toUpper();
            last = previous(last);
            if (last < it->first)
                fail();
        }
        const qsizetype first = next(it->first);
        if (m_target.server) {
            serverOrdering(first, last, it->second, direction, qstrcmp(firstWord, "ORDER") == 0);
            continue;
        }
        if (first == last && m_tokens[first].kind == Kind::Number)
            continue; // a column number, which a collation would turn into a constant
        const QString term = join(first, last + 1);
        const bool simple = first == last && m_tokens[first].kind == Kind::Name;
        replace(first, it->second,
            (simple ? term : QLatin1Char('(') + term + QLatin1Char(')')) + Collate + direction);
    }
}

// On the server only the fields known to hold text take the collation (it refuses one on
// numbers and dates), and Null sorts first as in Jet and SQLite, not last.
void Translator::serverOrdering(
    qsizetype first, qsizetype last, qsizetype end, const QString& direction, bool ordering)
{
    QString term = join(first, last + 1);
    const bool simple = first == last && m_tokens[first].kind == Kind::Name;
    if (simple
        && m_target.textFields.contains(jettext::unbracket(term).section(QLatin1Char('.'), -1).toLower()))
        term += Collate;
    if (ordering)
        term += direction
            + (direction.contains(QLatin1String("DESC")) ? QStringLiteral(" NULLS LAST")
                                                         : QStringLiteral(" NULLS FIRST"));
    else
        term += direction;
    replace(first, end, term);
}

Translation Translator::run()
{
    const auto tokens = jettext::tokenize(m_text);
    if (!tokens)
        fail();
    m_tokens = *tokens;
    checkShape();
    const qsizetype first = next(0);
    if (first == m_tokens.size())
        fail();
    if (next(first + 1) == m_tokens.size() && isPlainName(m_tokens[first])
        && m_catalog.contains(jettext::unbracket(m_tokens[first].text).toLower())) {
        // A table opened by its name.
        const Token table = m_tokens[first];
        m_tokens = jettext::tokenize(QStringLiteral("SELECT * FROM ") + table.text).value();
        return select(0);
    }
    rewriteLiterals();
    rewriteConcatenation();
    rewriteLike();
    collateText();
    if (m_target.server)
        rewriteIif();
    const Token& head = m_tokens[first];
    if (head.isWord("SELECT")) {
        collateOrdering("GROUP");
        collateOrdering("ORDER");
        return select(first);
    }
    if (head.isWord("DELETE"))
        return remove(first);
    if (head.isWord("INSERT"))
        return insert(first);
    if (head.isWord("UPDATE"))
        return update(first);
    // Anything else would reach the engine as it is: a COMMIT or a ROLLBACK would end the
    // action's transaction halfway, a PRAGMA or an ATTACH change the connection itself.
    throw JetError(jet::InvalidStatement,
        QStringLiteral(
            "Instrução SQL inválida; 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT' ou 'UPDATE' esperado."));
}

} // namespace detail

Translation translate(const QString& jetText, const Catalog& catalog)
{
    static const Target sqlite;
    return detail::Translator(jetText, catalog, sqlite).run();
}

Translation translate(const QString& jetText, const Catalog& catalog, const Target& target)
{
    return detail::Translator(jetText, catalog, target).run();
}

} // namespace varemo::dialect
