// A report's lines laid out on pages as a printed report.

#include "reports/reportlayout.h"

#include "reports/engine.h"
#include "reports/format.h"

#include <QLocale>

#include <algorithm>
#include <array>
#include <cmath>

namespace varemo::reports {

namespace {

constexpr qreal Margin = 15;
constexpr qreal Indent = 5; // per level
constexpr qreal MoneyWidth = 32;
constexpr qreal QuantityWidth = 24;
constexpr qreal Gap = 3;

// How one placed text looks beyond what the engine records.
struct Style {
    qreal pointSize = 9;
    bool ruleAbove = false; // a short line over the amount: the sum of the lines above
    int line = -1; // the table's line the text belongs to
};

struct Geometry {
    qreal width; // between the margins
    qreal money; // left of the amount column
    qreal quantity; // left of the quantity column
    qreal names; // right end of the names
};

Geometry geometry(const Table& table, QSizeF page)
{
    const qreal width = page.width() - 2 * Margin;
    const qreal money = width - MoneyWidth;
    const qreal quantity = money - Gap - QuantityWidth;
    qreal names = width;
    if (table.columns.size() >= 2)
        names = quantity - Gap;
    else if (table.columns.size() == 1)
        names = money - Gap;
    return {width, money, quantity, names};
}

QString quantityText(double value)
{
    static const QLocale brazil(QLocale::Portuguese, QLocale::Brazil);
    // whole units print as a count, fractions (kilos, litres) with two decimals
    if (std::abs(value - std::round(value)) < 1e-9)
        return brazil.toString(qlonglong(std::llround(value)));
    return brazil.toString(value, 'f', 2);
}

// Heading sizes: Categoria biggest; the names of a listing's own level as details.
qreal headingSize(int level)
{
    static constexpr qreal sizes[] {11, 10, 9.5, 9.5, 9};
    return sizes[std::clamp(level, 0, 4)];
}

qreal headingHeight(int level)
{
    static constexpr qreal heights[] {9, 7.5, 6.5, 6, 5.5};
    return heights[std::clamp(level, 0, 4)];
}

class Builder {
public:
    Builder(const Table& table, QSizeF page)
        : m_table(table)
        , m_geometry(geometry(table, page))
        , m_engine(page, Margin)
    {
    }

    Document run()
    {
        pageHeader();
        pageFooter();
        bool totalsStarted = false;
        for (size_t i = 0; i < m_table.lines.size(); ++i) {
            const Line& line = m_table.lines[i];
            m_line = int(i);
            const bool nextIsTotal
                = i + 1 < m_table.lines.size() && m_table.lines[i + 1].kind == Line::Kind::Total;
            switch (line.kind) {
            case Line::Kind::Heading:
                heading(line);
                break;
            case Line::Kind::Detail:
                detail(line);
                break;
            case Line::Kind::Sum:
                sum(line);
                break;
            case Line::Kind::Total:
                if (!totalsStarted)
                    totalsRule();
                totalsStarted = true;
                total(line, nextIsTotal);
                break;
            }
        }
        return finish();
    }

private:
    void add(Band band, std::vector<Style> styles)
    {
        styles.resize(band.texts.size());
        for (Style& style : styles)
            style.line = m_line;
        m_styles.insert(m_styles.end(), styles.begin(), styles.end());
        m_engine.add(std::move(band));
    }

    void numbers(Band& band, std::vector<Style>& styles, const Line& line, bool bold, qreal size)
    {
        if (line.quantity && m_table.columns.size() >= 2) {
            band.texts.push_back(
                {m_geometry.quantity, QuantityWidth, quantityText(*line.quantity), Qt::AlignRight});
            styles.push_back({size});
        }
        if (line.amount && !m_table.columns.isEmpty()) {
            band.texts.push_back(
                {m_geometry.money, MoneyWidth, formatMoney(*line.amount), Qt::AlignRight, bold});
            styles.push_back({size, line.kind == Line::Kind::Sum});
        }
    }

    void pageHeader()
    {
        // the company with the first subtitle line beside it, the title, the other subtitle
        // lines, then the columns; without a company the first subtitle sits beside the title
        Band band;
        qreal top = 0;
        if (!m_table.company.isEmpty()) {
            band.texts.push_back({0, m_geometry.width, m_table.company, Qt::AlignLeft, true});
            m_header.push_back({0, 5, 8.5});
            top = 6;
        }
        band.texts.push_back({0, m_geometry.width, m_table.title, Qt::AlignLeft, true});
        m_header.push_back({top, 7, 13});
        qreal y = top + 8;
        for (int i = 0; i < m_table.subtitle.size(); ++i) {
            if (i == 0) {
                band.texts.push_back({0, m_geometry.width, m_table.subtitle[i], Qt::AlignRight});
                m_header.push_back(top > 0 ? HeaderRow {0, 5, 8.5} : HeaderRow {0, 7, 8.5});
                continue;
            }
            band.texts.push_back({0, m_geometry.width, m_table.subtitle[i], Qt::AlignLeft, true});
            m_header.push_back({y, 5, 10});
            y += 5;
        }
        const std::pair<qreal, qreal> columns[] {
            {m_geometry.quantity, QuantityWidth}, {m_geometry.money, MoneyWidth}};
        const int first = m_table.columns.size() >= 2 ? 0 : 1;
        for (int i = 0; i < m_table.columns.size() && first + i < 2; ++i) {
            const auto [x, width] = columns[first + i];
            band.texts.push_back({x, width, m_table.columns[i], Qt::AlignRight, true});
            m_header.push_back({y, 5, 8.5});
        }
        if (!m_table.columns.isEmpty())
            y += 5;
        // below the rule, a page that starts inside a group names the group it continues
        m_ruleY = y + 1;
        const bool grouped = std::any_of(m_table.lines.cbegin(), m_table.lines.cend(),
            [](const Line& line) { return line.kind == Line::Kind::Heading; });
        band.height = grouped ? y + 8 : y + 3;
        m_engine.setPageHeader(band);
    }

    void pageFooter()
    {
        Band band;
        band.height = 8;
        band.texts.push_back({0, m_geometry.width, m_table.title, Qt::AlignLeft});
        band.texts.push_back({0, m_geometry.width, QStringLiteral("Página {pagina}"), Qt::AlignRight});
        m_engine.setPageFooter(band);
        m_footerCount = int(band.texts.size());
    }

    void heading(const Line& line)
    {
        Band band;
        band.height = headingHeight(line.level);
        band.keepWithNext = true; // never alone at a page's foot
        band.ruleBelow = line.level == 0;
        band.tocText = line.text;
        band.tocLevel = line.level;
        band.texts.push_back({Indent * line.level, m_geometry.names - Indent * line.level, line.text,
            Qt::AlignLeft, line.level < 4});
        std::vector<Style> styles {{headingSize(line.level)}};
        numbers(band, styles, line, true, headingSize(line.level));
        add(std::move(band), std::move(styles));
    }

    void detail(const Line& line)
    {
        Band band;
        band.height = 5;
        const qreal x = Indent * line.level + (m_table.columns.isEmpty() ? 0 : 2);
        band.texts.push_back({x, m_geometry.names - x, line.text});
        std::vector<Style> styles {{9}};
        numbers(band, styles, line, false, 9);
        add(std::move(band), std::move(styles));
    }

    void sum(const Line& line)
    {
        Band band;
        band.height = 6.5;
        const qreal x = Indent * line.level + 2;
        band.texts.push_back({x, m_geometry.names - x, line.text});
        std::vector<Style> styles {{8.5}};
        numbers(band, styles, line, true, 9);
        add(std::move(band), std::move(styles));
    }

    void totalsRule()
    {
        Band band;
        band.height = 4;
        band.ruleBelow = true;
        band.keepWithNext = true;
        add(std::move(band), {});
    }

    void total(const Line& line, bool more)
    {
        Band band;
        band.height = 7;
        band.keepWithNext = more; // the totals stay together
        // beside its amount, or across the page when the report has no numbers
        const qreal x = m_table.columns.isEmpty() ? 0 : m_geometry.width / 3;
        const qreal right = m_table.columns.isEmpty() ? m_geometry.width : m_geometry.money - Gap;
        band.texts.push_back({x, right - x, line.text, Qt::AlignRight, !more});
        std::vector<Style> styles {{10}};
        if (line.amount) {
            band.texts.push_back(
                {m_geometry.money, MoneyWidth, formatMoney(*line.amount), Qt::AlignRight, true});
            styles.push_back({10});
        }
        add(std::move(band), std::move(styles));
    }

    // The engine places every text at one size in its band's middle: the sizes and the
    // header's rows are set here, run by run in the order they were added.
    Document finish()
    {
        Document document = m_engine.finish();
        std::vector<int> firstLines; // the first line of each page
        size_t next = 0;
        for (Page& page : document.pages) {
            const size_t headerCount = m_header.size();
            const size_t bodyEnd = page.texts.size() - size_t(m_footerCount);
            const qreal top = page.texts.empty() ? Margin : page.texts.front().rect.top();
            for (size_t i = 0; i < headerCount && i < page.texts.size(); ++i) {
                TextRun& run = page.texts[i];
                run.rect.moveTop(top + m_header[i].y);
                run.rect.setHeight(m_header[i].height);
                run.pointSize = m_header[i].pointSize;
            }
            page.lines.push_back(
                {QLineF(Margin, top + m_ruleY, Margin + m_geometry.width, top + m_ruleY), 0.4});
            firstLines.push_back(headerCount < bodyEnd && next < m_styles.size() ? m_styles[next].line : -1);
            for (size_t i = headerCount; i < bodyEnd && next < m_styles.size(); ++i, ++next) {
                TextRun& run = page.texts[i];
                run.pointSize = m_styles[next].pointSize;
                if (m_styles[next].ruleAbove) {
                    const qreal y = run.rect.top() + 0.6;
                    page.lines.push_back(
                        {QLineF(run.rect.left() + run.rect.width() / 3, y, run.rect.right(), y), 0.2});
                }
            }
            for (size_t i = bodyEnd; i < page.texts.size(); ++i) {
                page.texts[i].pointSize = 8;
                if (i == bodyEnd) {
                    const qreal y = page.texts[i].rect.top() + 1;
                    page.lines.push_back({QLineF(Margin, y, Margin + m_geometry.width, y), 0.2});
                }
            }
        }
        const std::vector<QString> context = continuations(firstLines);
        for (size_t p = 1; p < document.pages.size(); ++p) {
            if (context[p].isEmpty())
                continue;
            // in reading order, between the header and the page's lines
            auto& texts = document.pages[p].texts;
            const qreal top = texts.front().rect.top();
            texts.insert(texts.begin() + qsizetype(m_header.size()),
                {QRectF(Margin, top + m_ruleY + 0.8, m_geometry.width, 5),
                    context[p] + QStringLiteral(" (continuação)"), Qt::AlignLeft | Qt::AlignVCenter, 8,
                    false});
        }
        return document;
    }

    // For each page's first line, the headings it sits under ("Despesas › Ocupação"):
    // a heading's own parents, the groups of a detail, a sum's group itself.
    std::vector<QString> continuations(const std::vector<int>& firstLines) const
    {
        std::vector<QString> result(firstLines.size());
        std::array<QString, 5> path;
        for (size_t p = 0, i = 0; i < m_table.lines.size(); ++i) {
            const Line& line = m_table.lines[i];
            const int limit = line.kind == Line::Kind::Heading ? line.level
                : line.kind == Line::Kind::Sum                 ? line.level + 1
                : line.kind == Line::Kind::Detail              ? line.level
                                                               : 0;
            for (; p < firstLines.size() && firstLines[p] <= int(i); ++p) {
                if (firstLines[p] != int(i))
                    continue;
                QStringList names;
                for (int level = 0; level < std::min(limit, 5); ++level) {
                    if (!path[size_t(level)].isEmpty())
                        names << path[size_t(level)];
                }
                result[p] = names.join(QStringLiteral(" › "));
            }
            if (line.kind == Line::Kind::Heading && line.level >= 0 && line.level < 5) {
                path[size_t(line.level)] = line.text;
                for (int deeper = line.level + 1; deeper < 5; ++deeper)
                    path[size_t(deeper)].clear();
            }
        }
        return result;
    }

    struct HeaderRow {
        qreal y;
        qreal height;
        qreal pointSize;
    };

    const Table& m_table;
    Geometry m_geometry;
    Engine m_engine;
    std::vector<Style> m_styles;
    std::vector<HeaderRow> m_header;
    int m_footerCount = 0;
    int m_line = -1; // the line being added
    qreal m_ruleY = 0; // the header's rule, from the page's top margin
};

} // namespace

Document layoutReport(const Table& table, QSizeF pageSize)
{
    return Builder(table, pageSize).run();
}

} // namespace varemo::reports
