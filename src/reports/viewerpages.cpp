// The preview's page area.

#include "reports/viewerpages.h"

#include "reports/painter.h"

#include <QFontMetricsF>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>

namespace varemo::reports {

namespace {

const QColor ViewBackground(0x7f, 0x87, 0x90);
const QColor PageShadow(0, 0, 0, 70);
const QColor CurrentFrame(0x1e, 0x88, 0xe5);
const QColor HitMark(255, 230, 0, 110);
const QColor CurrentHitMark(255, 140, 0, 150);
constexpr int MinZoom = 10;

} // namespace

PageView::PageView(QWidget* parent)
    : QAbstractScrollArea(parent)
{
    setObjectName(QStringLiteral("Paginas"));
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    // a bar coming and going would change the width a fitted zoom is worked out from, and again
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setMinimumSize(1, 1);
}

void PageView::setDocument(const Document* document)
{
    m_document = document;
    m_current = 0;
    m_hits.clear();
    m_currentHit = -1;
    relayout();
}

void PageView::setZoom(int percent)
{
    m_zoom = percent;
    relayout();
}

void PageView::setMultiple(bool multiple)
{
    m_multiple = multiple;
    relayout();
}

void PageView::setCurrent(int page)
{
    m_current = page;
    viewport()->update();
}

void PageView::setHits(std::vector<Hit> hits, int current)
{
    m_hits = std::move(hits);
    m_currentHit = current;
    viewport()->update();
}

qreal PageView::dotsPerMm(int zoom) const
{
    return zoom / 100.0 * logicalDpiX() / 25.4;
}

QSize PageView::pagePixels() const
{
    if (!m_document)
        return {};
    const QSizeF size = m_document->pageSize * dotsPerMm(m_zoom);
    return {qRound(size.width()), qRound(size.height())};
}

int PageView::fitZoom(Fit fit) const
{
    if (!m_document)
        return m_zoom;
    const QSizeF page = m_document->pageSize * dotsPerMm(100);
    const QSize room = viewport()->size() - QSize(2 * Margin, 2 * Margin);
    const qreal across = room.width() / page.width();
    qreal factor = across;
    if (fit == Fit::Page)
        factor = std::min(across, room.height() / page.height());
    else if (fit == Fit::Two)
        factor = std::min((room.width() - Gap) / 2 / page.width(), 1.0);
    return std::max(MinZoom, int(factor * 100));
}

void PageView::relayout()
{
    const int pages = m_document ? int(m_document->pages.size()) : 0;
    const QSize page = pagePixels();
    if (pages == 0) {
        m_content = {};
    } else if (m_multiple) {
        const int fit = (viewport()->width() - 2 * Margin + Gap) / std::max(page.width() + Gap, 1);
        m_columns = std::clamp(fit, 1, pages);
        const int rows = (pages + m_columns - 1) / m_columns;
        m_content = {2 * Margin + m_columns * page.width() + (m_columns - 1) * Gap,
            2 * Margin + rows * page.height() + (rows - 1) * Gap};
    } else {
        m_columns = 1;
        m_content = page + QSize(2 * Margin, 2 * Margin);
    }
    const QSize room = viewport()->size();
    horizontalScrollBar()->setRange(0, std::max(0, m_content.width() - room.width()));
    horizontalScrollBar()->setPageStep(room.width());
    verticalScrollBar()->setRange(0, std::max(0, m_content.height() - room.height()));
    verticalScrollBar()->setPageStep(room.height());
    verticalScrollBar()->setSingleStep(std::max(20, page.height() / 20));
    viewport()->update();
}

QRect PageView::pageRect(int page) const
{
    const QSize size = pagePixels();
    const int rowWidth = m_columns * size.width() + (m_columns - 1) * Gap;
    // narrower than the window: centred
    const int left = std::max(Margin, (viewport()->width() - rowWidth) / 2);
    if (!m_multiple)
        return {QPoint(left, Margin), size};
    const int row = page / m_columns;
    const int column = page % m_columns;
    return {QPoint(left + column * (size.width() + Gap), Margin + row * (size.height() + Gap)), size};
}

int PageView::pageAt(QPoint viewportPoint) const
{
    if (!m_document)
        return -1;
    const QPoint point = viewportPoint + QPoint(horizontalScrollBar()->value(), verticalScrollBar()->value());
    if (!m_multiple)
        return pageRect(m_current).contains(point) ? m_current : -1;
    for (int p = 0; p < int(m_document->pages.size()); ++p) {
        if (pageRect(p).contains(point))
            return p;
    }
    return -1;
}

void PageView::scrollToPage(int page, qreal y)
{
    if (!m_document)
        return;
    const QRect rect = pageRect(page);
    const int top = verticalScrollBar()->value();
    // a page already wholly in sight stays where it is, as when it is clicked
    if (m_multiple && y < 0 && rect.top() >= top && rect.bottom() <= top + viewport()->height())
        return;
    int target = m_multiple ? rect.top() - Margin : 0;
    if (y >= 0)
        target = rect.top() + qRound(y * dotsPerMm(m_zoom)) - viewport()->height() / 3;
    verticalScrollBar()->setValue(std::max(0, target));
}

void PageView::paintEvent(QPaintEvent* event)
{
    QPainter painter(viewport());
    painter.fillRect(event->rect(), ViewBackground);
    m_painted = 0;
    if (!m_document || m_document->pages.empty())
        return;
    const QPoint offset(horizontalScrollBar()->value(), verticalScrollBar()->value());
    const QRect exposed = event->rect().translated(offset);
    const int pages = int(m_document->pages.size());
    int first = m_current;
    int last = m_current;
    if (m_multiple) {
        // the rows in sight, worked out rather than testing every page of a long report
        const int rowHeight = pagePixels().height() + Gap;
        const int firstRow = std::max(0, (exposed.top() - Margin) / std::max(rowHeight, 1));
        const int lastRow = std::max(0, (exposed.bottom() - Margin) / std::max(rowHeight, 1));
        first = firstRow * m_columns;
        last = std::min(pages - 1, (lastRow + 1) * m_columns - 1);
    }
    const qreal scale = dotsPerMm(m_zoom);
    painter.translate(-offset);
    for (int p = first; p <= last; ++p) {
        const QRect rect = pageRect(p);
        if (!rect.intersects(exposed))
            continue;
        ++m_painted;
        painter.fillRect(rect.translated(3, 3), PageShadow);
        painter.fillRect(rect, Qt::white);
        painter.save();
        painter.setClipRect(rect);
        painter.translate(rect.topLeft());
        paintHits(painter, p, scale);
        paintPage(*m_document, p, painter, scale);
        painter.restore();
        if (m_multiple && p == m_current) {
            painter.setPen(QPen(CurrentFrame, 3));
            painter.drawRect(rect.adjusted(-2, -2, 2, 2));
        }
    }
}

void PageView::paintHits(QPainter& painter, int page, qreal scale) const
{
    for (size_t h = 0; h < m_hits.size(); ++h) {
        const Hit& hit = m_hits[h];
        if (hit.page != page)
            continue;
        const TextRun& run = m_document->pages[size_t(page)].texts[size_t(hit.run)];
        QFont font(QStringLiteral("Arial"));
        font.setPixelSize(std::max(1, qRound(run.pointSize * 25.4 / 72 * scale)));
        font.setBold(run.bold);
        const QRectF cell(run.rect.topLeft() * scale, run.rect.size() * scale);
        // the mark covers the words, not the whole column they sit in
        qreal width = QFontMetricsF(font, viewport()).horizontalAdvance(run.text) + 2;
        if (cell.width() > 0)
            width = std::min(width, cell.width());
        qreal left = cell.left();
        if (run.align & Qt::AlignRight)
            left = cell.right() - width;
        else if (run.align & Qt::AlignHCenter)
            left = cell.center().x() - width / 2;
        painter.fillRect(QRectF(left, cell.top(), width, cell.height()),
            int(h) == m_currentHit ? CurrentHitMark : HitMark);
    }
}

void PageView::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    relayout();
    emit resized();
}

void PageView::mousePressEvent(QMouseEvent* event)
{
    const int page = pageAt(event->position().toPoint());
    if (page >= 0 && m_multiple)
        emit pageClicked(page);
    QAbstractScrollArea::mousePressEvent(event);
}

void PageView::mouseDoubleClickEvent(QMouseEvent* event)
{
    const int page = pageAt(event->position().toPoint());
    if (page >= 0 && m_multiple)
        emit pageActivated(page);
    QAbstractScrollArea::mouseDoubleClickEvent(event);
}

void PageView::wheelEvent(QWheelEvent* event)
{
    if (event->modifiers() & Qt::ControlModifier) {
        emit zoomStep(event->angleDelta().y() > 0 ? 1 : -1);
        event->accept();
        return;
    }
    // reading on in the single view: two notches past the page's end bring the next page,
    // as many before its top the one before; a touchpad's small steps add up the same way
    const QScrollBar* bar = verticalScrollBar();
    const int delta = event->angleDelta().y();
    const bool pastEnd = delta < 0 && bar->value() == bar->maximum();
    const bool pastTop = delta > 0 && bar->value() == bar->minimum();
    if (!m_multiple && (pastEnd || pastTop)) {
        if ((m_edgeWheel > 0) != (delta > 0))
            m_edgeWheel = 0;
        m_edgeWheel += delta;
        if (std::abs(m_edgeWheel) >= 2 * QWheelEvent::DefaultDeltasPerStep) {
            m_edgeWheel = 0;
            emit turnPage(pastEnd ? 1 : -1);
        }
        event->accept();
        return;
    }
    m_edgeWheel = 0;
    QAbstractScrollArea::wheelEvent(event);
}

} // namespace varemo::reports
