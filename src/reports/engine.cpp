#include "reports/engine.h"

namespace varemo::reports {

namespace {

const QString PageNumber = QStringLiteral("{pagina}");
const QString PageCount = QStringLiteral("{paginas}");

} // namespace

Engine::Engine(QSizeF pageSize, qreal margin)
    : m_margin(margin)
{
    m_document.pageSize = pageSize;
}

qreal Engine::bottom() const
{
    return m_document.pageSize.height() - m_margin - (m_pageFooter ? m_pageFooter->height : 0);
}

void Engine::openPage()
{
    m_document.pages.emplace_back();
    m_pageOpen = true;
    m_y = m_margin;
    if (m_pageHeader)
        place(*m_pageHeader);
}

void Engine::closePage()
{
    if (m_pageFooter) {
        m_y = bottom();
        place(*m_pageFooter);
    }
    m_pageOpen = false;
}

void Engine::place(const Band& band)
{
    Page& page = m_document.pages.back();
    const qreal left = m_margin;
    for (const BandText& text : band.texts) {
        page.texts.push_back({QRectF(left + text.x, m_y, text.width, band.height), text.text,
            text.align | Qt::AlignVCenter, 9, text.bold});
    }
    if (band.ruleBelow) {
        const qreal y = m_y + band.height;
        page.lines.push_back({QLineF(left, y, m_document.pageSize.width() - m_margin, y)});
    }
    if (!band.tocText.isEmpty())
        m_document.toc.push_back({band.tocText, band.tocLevel, int(m_document.pages.size()) - 1, m_y});
    m_y += band.height;
}

void Engine::add(Band band)
{
    if (m_format)
        m_format(band);
    m_held.push_back(std::move(band));
    if (m_held.back().keepWithNext)
        return;
    if (!m_pageOpen)
        openPage();
    qreal needed = 0;
    for (const Band& held : m_held)
        needed += held.height;
    // a chain that cannot fit even a fresh page is laid out as it comes, to not loop on it
    const qreal fresh = bottom() - m_margin - (m_pageHeader ? m_pageHeader->height : 0);
    if (m_y + needed > bottom() + 1e-6 && needed <= fresh + 1e-6) {
        closePage();
        openPage();
    }
    for (const Band& held : m_held) {
        if (m_y + held.height > bottom() + 1e-6) {
            closePage();
            openPage();
        }
        place(held);
    }
    m_held.clear();
}

Document Engine::finish()
{
    // headers left without a row still print: the report's end follows them
    if (!m_held.empty()) {
        m_held.back().keepWithNext = false;
        Band last = m_held.back();
        m_held.pop_back();
        const auto format = std::exchange(m_format, nullptr);
        add(std::move(last));
        m_format = format;
    }
    if (!m_pageOpen && m_document.pages.empty())
        openPage();
    if (m_pageOpen)
        closePage();
    const QString total = QString::number(m_document.pages.size());
    for (size_t p = 0; p < m_document.pages.size(); ++p) {
        for (TextRun& run : m_document.pages[p].texts) {
            run.text.replace(PageNumber, QString::number(p + 1));
            run.text.replace(PageCount, total);
        }
    }
    Document done = std::move(m_document);
    m_document = Document {done.pageSize, {}, {}};
    return done;
}

} // namespace varemo::reports
