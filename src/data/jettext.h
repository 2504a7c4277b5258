#pragma once

// The lexical side of Jet's SQL, shared by the statement translator and the criteria
// parser: tokens, literals and the text rules both must apply identically.

#include <QDate>
#include <QString>
#include <QVector>

#include <memory>
#include <optional>

namespace varemo::jettext {

enum class Kind {
    Space,
    String, // '...' or "..." (a doubled quote stands for itself)
    Date, // #...#
    Number,
    Name, // Nome, [Nome], Tabela.Nome, Tabela.*
    Operator,
    Punct, // ( ) , ;
    Raw, // already SQLite text, made by the translator
};

struct Token {
    Kind kind;
    QString text;

    bool isWord(const char* upper) const; // a Name spelled so, case-insensitively
    bool isPunct(char c) const
    {
        return kind == Kind::Punct && text.size() == 1 && text[0] == QLatin1Char(c);
    }
    bool isOperator(const char* op) const { return kind == Kind::Operator && text == QLatin1String(op); }
};

using Tokens = QVector<Token>;

// Splits a text into tokens; std::nullopt when a quote, a "#" or a "[" is never closed.
std::optional<Tokens> tokenize(const QString& text);

// The value of a String token, outer quotes removed and doubled quotes undone.
QString stringValue(const Token& token);
// A String token's value written as an SQLite literal.
QString sqlString(const QString& value);

// The date of a #mm/dd/yyyy# token (a time part is allowed and ignored); invalid when the
// text is no such date.
QDate dateValue(const Token& token);

// A Name with its brackets removed from every part ("[A].[B c]" -> "A.B c").
QString unbracket(const QString& name);

// The words of Jet's grammar: never a field or table name.
bool isKeyword(const QString& word);

// Text comparison as Jet does it for Portuguese: accents and case ignored first, then
// case ignored with accents kept (so "agua" < "água" < "aguas", and "Água" == "água").
int compareText(const QChar* a, qsizetype aSize, const QChar* b, qsizetype bSize);
inline int compareText(const QString& a, const QString& b)
{
    return compareText(a.constData(), a.size(), b.constData(), b.size());
}
QString foldKey(const QString& text);

// Jet's Like pattern, checked and matched. A pattern is invalid when a "[" is never closed.
bool likePatternValid(const QString& pattern);
bool likeMatches(const QString& text, const QString& pattern);
// A pattern compiled once for matching many texts, as a statement does row after row;
// null when the pattern is invalid.
struct CompiledLike;
std::shared_ptr<const CompiledLike> compileLike(const QString& pattern);
bool likeMatches(QStringView text, const CompiledLike& pattern);

} // namespace varemo::jettext
