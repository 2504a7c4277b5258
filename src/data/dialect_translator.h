#pragma once

// The statement translator's inside, shared by its two source files.

#include "data/dialect.h"
#include "data/jettext.h"

#include <QSet>

namespace varemo::dialect::detail {

using jettext::Kind;
using jettext::Token;
using jettext::Tokens;

inline const QString Collate = QStringLiteral(" COLLATE JETTEXT");
inline const QString RowidName = QStringLiteral("__rowid__");

QSet<QString> words(std::initializer_list<const char*> list);
QString quoted(const QString& name);
bool isPlainName(const Token& token);

// Jet's Like on a PostgreSQL server: the text folded by ICU and matched against the pattern
// turned into an anchored regular expression (Like itself refuses the ICU collation).
QString serverLike(const QString& subject, const QString& jetPattern);
QString serverLikeExpression(const QString& subject, const QString& patternExpression);
QString serverConcat(const QString& left, const QString& right);

class Translator {
public:
    Translator(const QString& text, const Catalog& catalog, const Target& target)
        : m_text(text)
        , m_catalog(catalog)
        , m_target(target)
    {
    }

    Translation run();

private:
    // --- token helpers ---
    [[noreturn]] void fail() const { throw syntaxErrorInQuery(m_text); }
    qsizetype next(qsizetype i) const; // first non-space index >= i, or size
    qsizetype previous(qsizetype i) const; // last non-space index < i, or -1
    qsizetype findWord(qsizetype from, qsizetype to, const QSet<QString>& words) const;
    QList<std::pair<qsizetype, qsizetype>> splitTop(qsizetype from, qsizetype to) const;
    QString join(qsizetype from, qsizetype to) const;
    bool isStop(const Token& token) const;
    qsizetype operandStart(qsizetype before) const;
    qsizetype operandEnd(qsizetype after) const;
    void replace(qsizetype from, qsizetype to, const QString& raw);

    // --- checks and rewrites shared by every statement ---
    void checkShape();
    void rewriteLiterals();
    void rewriteConcatenation();
    void rewriteLike();
    void rewriteIif();
    bool listHoldsText(qsizetype open) const;
    void collateText();
    void collateOrdering(const char* firstWord);
    void serverOrdering(
        qsizetype first, qsizetype last, qsizetype end, const QString& direction, bool ordering);

    // --- statements ---
    struct Table {
        QString name; // unbracketed, as written
        QString ref; // how the statement refers to it (its alias, or its name), as written
    };
    struct From {
        QList<Table> tables;
        QList<std::pair<qsizetype, qsizetype>> onConditions;
        bool joins = false;
    };
    From parseFrom(qsizetype from, qsizetype to) const;
    const QStringList& fieldsOf(const QString& table) const;
    Translation select(qsizetype at);
    Translation remove(qsizetype at);
    Translation insert(qsizetype at);
    Translation update(qsizetype at);

    const QString& m_text;
    const Catalog& m_catalog;
    const Target& m_target;
    Tokens m_tokens;
};

} // namespace varemo::dialect::detail
