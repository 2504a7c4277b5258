#include "data/criteria.h"

#include "data/dialect.h"
#include "data/errors.h"
#include "data/jettext.h"

#include <QDateTime>

#include <limits>

namespace varemo::criteria {

namespace {

using jettext::Kind;
using jettext::Token;
// An expression over a row; a null QVariant is Jet's Null.
using Value = std::function<QVariant(const Row&)>;

JetError typeMismatch()
{
    return JetError(
        jet::TypeMismatch, QStringLiteral("Tipo de dados incompatível na expressão de critério."));
}

JetError tooComplex()
{
    return JetError(jet::QueryTooComplex, QStringLiteral("Consulta muito complexa."));
}

bool isNull(const QVariant& value)
{
    return value.isNull() || !value.isValid();
}

bool isText(const QVariant& value)
{
    return value.typeId() == QMetaType::QString;
}

bool isBool(const QVariant& value)
{
    return value.typeId() == QMetaType::Bool;
}

bool isDate(const QVariant& value)
{
    return value.typeId() == QMetaType::QDate || value.typeId() == QMetaType::QDateTime;
}

bool isIntegral(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return true;
    default:
        return false;
    }
}

double number(const QVariant& value)
{
    if (isBool(value))
        return value.toBool() ? -1 : 0;
    bool ok = false;
    const double result = isText(value)
        ? value.toString().trimmed().replace(QLatin1Char(','), QLatin1Char('.')).toDouble(&ok)
        : value.toDouble(&ok);
    if (!ok)
        throw typeMismatch();
    return result;
}

bool truth(const QVariant& value)
{
    if (isBool(value))
        return value.toBool();
    if (isText(value)) {
        const QString text = value.toString().trimmed();
        if (text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0)
            return true;
        if (text.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0)
            return false;
    }
    return number(value) != 0;
}

QDateTime moment(const QVariant& value)
{
    if (value.typeId() == QMetaType::QDate)
        return value.toDate().startOfDay();
    if (value.typeId() == QMetaType::QDateTime)
        return value.toDateTime();
    // Stored dates are ISO text: "2026-03-01" or "2026-03-01 10:30:00".
    QString text = value.toString().trimmed();
    text.replace(QLatin1Char(' '), QLatin1Char('T'));
    QDateTime parsed = QDateTime::fromString(text, Qt::ISODate);
    if (!parsed.isValid()) {
        const QDate day = QDate::fromString(text.left(10), Qt::ISODate);
        if (!day.isValid())
            throw typeMismatch();
        parsed = day.startOfDay();
    }
    return parsed;
}

template<typename T> int order(const T& a, const T& b)
{
    return a < b ? -1 : (b < a ? 1 : 0);
}

// Compares two non-null values as Jet does; a Yes/No against a number is true for any
// non-zero number, whatever the file stored for True.
int compareValues(const QVariant& a, const QVariant& b)
{
    if (isText(a) && isText(b))
        return jettext::compareText(a.toString(), b.toString());
    if (isBool(a) || isBool(b))
        return order(truth(a) ? -1 : 0, truth(b) ? -1 : 0); // True is -1 in Jet
    if (isDate(a) || isDate(b))
        return order(moment(a), moment(b));
    if (isIntegral(a) && isIntegral(b))
        return order(a.toLongLong(), b.toLongLong());
    return order(number(a), number(b));
}

QVariant logical(bool value)
{
    return QVariant(value);
}

class Parser {
public:
    Parser(const QString& text, const Resolver& resolve)
        : m_text(text)
        , m_resolve(resolve)
    {
        const auto tokens = jettext::tokenize(text);
        if (!tokens)
            fail();
        for (const Token& token : *tokens) {
            if (token.kind != Kind::Space)
                m_tokens.push_back(token);
        }
        while (!m_tokens.isEmpty() && m_tokens.back().isPunct(';'))
            m_tokens.removeLast();
    }

    Value parse()
    {
        if (m_tokens.isEmpty())
            fail();
        Value value = orExpression();
        if (m_at != m_tokens.size())
            fail();
        return value;
    }

private:
    [[noreturn]] void fail() const { throw dialect::syntaxErrorInExpression(m_text); }
    const Token* peek(qsizetype ahead = 0) const
    {
        return m_at + ahead < m_tokens.size() ? &m_tokens[m_at + ahead] : nullptr;
    }
    bool word(const char* upper, qsizetype ahead = 0) const
    {
        const Token* token = peek(ahead);
        return token && token->isWord(upper);
    }
    bool takeWord(const char* upper)
    {
        if (!word(upper))
            return false;
        take();
        return true;
    }
    bool takeOperator(const char* op)
    {
        const Token* token = peek();
        if (!token || !token->isOperator(op))
            return false;
        take();
        return true;
    }
    // Every operator and parenthesis nests the compiled expression one call deeper, when it
    // is parsed and on every row; past a few hundred Jet gives up too, and so must we before
    // the stack does.
    void take()
    {
        ++m_at;
        if (++m_operators > MaxOperators)
            throw tooComplex();
    }
    static constexpr int MaxOperators = 256;
    void expectPunct(char c)
    {
        const Token* token = peek();
        if (!token || !token->isPunct(c))
            fail();
        ++m_at;
    }

    Value orExpression();
    Value andExpression();
    Value notExpression();
    Value comparison();
    Value concatenation();
    Value additive();
    Value term();
    Value unary();
    Value primary();

    const QString& m_text;
    const Resolver& m_resolve;
    QVector<Token> m_tokens;
    qsizetype m_at = 0;
    int m_operators = 0;
};

Value Parser::orExpression()
{
    Value left = andExpression();
    while (takeWord("OR")) {
        Value right = andExpression();
        left = [left = std::move(left), right = std::move(right)](const Row& row) -> QVariant {
            const QVariant a = left(row);
            if (!isNull(a) && truth(a))
                return logical(true);
            const QVariant b = right(row);
            if (!isNull(b) && truth(b))
                return logical(true);
            return isNull(a) || isNull(b) ? QVariant() : logical(false);
        };
    }
    return left;
}

Value Parser::andExpression()
{
    Value left = notExpression();
    while (takeWord("AND")) {
        Value right = notExpression();
        left = [left = std::move(left), right = std::move(right)](const Row& row) -> QVariant {
            const QVariant a = left(row);
            if (!isNull(a) && !truth(a))
                return logical(false);
            const QVariant b = right(row);
            if (!isNull(b) && !truth(b))
                return logical(false);
            return isNull(a) || isNull(b) ? QVariant() : logical(true);
        };
    }
    return left;
}

Value negation(Value inner)
{
    return [inner = std::move(inner)](const Row& row) -> QVariant {
        const QVariant value = inner(row);
        return isNull(value) ? QVariant() : logical(!truth(value));
    };
}

Value Parser::notExpression()
{
    if (takeWord("NOT"))
        return negation(notExpression());
    return comparison();
}

Value compare(const QString& op, Value left, Value right)
{
    return [op, left = std::move(left), right = std::move(right)](const Row& row) -> QVariant {
        const QVariant a = left(row);
        const QVariant b = right(row);
        if (isNull(a) || isNull(b))
            return {};
        const int c = compareValues(a, b);
        if (op == QLatin1String("="))
            return logical(c == 0);
        if (op == QLatin1String("<>"))
            return logical(c != 0);
        if (op == QLatin1String("<"))
            return logical(c < 0);
        if (op == QLatin1String(">"))
            return logical(c > 0);
        if (op == QLatin1String("<="))
            return logical(c <= 0);
        return logical(c >= 0);
    };
}

Value Parser::comparison()
{
    Value left = concatenation();
    const Token* token = peek();
    if (!token)
        return left;
    static const QStringList comparisons {QStringLiteral("="), QStringLiteral("<>"), QStringLiteral("<"),
        QStringLiteral(">"), QStringLiteral("<="), QStringLiteral(">=")};
    if (token->kind == Kind::Operator && comparisons.contains(token->text)) {
        const QString op = token->text;
        take();
        return compare(op, std::move(left), concatenation());
    }
    if (takeWord("IS")) {
        const bool negated = takeWord("NOT");
        if (!takeWord("NULL"))
            fail();
        return [left = std::move(left), negated](
                   const Row& row) { return logical(isNull(left(row)) != negated); };
    }
    const bool negated = word("NOT") && (word("LIKE", 1) || word("BETWEEN", 1) || word("IN", 1));
    if (negated)
        ++m_at;
    Value test;
    if (takeWord("LIKE")) {
        const Token* patternToken = peek();
        if (patternToken && patternToken->kind == Kind::String
            && !jettext::likePatternValid(jettext::stringValue(*patternToken)))
            fail();
        Value pattern = concatenation();
        test = [left = std::move(left), pattern = std::move(pattern)](const Row& row) -> QVariant {
            const QVariant value = left(row);
            const QVariant mask = pattern(row);
            if (isNull(value) || isNull(mask))
                return {};
            if (!jettext::likePatternValid(mask.toString()))
                throw typeMismatch();
            return logical(jettext::likeMatches(dialect::valueText(value), mask.toString()));
        };
    } else if (takeWord("BETWEEN")) {
        Value low = concatenation();
        if (!takeWord("AND"))
            fail();
        Value high = concatenation();
        Value atLeast = compare(QStringLiteral(">="), left, low);
        Value atMost = compare(QStringLiteral("<="), left, high);
        test = [atLeast = std::move(atLeast), atMost = std::move(atMost)](const Row& row) -> QVariant {
            const QVariant a = atLeast(row);
            const QVariant b = atMost(row);
            if ((!isNull(a) && !a.toBool()) || (!isNull(b) && !b.toBool()))
                return logical(false);
            return isNull(a) || isNull(b) ? QVariant() : logical(true);
        };
    } else if (takeWord("IN")) {
        expectPunct('(');
        QVector<Value> options {concatenation()};
        while (peek() && peek()->isPunct(',')) {
            ++m_at;
            options.push_back(concatenation());
        }
        expectPunct(')');
        test = [left = std::move(left), options = std::move(options)](const Row& row) -> QVariant {
            const QVariant value = left(row);
            if (isNull(value))
                return {};
            for (const Value& option : options) {
                const QVariant candidate = option(row);
                if (!isNull(candidate) && compareValues(value, candidate) == 0)
                    return logical(true);
            }
            return logical(false);
        };
    } else {
        if (negated)
            fail();
        return left;
    }
    return negated ? negation(test) : test;
}

Value Parser::concatenation()
{
    Value left = additive();
    while (takeOperator("&")) {
        Value right = additive();
        left = [left = std::move(left), right = std::move(right)](const Row& row) -> QVariant {
            const QVariant a = left(row);
            const QVariant b = right(row);
            if (isNull(a) && isNull(b))
                return {};
            return dialect::valueText(a) + dialect::valueText(b);
        };
    }
    return left;
}

Value arithmetic(QChar op, Value left, Value right)
{
    return [op, left = std::move(left), right = std::move(right)](const Row& row) -> QVariant {
        const QVariant a = left(row);
        const QVariant b = right(row);
        if (isNull(a) || isNull(b))
            return {};
        if (op == QLatin1Char('+') && isText(a) && isText(b))
            return a.toString() + b.toString();
        const bool integral = isIntegral(a) && isIntegral(b);
        if (integral && op != QLatin1Char('/')) {
            const qint64 x = a.toLongLong(), y = b.toLongLong();
            qint64 result = 0;
            const bool overflow = op == QLatin1Char('+') ? __builtin_add_overflow(x, y, &result)
                : op == QLatin1Char('-')                 ? __builtin_sub_overflow(x, y, &result)
                                                         : __builtin_mul_overflow(x, y, &result);
            // a result past the range of whole numbers is worked out as a fraction, as Jet widens it
            if (!overflow)
                return result;
        }
        const double x = number(a), y = number(b);
        if (op == QLatin1Char('/'))
            return y == 0 ? QVariant() : QVariant(x / y);
        return op == QLatin1Char('+') ? x + y : op == QLatin1Char('-') ? x - y : x * y;
    };
}

Value Parser::additive()
{
    Value left = term();
    for (;;) {
        if (takeOperator("+"))
            left = arithmetic(QLatin1Char('+'), std::move(left), term());
        else if (takeOperator("-"))
            left = arithmetic(QLatin1Char('-'), std::move(left), term());
        else
            return left;
    }
}

Value Parser::term()
{
    Value left = unary();
    for (;;) {
        if (takeOperator("*"))
            left = arithmetic(QLatin1Char('*'), std::move(left), unary());
        else if (takeOperator("/"))
            left = arithmetic(QLatin1Char('/'), std::move(left), unary());
        else
            return left;
    }
}

Value Parser::unary()
{
    if (takeOperator("-")) {
        Value inner = unary();
        return [inner = std::move(inner)](const Row& row) -> QVariant {
            const QVariant value = inner(row);
            if (isNull(value))
                return {};
            if (isIntegral(value) && value.toLongLong() != std::numeric_limits<qint64>::min())
                return -value.toLongLong();
            return -number(value);
        };
    }
    return primary();
}

Value Parser::primary()
{
    const Token* token = peek();
    if (!token)
        fail();
    ++m_at;
    if (token->isPunct('(')) {
        if (++m_operators > MaxOperators)
            throw tooComplex();
        Value inner = orExpression();
        expectPunct(')');
        return inner;
    }
    QVariant constant;
    if (token->kind == Kind::Number) {
        bool whole = false;
        const qint64 integer = token->text.toLongLong(&whole);
        constant = whole ? QVariant(integer) : QVariant(token->text.toDouble());
    } else if (token->kind == Kind::String) {
        constant = jettext::stringValue(*token);
    } else if (token->kind == Kind::Date) {
        const QDate day = jettext::dateValue(*token);
        if (!day.isValid())
            fail();
        constant = day;
    } else if (token->isWord("TRUE") || token->isWord("FALSE")) {
        constant = token->isWord("TRUE");
    } else if (token->isWord("NULL")) {
        return [](const Row&) { return QVariant(); };
    } else if (token->kind == Kind::Name && !jettext::isKeyword(token->text)
        && !token->text.endsWith(QLatin1Char('*'))) {
        const QString field = jettext::unbracket(token->text);
        const int index = m_resolve(field);
        if (index < 0)
            throw JetError(jet::UnknownField,
                QStringLiteral("O mecanismo de banco de dados não reconhece '%1' como um nome de campo "
                               "ou expressão válida.")
                    .arg(field));
        return [index](const Row& row) { return index < row.size() ? row[index] : QVariant(); };
    } else {
        fail();
    }
    return [constant](const Row&) { return constant; };
}

} // namespace

Predicate compile(const QString& text, const Resolver& resolve)
{
    Value value = Parser(text, resolve).parse();
    return [value = std::move(value)](const Row& row) {
        const QVariant result = value(row);
        return !isNull(result) && truth(result);
    };
}

std::optional<FieldEqualsNumber> fieldEqualsNumber(const QString& text)
{
    const auto tokens = jettext::tokenize(text);
    if (!tokens)
        return std::nullopt;
    QVector<Token> words;
    for (const Token& token : *tokens) {
        if (token.kind != Kind::Space)
            words.push_back(token);
    }
    while (!words.isEmpty() && words.back().isPunct(';'))
        words.removeLast();
    const bool negative = words.size() == 4 && words[2].isOperator("-");
    if (words.size() != (negative ? 4 : 3) || words[0].kind != Kind::Name || jettext::isKeyword(words[0].text)
        || words[0].text.endsWith(QLatin1Char('*')) || !words[1].isOperator("=")
        || words.back().kind != Kind::Number)
        return std::nullopt;
    bool whole = false;
    const qint64 value = words.back().text.toLongLong(&whole);
    if (!whole)
        return std::nullopt;
    return FieldEqualsNumber {jettext::unbracket(words[0].text), negative ? -value : value};
}

} // namespace varemo::criteria
