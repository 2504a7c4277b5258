#include "data/jettext.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace varemo::jettext {

bool Token::isWord(const char* upper) const
{
    return kind == Kind::Name && text.compare(QLatin1String(upper), Qt::CaseInsensitive) == 0;
}

namespace {

bool startsName(QChar c)
{
    return c.isLetter() || c == QLatin1Char('_') || c == QLatin1Char('[');
}

// One part of a name at `i`: a bracketed name or a run of letters, digits and "_".
// Returns the end, or -1 when a bracket is never closed.
qsizetype namePartEnd(const QString& text, qsizetype i)
{
    if (text[i] == QLatin1Char('[')) {
        const qsizetype close = text.indexOf(QLatin1Char(']'), i + 1);
        return close < 0 ? -1 : close + 1;
    }
    while (i < text.size() && (text[i].isLetterOrNumber() || text[i] == QLatin1Char('_')))
        ++i;
    return i;
}

qsizetype numberEnd(const QString& text, qsizetype i)
{
    const auto digits = [&](qsizetype at) {
        while (at < text.size() && text[at].isDigit() && text[at].unicode() < 128)
            ++at;
        return at;
    };
    i = digits(i);
    if (i + 1 < text.size() && text[i] == QLatin1Char('.') && text[i + 1].isDigit())
        i = digits(i + 1);
    if (i < text.size() && (text[i] == QLatin1Char('e') || text[i] == QLatin1Char('E'))) {
        qsizetype at = i + 1;
        if (at < text.size() && (text[at] == QLatin1Char('+') || text[at] == QLatin1Char('-')))
            ++at;
        if (at < text.size() && text[at].isDigit())
            i = digits(at);
    }
    return i;
}

} // namespace

std::optional<Tokens> tokenize(const QString& text)
{
    static const QStringList twoCharOperators {
        QStringLiteral("<>"), QStringLiteral("<="), QStringLiteral(">=")};
    Tokens tokens;
    qsizetype i = 0;
    const qsizetype n = text.size();
    while (i < n) {
        const QChar c = text[i];
        qsizetype end = i + 1;
        Kind kind = Kind::Operator;
        if (c.isSpace()) {
            while (end < n && text[end].isSpace())
                ++end;
            kind = Kind::Space;
        } else if (c == QLatin1Char('\'') || c == QLatin1Char('"')) {
            for (;;) {
                end = text.indexOf(c, end);
                if (end < 0)
                    return std::nullopt;
                if (end + 1 < n && text[end + 1] == c) {
                    end += 2;
                    continue;
                }
                ++end;
                break;
            }
            kind = Kind::String;
        } else if (c == QLatin1Char('#')) {
            end = text.indexOf(QLatin1Char('#'), i + 1);
            if (end < 0)
                return std::nullopt;
            ++end;
            kind = Kind::Date;
        } else if (c.isDigit() && c.unicode() < 128) {
            end = numberEnd(text, i);
            kind = Kind::Number;
        } else if (startsName(c)) {
            end = namePartEnd(text, i);
            while (end > 0 && end + 1 < n && text[end] == QLatin1Char('.')) {
                if (text[end + 1] == QLatin1Char('*')) {
                    end += 2;
                    break;
                }
                if (!startsName(text[end + 1]))
                    break;
                end = namePartEnd(text, end + 1);
            }
            if (end < 0)
                return std::nullopt;
            kind = Kind::Name;
        } else if (QStringLiteral("(),;.").contains(c)) {
            kind = Kind::Punct;
        } else if (twoCharOperators.contains(text.mid(i, 2))) {
            end = i + 2;
        }
        tokens.push_back({kind, text.mid(i, end - i)});
        i = end;
    }
    return tokens;
}

QString stringValue(const Token& token)
{
    const QString quote = token.text.left(1);
    return token.text.mid(1, token.text.size() - 2).replace(quote + quote, quote);
}

QString sqlString(const QString& value)
{
    QString doubled = value;
    doubled.replace(QLatin1Char('\''), QLatin1String("''"));
    return QLatin1Char('\'') + doubled + QLatin1Char('\'');
}

QDate dateValue(const Token& token)
{
    static const QRegularExpression monthFirst(QStringLiteral(
        R"(^\s*(\d{1,2})/(\d{1,2})/(\d{4})(?:\s+\d{1,2}:\d{2}(?::\d{2})?(?:\s*[AaPp][Mm])?)?\s*$)"));
    static const QRegularExpression yearFirst(QStringLiteral(R"(^\s*(\d{4})-(\d{1,2})-(\d{1,2})\s*$)"));
    const QString body = token.text.mid(1, token.text.size() - 2);
    if (const auto match = monthFirst.match(body); match.hasMatch())
        return QDate(match.captured(3).toInt(), match.captured(1).toInt(), match.captured(2).toInt());
    if (const auto match = yearFirst.match(body); match.hasMatch())
        return QDate(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt());
    return {};
}

QString unbracket(const QString& name)
{
    if (!name.contains(QLatin1Char('[')))
        return name;
    QString out;
    out.reserve(name.size());
    bool inside = false;
    for (const QChar c : name) {
        if (!inside && c == QLatin1Char('['))
            inside = true;
        else if (inside && c == QLatin1Char(']'))
            inside = false;
        else
            out += c;
    }
    return out;
}

bool isKeyword(const QString& word)
{
    static const QSet<QString> words {
        QStringLiteral("SELECT"),
        QStringLiteral("FROM"),
        QStringLiteral("WHERE"),
        QStringLiteral("AND"),
        QStringLiteral("OR"),
        QStringLiteral("NOT"),
        QStringLiteral("LIKE"),
        QStringLiteral("IS"),
        QStringLiteral("IN"),
        QStringLiteral("BETWEEN"),
        QStringLiteral("AS"),
        QStringLiteral("ORDER"),
        QStringLiteral("BY"),
        QStringLiteral("GROUP"),
        QStringLiteral("HAVING"),
        QStringLiteral("ASC"),
        QStringLiteral("DESC"),
        QStringLiteral("INNER"),
        QStringLiteral("LEFT"),
        QStringLiteral("RIGHT"),
        QStringLiteral("OUTER"),
        QStringLiteral("JOIN"),
        QStringLiteral("ON"),
        QStringLiteral("INSERT"),
        QStringLiteral("INTO"),
        QStringLiteral("VALUES"),
        QStringLiteral("UPDATE"),
        QStringLiteral("SET"),
        QStringLiteral("DELETE"),
        QStringLiteral("DISTINCT"),
        QStringLiteral("DISTINCTROW"),
        QStringLiteral("TOP"),
        QStringLiteral("UNION"),
        QStringLiteral("ALL"),
        QStringLiteral("MOD"),
        QStringLiteral("XOR"),
        QStringLiteral("EQV"),
        QStringLiteral("IMP"),
        QStringLiteral("TRUE"),
        QStringLiteral("FALSE"),
        QStringLiteral("NULL"),
    };
    return words.contains(word.toUpper());
}

// --- text order ------------------------------------------------------------------------

namespace {

char16_t folded(char16_t c)
{
    // most letters of a chart are plain ASCII: no table needed for them
    if (c < 128)
        return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c;
    return static_cast<char16_t>(QChar::toCaseFolded(char32_t(c)));
}

char16_t baseOfUncached(char16_t c)
{
    char32_t base = folded(c);
    // Strip accents: follow the canonical decomposition to its first character.
    while (QChar::decompositionTag(base) == QChar::Canonical) {
        const QString pieces = QChar::decomposition(base);
        if (pieces.isEmpty())
            break;
        base = pieces[0].unicode();
    }
    return static_cast<char16_t>(QChar::toCaseFolded(base));
}

char16_t baseOf(char16_t c)
{
    static const auto table = [] {
        std::array<char16_t, 0x500> bases {};
        for (std::size_t code = 0; code < bases.size(); ++code)
            bases[code] = baseOfUncached(static_cast<char16_t>(code));
        return bases;
    }();
    return c < table.size() ? table[c] : baseOfUncached(c);
}

} // namespace

int compareText(const QChar* a, qsizetype aSize, const QChar* b, qsizetype bSize)
{
    const qsizetype common = std::min(aSize, bSize);
    for (qsizetype i = 0; i < common; ++i) {
        const char16_t x = baseOf(a[i].unicode());
        const char16_t y = baseOf(b[i].unicode());
        if (x != y)
            return x < y ? -1 : 1;
    }
    if (aSize != bSize)
        return aSize < bSize ? -1 : 1;
    for (qsizetype i = 0; i < common; ++i) {
        const char16_t x = folded(a[i].unicode());
        const char16_t y = folded(b[i].unicode());
        if (x != y)
            return x < y ? -1 : 1;
    }
    return 0;
}

QString foldKey(const QString& text)
{
    QString key(text.size() * 2 + 1, Qt::Uninitialized);
    QChar* out = key.data();
    for (qsizetype i = 0; i < text.size(); ++i)
        out[i] = QChar(baseOf(text[i].unicode()));
    out[text.size()] = QChar(1); // below every character a name holds: "abc" before "abcd"
    for (qsizetype i = 0; i < text.size(); ++i)
        out[text.size() + 1 + i] = QChar(folded(text[i].unicode()));
    return key;
}

// --- Like ------------------------------------------------------------------------------

namespace {

struct PatternElement {
    enum Type { AnyRun, AnyOne, Digit, Literal, Set } type = Literal;
    char16_t literal = 0; // folded once here rather than on every character it meets
    QVector<std::pair<QChar, QChar>> ranges; // for a Set; lo == hi for one character
    bool negated = false;
};

std::optional<QVector<PatternElement>> compilePattern(const QString& pattern)
{
    QVector<PatternElement> elements;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        const QChar c = pattern[i];
        PatternElement element;
        if (c == QLatin1Char('*')) {
            element.type = PatternElement::AnyRun;
        } else if (c == QLatin1Char('?')) {
            element.type = PatternElement::AnyOne;
        } else if (c == QLatin1Char('#')) {
            element.type = PatternElement::Digit;
        } else if (c == QLatin1Char('[')) {
            const qsizetype close = pattern.indexOf(QLatin1Char(']'), i + 1);
            if (close < 0)
                return std::nullopt;
            QString inside = pattern.mid(i + 1, close - i - 1);
            i = close;
            if (inside.isEmpty())
                continue; // "[]" stands for no character at all
            element.type = PatternElement::Set;
            if (inside.startsWith(QLatin1Char('!')) && inside.size() > 1) {
                element.negated = true;
                inside.remove(0, 1);
            }
            for (qsizetype k = 0; k < inside.size(); ++k) {
                if (k + 2 < inside.size() && inside[k + 1] == QLatin1Char('-')) {
                    element.ranges.push_back({inside[k], inside[k + 2]});
                    k += 2;
                } else {
                    element.ranges.push_back({inside[k], inside[k]});
                }
            }
        } else {
            element.literal = folded(c.unicode());
        }
        elements.push_back(element);
    }
    return elements;
}

bool sameLetter(QChar a, QChar b)
{
    return folded(a.unicode()) == folded(b.unicode());
}

bool matchesOne(const PatternElement& element, QChar c)
{
    switch (element.type) {
    case PatternElement::AnyOne:
        return true;
    case PatternElement::Digit:
        return c >= QLatin1Char('0') && c <= QLatin1Char('9');
    case PatternElement::Literal:
        return element.literal == folded(c.unicode());
    case PatternElement::Set: {
        const bool inSet = std::any_of(
            element.ranges.cbegin(), element.ranges.cend(), [c](const auto& range) {
                if (range.first == range.second)
                    return sameLetter(range.first, c);
                return compareText(&range.first, 1, &c, 1) <= 0 && compareText(&c, 1, &range.second, 1) <= 0;
            });
        return inSet != element.negated;
    }
    case PatternElement::AnyRun:
        break;
    }
    return false;
}

} // namespace

bool likePatternValid(const QString& pattern)
{
    return compilePattern(pattern).has_value();
}

struct CompiledLike {
    QVector<PatternElement> elements;
    // For "*text*", the search's "contains", the text folded: found by a plain scan, with no
    // element to dispatch on per character. Empty for any other pattern.
    std::u16string contained;
};

std::shared_ptr<const CompiledLike> compileLike(const QString& pattern)
{
    auto compiled = compilePattern(pattern);
    if (!compiled)
        return nullptr;
    auto like = std::make_shared<CompiledLike>(CompiledLike {std::move(*compiled), {}});
    const QVector<PatternElement>& elements = like->elements;
    const auto literal
        = [](const PatternElement& element) { return element.type == PatternElement::Literal; };
    if (elements.size() > 2 && elements.front().type == PatternElement::AnyRun
        && elements.back().type == PatternElement::AnyRun
        && std::all_of(elements.cbegin() + 1, elements.cend() - 1, literal)) {
        for (auto it = elements.cbegin() + 1; it != elements.cend() - 1; ++it)
            like->contained += it->literal;
    }
    return like;
}

bool likeMatches(const QString& text, const QString& pattern)
{
    const auto compiled = compileLike(pattern);
    return compiled && likeMatches(text, *compiled);
}

namespace {

bool containsFolded(QStringView text, std::u16string_view needle)
{
    const qsizetype last = text.size() - qsizetype(needle.size());
    for (qsizetype start = 0; start <= last; ++start) {
        std::size_t k = 0;
        while (k < needle.size() && folded(text[start + qsizetype(k)].unicode()) == needle[k])
            ++k;
        if (k == needle.size())
            return true;
    }
    return false;
}

} // namespace

bool likeMatches(QStringView text, const CompiledLike& pattern)
{
    if (!pattern.contained.empty())
        return containsFolded(text, pattern.contained);
    const QVector<PatternElement>& elements = pattern.elements;
    // Every element but "*" takes exactly one character, so retrying from the last "*"
    // is enough: no deeper backtracking can find a match this misses.
    qsizetype t = 0, p = 0, starP = -1, starT = 0;
    while (t < text.size()) {
        if (p < elements.size() && elements[p].type == PatternElement::AnyRun) {
            starP = p++;
            starT = t;
        } else if (p < elements.size() && matchesOne(elements[p], text[t])) {
            ++p;
            ++t;
        } else if (starP >= 0) {
            p = starP + 1;
            t = ++starT;
        } else {
            return false;
        }
    }
    while (p < elements.size() && elements[p].type == PatternElement::AnyRun)
        ++p;
    return p == elements.size();
}

} // namespace varemo::jettext
