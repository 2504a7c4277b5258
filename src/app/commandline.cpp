#include "app/commandline.h"

#include <QDir>

#include <optional>

namespace varemo {

namespace {

CommandLine failure(const QString& message)
{
    CommandLine line;
    line.action = CommandLine::Action::Error;
    line.error = message;
    return line;
}

// Walks "--name value" and "--name=value" pairs.
class Options {
public:
    explicit Options(QStringList arguments)
        : m_arguments(std::move(arguments))
    {
    }

    bool atEnd() const { return m_index >= m_arguments.size(); }
    QString peek() const { return atEnd() ? QString() : m_arguments.at(m_index); }

    // The next token's option name, with an inline "=value" kept aside.
    QString nextName()
    {
        QString token = m_arguments.at(m_index++);
        m_inline.reset();
        if (token.startsWith(QLatin1String("--"))) {
            const qsizetype equals = token.indexOf(QLatin1Char('='));
            if (equals > 0) {
                m_inline = token.mid(equals + 1);
                token.truncate(equals);
            }
        }
        return token;
    }
    // The option's value: inline, or the next token unless that is another option.
    std::optional<QString> value(bool optional = false)
    {
        if (m_inline)
            return m_inline;
        if (atEnd() || peek().startsWith(QLatin1String("--")))
            return std::nullopt;
        if (optional && peek().isEmpty())
            return std::nullopt;
        return m_arguments.at(m_index++);
    }

private:
    QStringList m_arguments;
    qsizetype m_index = 0;
    std::optional<QString> m_inline;
};

QString missingValue(const QString& option)
{
    return QStringLiteral("A opção %1 precisa de um valor.").arg(option);
}

QString unknownOption(const QString& option)
{
    return QStringLiteral("Opção desconhecida: %1").arg(option);
}

std::optional<QDate> parseDate(const QString& text)
{
    const QDate date = QDate::fromString(text, QStringLiteral("dd-MM-yyyy"));
    if (!date.isValid())
        return std::nullopt;
    return date;
}

CommandLine parseReport(const QStringList& arguments)
{
    if (arguments.isEmpty())
        return failure(QStringLiteral("Diga qual relatório: plano ou personalizado."));
    CommandLine line;
    line.action = CommandLine::Action::Report;
    line.report = arguments.first();
    Options options(arguments.mid(1));
    const bool chart = line.report == QLatin1String("plano");
    if (!chart && line.report != QLatin1String("personalizado"))
        return failure(
            QStringLiteral("Relatório desconhecido: %1 (use plano ou personalizado).").arg(line.report));
    if (!chart) {
        if (options.atEnd() || options.peek().startsWith(QLatin1String("--")))
            return failure(QStringLiteral("Diga o nome do relatório personalizado."));
        line.reportName = options.nextName();
    }

    bool hasLevel = false;
    while (!options.atEnd()) {
        const QString name = options.nextName();
        const bool output = name == QLatin1String("--pdf") || name == QLatin1String("--xlsx")
            || name == QLatin1String("--csv");
        const bool known = output || name == QLatin1String("--programa")
            || (chart && name == QLatin1String("--nivel"))
            || (!chart && (name == QLatin1String("--de") || name == QLatin1String("--ate")));
        if (!known)
            return failure(unknownOption(name));
        const std::optional<QString> value = options.value();
        if (!value || value->isEmpty())
            return failure(missingValue(name));
        if (name == QLatin1String("--pdf")) {
            line.pdf = *value;
        } else if (name == QLatin1String("--xlsx")) {
            line.xlsx = *value;
        } else if (name == QLatin1String("--csv")) {
            line.csv = *value;
        } else if (name == QLatin1String("--programa")) {
            line.programFolder = *value;
        } else if (name == QLatin1String("--nivel")) {
            bool ok = false;
            line.level = value->toInt(&ok);
            if (!ok || line.level < 1 || line.level > 4)
                return failure(QStringLiteral("O nível do plano vai de 1 a 4: %1").arg(*value));
            hasLevel = true;
        } else {
            const std::optional<QDate> date = parseDate(*value);
            if (!date)
                return failure(QStringLiteral("Data inválida em %1: %2 (use dd-mm-aaaa).").arg(name, *value));
            (name == QLatin1String("--de") ? line.from : line.to) = *date;
        }
    }
    if (chart && !hasLevel)
        return failure(QStringLiteral("Diga o nível do plano com --nivel (1 a 4)."));
    if (!chart && (!line.from.isValid() || !line.to.isValid()))
        return failure(QStringLiteral("Diga o período com --de e --ate (dd-mm-aaaa)."));
    if (!chart && line.from > line.to)
        return failure(QStringLiteral("A data inicial vem depois da final."));
    if (line.pdf.isEmpty() && line.xlsx.isEmpty() && line.csv.isEmpty())
        return failure(QStringLiteral("Diga o arquivo de saída com --pdf, --xlsx ou --csv."));
    return line;
}

CommandLine parseMigration(const QStringList& arguments)
{
    CommandLine line;
    line.action = CommandLine::Action::Migrate;
    Options options(arguments);
    while (!options.atEnd()) {
        const QString name = options.nextName();
        QString* target = name == QLatin1String("--para-postgresql") ? &line.toServer
            : name == QLatin1String("--para-sqlite")                 ? &line.toFile
            : name == QLatin1String("--programa")                    ? &line.programFolder
                                                                     : nullptr;
        if (!target)
            return failure(unknownOption(name));
        const std::optional<QString> value = options.value();
        if (!value || value->trimmed().isEmpty())
            return failure(missingValue(name));
        *target = *value;
    }
    if (line.toServer.isEmpty() == line.toFile.isEmpty())
        return failure(
            QStringLiteral("Diga para onde migrar: --para-postgresql CONEXAO ou --para-sqlite ARQUIVO."));
    return line;
}

} // namespace

QString defaultDemoFolder()
{
    return QDir::homePath() + QDir::separator() + QStringLiteral("VaremoDemo");
}

QString usageText()
{
    return QStringLiteral(
        "Uso:\n"
        "  varemo-contas [--programa PASTA]\n"
        "      abre o Plano de Contas; PASTA é a pasta do programa, onde fica o Caminho.dad\n"
        "      (sem ela, a pasta do próprio executável)\n"
        "  varemo-contas --demo [PASTA]\n"
        "      monta uma empresa de demonstração em PASTA (%1 se omitida) e abre o programa nela\n"
        "  varemo-contas relatorio plano --nivel N --pdf SAIDA [--programa PASTA]\n"
        "      grava o plano de contas até o nível N (1 a 4)\n"
        "  varemo-contas relatorio personalizado NOME --de dd-mm-aaaa --ate dd-mm-aaaa --pdf SAIDA\n"
        "                [--programa PASTA]\n"
        "      grava o relatório personalizado NOME do período\n"
        "  varemo-contas migrar --para-postgresql CONEXAO [--programa PASTA]\n"
        "      copia a empresa para um banco vazio de um servidor PostgreSQL; CONEXAO como os\n"
        "      programas do PostgreSQL a escrevem (\"host=servidor dbname=varemo user=varemo\")\n"
        "  varemo-contas migrar --para-sqlite ARQUIVO [--programa PASTA]\n"
        "      copia a empresa (de volta) para um arquivo novo\n"
        "  Nos relatórios, --xlsx SAIDA grava uma planilha do Excel e --csv SAIDA um texto separado\n"
        "  por ponto e vírgula, no lugar de --pdf ou junto com ele.\n")
        .arg(defaultDemoFolder());
}

CommandLine parseCommandLine(const QStringList& arguments)
{
    if (!arguments.isEmpty() && arguments.first() == QLatin1String("relatorio"))
        return parseReport(arguments.mid(1));
    if (!arguments.isEmpty() && arguments.first() == QLatin1String("migrar"))
        return parseMigration(arguments.mid(1));

    CommandLine line;
    bool demo = false;
    Options options(arguments);
    while (!options.atEnd()) {
        const QString name = options.nextName();
        if (name == QLatin1String("--ajuda") || name == QLatin1String("--help")
            || name == QLatin1String("-h")) {
            line.action = CommandLine::Action::Help;
            return line;
        }
        if (name == QLatin1String("--demo")) {
            demo = true;
            const std::optional<QString> folder = options.value(true);
            line.demoFolder = folder && !folder->isEmpty() ? *folder : defaultDemoFolder();
        } else if (name == QLatin1String("--programa")) {
            const std::optional<QString> folder = options.value();
            if (!folder || folder->isEmpty())
                return failure(missingValue(name));
            line.programFolder = *folder;
        } else if (name.startsWith(QLatin1Char('-'))) {
            return failure(unknownOption(name));
        } else {
            return failure(QStringLiteral("Argumento inesperado: %1").arg(name));
        }
    }
    if (demo && !line.programFolder.isEmpty())
        return failure(QStringLiteral("Use --demo ou --programa, não os dois: a demonstração tem a sua "
                                      "própria pasta do programa."));
    if (demo)
        line.action = CommandLine::Action::Demo;
    return line;
}

} // namespace varemo
