// Reports as Excel workbooks, written with libxlsxwriter.

#include "reports/export.h"
#include "reports/export_p.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <cmath>
#include <xlsxwriter.h>

namespace varemo::reports {

namespace {

constexpr int MaxLevel = 4;
constexpr double MinTextWidth = 30;
constexpr double MaxTextWidth = 90;
constexpr double NumberWidth = 16;
constexpr double CharsPerIndent = 3; // how wide one indentation step is, in characters
// The longest formula a spreadsheet accepts, without its "=": Excel refuses the whole workbook
// for one formula past it.
constexpr qsizetype MaxFormulaLength = 8192;

QByteArray utf8(const QString& text)
{
    return text.toUtf8();
}

// "A1"-style reference of a cell, rows and columns counted from zero.
QString cellName(int row, int column)
{
    return QString(QChar(u'A' + column)) + QString::number(row + 1);
}

// A sum line as a formula over the lines it adds: runs of adjacent rows added together become
// SUM(C5:C9), the rest single terms, so that a changed amount in the sheet carries through.
QString sumFormula(const std::vector<std::pair<int, int>>& terms, int firstLineRow, int column)
{
    QString formula = QStringLiteral("=");
    std::size_t i = 0;
    while (i < terms.size()) {
        const bool minus = terms[i].second < 0;
        std::size_t end = i + 1;
        while (!minus && end < terms.size() && terms[end].second > 0
            && terms[end].first == terms[end - 1].first + 1)
            ++end;
        if (minus)
            formula += u'-';
        else if (i > 0)
            formula += u'+';
        const QString first = cellName(firstLineRow + terms[i].first, column);
        if (end - i > 2)
            formula += QStringLiteral("SUM(%1:%2)")
                           .arg(first, cellName(firstLineRow + terms[end - 1].first, column));
        else if (end - i == 2)
            formula += first + u'+' + cellName(firstLineRow + terms[i + 1].first, column);
        else
            formula += first;
        i = end;
    }
    return formula;
}

class Sheet {
public:
    Sheet(lxw_workbook* book, const Table& table)
        : m_table(table)
        , m_sheet(workbook_add_worksheet(book, "Relatório"))
    {
        m_title = workbook_add_format(book);
        format_set_bold(m_title);
        format_set_font_size(m_title, 14);
        m_header = workbook_add_format(book);
        format_set_bold(m_header);
        format_set_bottom(m_header, LXW_BORDER_THIN);
        m_numberHeader = workbook_add_format(book);
        format_set_bold(m_numberHeader);
        format_set_bottom(m_numberHeader, LXW_BORDER_THIN);
        format_set_align(m_numberHeader, LXW_ALIGN_RIGHT);
        for (int bold = 0; bold < 2; ++bold) {
            for (int level = 0; level <= MaxLevel; ++level) {
                lxw_format* text = workbook_add_format(book);
                format_set_indent(text, static_cast<uint8_t>(level));
                if (bold)
                    format_set_bold(text);
                m_text[bold][level] = text;
            }
            m_number[bold] = workbook_add_format(book);
            format_set_num_format(m_number[bold], "#,##0.00");
            if (bold)
                format_set_bold(m_number[bold]);
        }
    }

    void write()
    {
        worksheet_set_paper(m_sheet, 9); // A4
        lxw_row_t row = 0;
        if (!m_table.company.isEmpty())
            writeText(row++, 0, m_table.company, m_header);
        writeText(row++, 0, m_table.title, m_title);
        for (const QString& line : m_table.subtitle)
            writeText(row++, 0, line, nullptr);
        ++row;
        const lxw_row_t headerRow = row;
        writeText(headerRow, 0, detail::TextColumnTitle, m_header);
        for (int column = 0; column < m_table.columns.size() && column < 2; ++column)
            writeText(
                headerRow, static_cast<lxw_col_t>(column + 1), m_table.columns.at(column), m_numberHeader);
        worksheet_freeze_panes(m_sheet, headerRow + 1, 0);

        const int firstLineRow = static_cast<int>(headerRow) + 1;
        double textWidth = MinTextWidth;
        for (std::size_t i = 0; i < m_table.lines.size(); ++i) {
            const Line& line = m_table.lines[i];
            const auto lineRow = static_cast<lxw_row_t>(firstLineRow + static_cast<int>(i));
            const int level = std::clamp(line.level, 0, MaxLevel);
            const bool bold = line.kind != Line::Kind::Detail;
            writeText(lineRow, 0, line.text, m_text[bold][level]);
            textWidth
                = std::max(textWidth, static_cast<double>(line.text.size()) + CharsPerIndent * level + 2);
            if (detail::hasQuantityColumn(m_table) && line.quantity)
                worksheet_write_number(m_sheet, lineRow, 1, *line.quantity, m_number[bold]);
            if (detail::hasAmountColumn(m_table) && line.amount) {
                const int column = detail::hasQuantityColumn(m_table) ? 2 : 1;
                const QString formula
                    = isFormula(line) ? sumFormula(line.terms, firstLineRow, column) : QString();
                // A total over thousands of scattered items stays a plain number.
                if (formula.isEmpty() || formula.size() - 1 > MaxFormulaLength)
                    worksheet_write_number(
                        m_sheet, lineRow, static_cast<lxw_col_t>(column), *line.amount, m_number[bold]);
                else
                    // The computed value goes in as the formula's result, for viewers that do not
                    // recalculate on opening.
                    worksheet_write_formula_num(m_sheet, lineRow, static_cast<lxw_col_t>(column),
                        utf8(formula).constData(), m_number[bold], *line.amount);
            }
        }
        worksheet_set_column(m_sheet, 0, 0, std::min(textWidth, MaxTextWidth), nullptr);
        for (int column = 0; column < m_table.columns.size() && column < 2; ++column) {
            const double width
                = std::max(NumberWidth, static_cast<double>(m_table.columns.at(column).size()) + 2);
            worksheet_set_column(m_sheet, static_cast<lxw_col_t>(column + 1),
                static_cast<lxw_col_t>(column + 1), width, nullptr);
        }
    }

private:
    bool isFormula(const Line& line) const
    {
        if (line.kind != Line::Kind::Sum && line.kind != Line::Kind::Total)
            return false;
        const auto count = static_cast<int>(m_table.lines.size());
        return !line.terms.empty()
            && std::all_of(line.terms.begin(), line.terms.end(),
                [count](const auto& term) { return term.first >= 0 && term.first < count; });
    }

    void writeText(lxw_row_t row, lxw_col_t column, const QString& text, lxw_format* format)
    {
        if (!text.isEmpty())
            worksheet_write_string(m_sheet, row, column, utf8(text).constData(), format);
    }

    const Table& m_table;
    lxw_worksheet* m_sheet;
    lxw_format* m_title = nullptr;
    lxw_format* m_header = nullptr;
    lxw_format* m_numberHeader = nullptr;
    std::array<std::array<lxw_format*, MaxLevel + 1>, 2> m_text {};
    std::array<lxw_format*, 2> m_number {};
};

} // namespace

bool writeXlsx(const Table& table, const QString& fileName, QString* error)
{
    // The workbook is assembled in a scratch folder and then put in place like any other file,
    // so both exports refuse a bad destination with the same words and never leave half a file.
    QTemporaryDir scratch;
    const QString scratchFile = scratch.filePath(QStringLiteral("relatorio.xlsx"));
    const QByteArray scratchFolder = QFile::encodeName(scratch.path());
    lxw_workbook_options options {};
    options.tmpdir = const_cast<char*>(scratchFolder.constData());
    lxw_workbook* book = scratch.isValid()
        ? workbook_new_opt(QFile::encodeName(scratchFile).constData(), &options)
        : nullptr;
    if (!book) {
        if (error)
            *error = QStringLiteral("Não foi possível montar a planilha: falta espaço na pasta temporária.");
        return false;
    }
    Sheet(book, table).write();
    if (workbook_close(book) != LXW_NO_ERROR) {
        if (error)
            *error = QStringLiteral("Não foi possível montar a planilha na pasta temporária.");
        return false;
    }
    QFile built(scratchFile);
    if (!built.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("Não foi possível ler a planilha montada na pasta temporária.");
        return false;
    }
    return detail::saveFile(fileName, built.readAll(), error);
}

} // namespace varemo::reports
