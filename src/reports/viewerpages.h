#pragma once

#include "reports/document.h"

#include <QAbstractScrollArea>

#include <vector>

namespace varemo::reports {

// One text of the report that holds what was searched for.
struct Hit {
    int page = 0;
    int run = 0;
    friend bool operator==(const Hit&, const Hit&) = default;
};

// The pages of the preview: the current page alone, or every page side by side in rows.
// Only the pages in sight are painted, straight from the laid-out document.
class PageView : public QAbstractScrollArea {
    Q_OBJECT
public:
    static constexpr int Margin = 16; // pixels around the pages
    static constexpr int Gap = 16; // pixels between pages in the multiple view

    explicit PageView(QWidget* parent = nullptr);

    void setDocument(const Document* document);
    void setZoom(int percent);
    void setMultiple(bool multiple);
    void setCurrent(int page);
    void setHits(std::vector<Hit> hits, int current);

    bool multiple() const { return m_multiple; }
    int columns() const { return m_columns; }
    // The zoom at which a page fills the width, the whole view, or two pages fit across.
    enum class Fit { Width, Page, Two };
    int fitZoom(Fit fit) const;
    // Brings page `page` into sight; `y` (mm from the page's top) is kept in the upper third.
    void scrollToPage(int page, qreal y = -1);
    // Where a page is painted, in the coordinates of the whole scrolled area.
    QRect pageRect(int page) const;
    int pageAt(QPoint viewportPoint) const;
    // Pages painted by the last paint; lets a test see that far pages are left alone.
    int lastPaintedPages() const { return m_painted; }

signals:
    void pageClicked(int page);
    void pageActivated(int page);
    void zoomStep(int direction);
    // the wheel went on past the end of the single page shown: 1 the next page, -1 the one before
    void turnPage(int direction);
    void resized();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    qreal dotsPerMm(int zoom) const;
    QSize pagePixels() const;
    void relayout();
    void paintHits(QPainter& painter, int page, qreal scale) const;

    const Document* m_document = nullptr;
    int m_zoom = 100;
    bool m_multiple = false;
    int m_current = 0;
    int m_columns = 1;
    QSize m_content;
    std::vector<Hit> m_hits;
    int m_currentHit = -1;
    int m_painted = 0;
    int m_edgeWheel = 0; // wheel turned past the page's end or top, not yet a page
};

} // namespace varemo::reports
