// Reports as comma-separated text, and the one way every report file reaches the disk.

#include "reports/export.h"

#include "reports/export_p.h"
#include "reports/painter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTemporaryDir>

#include <cmath>

namespace varemo::reports {

namespace detail {

bool saveFile(const QString& fileName, const QByteArray& bytes, QString* error)
{
    const auto fail = [&](const QString& reason) {
        if (error)
            *error = QStringLiteral("Não foi possível gravar o arquivo \"%1\": %2").arg(fileName, reason);
        return false;
    };
    if (fileName.isEmpty())
        return fail(QStringLiteral("falta o nome do arquivo."));
    const QFileInfo info(fileName);
    if (info.isDir())
        return fail(QStringLiteral("é uma pasta."));
    if (!info.absoluteDir().exists())
        return fail(
            QStringLiteral("a pasta %1 não existe.").arg(QDir::toNativeSeparators(info.absolutePath())));
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly))
        return fail(QStringLiteral("sem permissão para gravar nesse lugar."));
    if (file.write(bytes) != bytes.size() || !file.commit())
        return fail(QStringLiteral("a gravação falhou (disco cheio?)."));
    return true;
}

} // namespace detail

namespace {

// Plain decimals with a comma and no thousands separator: what a Brazilian spreadsheet reads
// back as a number; "1.234,56" would come back as text in some of them.
QByteArray csvNumber(double value)
{
    const double rounded = std::round(value * 100.0) / 100.0;
    QByteArray text = QByteArray::number(rounded == 0.0 ? 0.0 : rounded, 'f', 2);
    text.replace('.', ',');
    return text;
}

// A spreadsheet opening the file runs a cell that starts with one of these as a formula: a
// name such as "=HYPERLINK(...)" typed into the chart would reach the reader's machine as a
// live link or command. A leading apostrophe, inside quotes, keeps it text. The amounts never
// come through here, so a negative amount stays a number.
bool startsLikeFormula(const QByteArray& bytes)
{
    return !bytes.isEmpty() && QByteArrayView("=+-@\t\r").contains(bytes.front());
}

QByteArray csvField(const QString& text)
{
    QByteArray bytes = text.toUtf8();
    const bool formulaLike = startsLikeFormula(bytes);
    if (formulaLike)
        bytes.prepend('\'');
    if (formulaLike || bytes.contains(';') || bytes.contains('"') || bytes.contains('\n')
        || bytes.contains('\r'))
        bytes = '"' + bytes.replace("\"", "\"\"") + '"';
    return bytes;
}

void addRow(QByteArray& out, const QList<QByteArray>& fields)
{
    out += fields.join(';');
    out += "\r\n";
}

} // namespace

// The level goes in a column of its own rather than as leading blanks: spreadsheets trim
// blanks on import or keep them inside the name, where they break a lookup by name, while a
// level column lets the reader filter the rows of one level (all the accounts, say).
bool writeCsv(const Table& table, const QString& fileName, QString* error)
{
    QByteArray out("\xEF\xBB\xBF"); // so Excel reads the accents as UTF-8
    if (!table.company.isEmpty())
        addRow(out, {csvField(table.company)});
    addRow(out, {csvField(table.title)});
    for (const QString& line : table.subtitle)
        addRow(out, {csvField(line)});
    out += "\r\n";

    const bool quantity = detail::hasQuantityColumn(table);
    const bool amount = detail::hasAmountColumn(table);
    QList<QByteArray> header {csvField(QStringLiteral("Nível")), csvField(detail::TextColumnTitle)};
    for (const QString& column : table.columns)
        header << csvField(column);
    addRow(out, header);

    for (const Line& line : table.lines) {
        QList<QByteArray> fields {QByteArray::number(line.level), csvField(line.text)};
        if (quantity)
            fields << (line.quantity ? csvNumber(*line.quantity) : QByteArray());
        if (amount)
            fields << (line.amount ? csvNumber(*line.amount) : QByteArray());
        addRow(out, fields);
    }
    return detail::saveFile(fileName, out, error);
}

bool writePdfFile(const Document& document, const QString& fileName, QString* error)
{
    QTemporaryDir scratch;
    const QString built = scratch.filePath(QStringLiteral("relatorio.pdf"));
    QFile file(built);
    if (!scratch.isValid() || !writePdf(document, built) || !file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("Não foi possível montar o PDF na pasta temporária.");
        return false;
    }
    return detail::saveFile(fileName, file.readAll(), error);
}

} // namespace varemo::reports
