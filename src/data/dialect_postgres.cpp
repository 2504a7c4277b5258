// The PostgreSQL side of the dialect: Like and "&" written with the server's own functions,
// and the server's failures told as Jet's.

#include "data/dialect.h"
#include "data/dialect_translator.h"

namespace varemo::dialect {

namespace detail {

namespace {

// The text Like sees, folded as our collation folds it: lower case for every letter,
// accents kept. Any value is matched as its text, as Jet does with numbers.
QString foldedSubject(const QString& subject)
{
    return QStringLiteral("lower((%1)::text COLLATE \"und-x-icu\")").arg(subject);
}

void appendEscaped(QString& regex, QChar c)
{
    static const QString special = QStringLiteral("\\.^$|?*+()[]{}-");
    if (special.contains(c))
        regex += QLatin1Char('\\');
    regex += c;
}

// Jet's pattern as an anchored regular expression over the folded text. A set's range
// keeps its ends folded; "[]" matches no character at all, as in Jet.
QString regexOf(const QString& pattern)
{
    const QString folded = pattern.toLower();
    QString regex = QStringLiteral("^");
    for (qsizetype i = 0; i < folded.size(); ++i) {
        const QChar c = folded[i];
        if (c == QLatin1Char('*')) {
            regex += QLatin1String(".*");
        } else if (c == QLatin1Char('?')) {
            regex += QLatin1Char('.');
        } else if (c == QLatin1Char('#')) {
            regex += QLatin1String("[0-9]");
        } else if (c == QLatin1Char('[')) {
            const qsizetype close = folded.indexOf(QLatin1Char(']'), i + 1);
            QString inside = folded.mid(i + 1, close - i - 1);
            i = close;
            if (inside.isEmpty())
                continue;
            regex += QLatin1Char('[');
            if (inside.startsWith(QLatin1Char('!')) && inside.size() > 1) {
                regex += QLatin1Char('^');
                inside.remove(0, 1);
            }
            for (qsizetype k = 0; k < inside.size(); ++k) {
                appendEscaped(regex, inside[k]);
                if (k + 2 < inside.size() && inside[k + 1] == QLatin1Char('-')) {
                    regex += QLatin1Char('-');
                    appendEscaped(regex, inside[k + 2]);
                    k += 2;
                }
            }
            regex += QLatin1Char(']');
        } else {
            appendEscaped(regex, c);
        }
    }
    return regex + QLatin1Char('$');
}

} // namespace

QString serverLike(const QString& subject, const QString& jetPattern)
{
    return QStringLiteral("(%1 ~ %2)").arg(foldedSubject(subject), jettext::sqlString(regexOf(jetPattern)));
}

// A pattern known only when the statement runs: its "*" and "?" become Like's own.
QString serverLikeExpression(const QString& subject, const QString& patternExpression)
{
    return QStringLiteral("(%1 COLLATE \"C\" LIKE replace(replace(lower((%2)::text COLLATE \"und-x-icu\"), "
                          "'*', '%'), '?', '_') COLLATE \"C\")")
        .arg(foldedSubject(subject), patternExpression);
}

// Jet's "&", through the function every connection to the server creates for it: a
// number must read as this machine writes it, which the server's own text of it does not.
QString serverConcat(const QString& left, const QString& right)
{
    return QStringLiteral("pg_temp.jet_concat(%1, %2)").arg(left, right);
}

// The server has no IIf: Jet's IIf(c, a, b) becomes the CASE it stands for, once its
// arguments are translated. From the last call back, so that a call nested in another's
// arguments is already a CASE when the outer one is rewritten.
void Translator::rewriteIif()
{
    for (qsizetype at = m_tokens.size() - 1; at >= 0; --at) {
        if (m_tokens[at].kind != Kind::Name
            || m_tokens[at].text.compare(QLatin1String("iif"), Qt::CaseInsensitive) != 0)
            continue;
        const qsizetype open = next(at + 1);
        if (open >= m_tokens.size() || !m_tokens[open].isPunct('('))
            continue;
        qsizetype close = open;
        for (int depth = 0; close < m_tokens.size(); ++close) {
            if (m_tokens[close].isPunct('('))
                ++depth;
            else if (m_tokens[close].isPunct(')') && --depth == 0)
                break;
        }
        if (close == m_tokens.size())
            fail();
        const auto arguments = splitTop(open + 1, close);
        if (arguments.size() != 3)
            fail();
        replace(at, close + 1,
            QStringLiteral("(CASE WHEN %1 THEN %2 ELSE %3 END)")
                .arg(join(arguments[0].first, arguments[0].second),
                    join(arguments[1].first, arguments[1].second),
                    join(arguments[2].first, arguments[2].second)));
    }
}

} // namespace detail

JetError fromPostgres(const QString& sqlState, const QString& message, const QString& statement)
{
    const QString family = sqlState.left(2);
    if (sqlState == QLatin1String("55P03") || sqlState == QLatin1String("40P01")
        || sqlState == QLatin1String("40001") || sqlState == QLatin1String("57014"))
        return JetError(jet::Locked,
            QStringLiteral("Não foi possível atualizar; bloqueado no momento por outro usuário ou módulo."));
    if (family == QLatin1String("23"))
        return JetError(jet::KeyViolation,
            QStringLiteral("As alterações solicitadas à tabela não foram bem-sucedidas porque criariam "
                           "valores duplicados no índice, chave primária ou relacionamento."));
    if (sqlState == QLatin1String("25006") || sqlState == QLatin1String("42501"))
        return JetError(jet::ReadOnly,
            QStringLiteral("Não é possível atualizar. O banco de dados ou o objeto é somente leitura."));
    if (sqlState == QLatin1String("42P01")) {
        const qsizetype open = message.indexOf(QLatin1Char('"'));
        const qsizetype close = message.indexOf(QLatin1Char('"'), open + 1);
        const QString name = open >= 0 && close > open ? message.mid(open + 1, close - open - 1) : message;
        return JetError(jet::ObjectNotFound,
            QStringLiteral("O mecanismo de banco de dados não pode encontrar a tabela ou consulta de "
                           "entrada '%1'. Certifique-se de que ela existe e que seu nome está digitado "
                           "corretamente.")
                .arg(name));
    }
    if (sqlState == QLatin1String("42703"))
        return JetError(jet::TooFewParameters, QStringLiteral("Parâmetros insuficientes. Eram esperados 1."));
    if (sqlState == QLatin1String("42601"))
        return syntaxErrorInQuery(statement.isEmpty() ? message : statement);
    if (sqlState == QLatin1String("22P02") || sqlState == QLatin1String("42804")
        || sqlState == QLatin1String("42883") || sqlState == QLatin1String("22007")
        || sqlState == QLatin1String("22008"))
        return JetError(
            jet::TypeMismatch, QStringLiteral("Tipo de dados incompatível na expressão de critério."));
    if (sqlState == QLatin1String("XX001") || sqlState == QLatin1String("XX002"))
        return JetError(jet::Corrupted,
            QStringLiteral("Não é possível abrir o banco de dados. Talvez não seja um banco de dados "
                           "reconhecido pelo seu aplicativo ou o arquivo pode estar corrompido."));
    if (family == QLatin1String("08") || family == QLatin1String("53") || family == QLatin1String("57")
        || family == QLatin1String("58"))
        return JetError(jet::DiskOrNetwork, QStringLiteral("Erro de disco ou de rede."));
    return JetError(jet::GeneralError, QStringLiteral("Erro do banco de dados: %1").arg(message));
}

namespace {

// The word that starts at `from` (after any spaces), upper-cased; "\"" when a quoted name
// starts there, empty when no word does.
QString wordAfter(const QString& text, qsizetype from)
{
    while (from < text.size() && text[from].isSpace())
        ++from;
    if (from < text.size() && text[from] == QLatin1Char('"'))
        return QStringLiteral("\"");
    qsizetype end = from;
    while (end < text.size() && (text[end].isLetterOrNumber() || text[end] == QLatin1Char('_')))
        ++end;
    return text.mid(from, end - from).toUpper();
}

QString wordBefore(const QString& text)
{
    qsizetype end = text.size();
    while (end > 0 && text[end - 1].isSpace())
        --end;
    qsizetype start = end;
    while (start > 0 && (text[start - 1].isLetterOrNumber() || text[start - 1] == QLatin1Char('_')))
        --start;
    return text.mid(start, end - start).toUpper();
}

// Words that may follow a sub-query in FROM when it has no name of its own.
bool endsFromItem(const QString& word)
{
    static const QSet<QString> words {QStringLiteral("WHERE"), QStringLiteral("LIMIT"),
        QStringLiteral("ORDER"), QStringLiteral("GROUP"), QStringLiteral("HAVING"), QStringLiteral("UNION"),
        QStringLiteral("INNER"), QStringLiteral("LEFT"), QStringLiteral("RIGHT"), QStringLiteral("FULL"),
        QStringLiteral("CROSS"), QStringLiteral("JOIN"), QStringLiteral("ON"), QStringLiteral("OFFSET"),
        QStringLiteral("EXCEPT"), QStringLiteral("INTERSECT")};
    return word.isEmpty() || words.contains(word);
}

} // namespace

QString serverText(const QString& sql)
{
    if (sql.compare(QLatin1String("BEGIN IMMEDIATE"), Qt::CaseInsensitive) == 0)
        return QStringLiteral("BEGIN");
    QString out;
    out.reserve(sql.size() + 16);
    int parameters = 0;
    int depth = 0;
    int subqueries = 0;
    QList<int> open; // the depth of each sub-query in FROM still open
    for (qsizetype i = 0; i < sql.size(); ++i) {
        const QChar c = sql[i];
        if (c == QLatin1Char('\'') || c == QLatin1Char('"')) {
            // A literal or a quoted name, to its closing quote (a doubled one stands for itself).
            const bool name = c == QLatin1Char('"');
            qsizetype end = i + 1;
            for (; end < sql.size(); ++end) {
                if (sql[end] == c) {
                    if (end + 1 < sql.size() && sql[end + 1] == c)
                        ++end;
                    else
                        break;
                }
            }
            const QString piece = sql.mid(i, end - i + 1);
            // a collation's name is the server's own spelling: "C" is not "c"
            const bool keep = !name || wordBefore(out) == QLatin1String("COLLATE");
            out += keep ? piece : piece.toLower();
            i = end;
        } else if (c == QLatin1Char('?')) {
            out += QLatin1Char('$') + QString::number(++parameters);
        } else if (c == QLatin1Char('(')) {
            ++depth;
            if (wordBefore(out) == QLatin1String("FROM") && wordAfter(sql, i + 1) == QLatin1String("SELECT"))
                open << depth;
            out += c;
        } else if (c == QLatin1Char(')')) {
            out += c;
            if (!open.isEmpty() && open.last() == depth) {
                open.removeLast();
                if (endsFromItem(wordAfter(sql, i + 1)))
                    out += QStringLiteral(" AS varemo_sub%1").arg(++subqueries);
            }
            --depth;
        } else {
            out += c;
        }
    }
    return out;
}

JetError serverUnreachable(const QString& server, const QString& message)
{
    return JetError(jet::ServerConnectionFailed,
        QStringLiteral("ODBC--falha na conexão com '%1'. %2").arg(server, message.trimmed()));
}

} // namespace varemo::dialect
