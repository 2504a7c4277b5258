#pragma once

#include <QLineF>
#include <QRectF>
#include <QSizeF>
#include <QString>

#include <vector>

namespace varemo::reports {

// Every position is in millimetres from the paper's top-left corner.
struct TextRun {
    QRectF rect;
    QString text;
    Qt::Alignment align = Qt::AlignLeft;
    qreal pointSize = 9;
    bool bold = false;
};

struct LineRun {
    QLineF line;
    qreal thickness = 0.25;
};

struct Page {
    std::vector<TextRun> texts;
    std::vector<LineRun> lines;
};

// A group header's entry: its text, nesting level, page (0-based) and top on that page.
struct TocEntry {
    QString text;
    int level = 0;
    int page = 0;
    qreal y = 0;
};

inline QSizeF a4(bool landscape = false)
{
    return landscape ? QSizeF(297, 210) : QSizeF(210, 297);
}

struct Document {
    QSizeF pageSize {210, 297}; // A4 portrait
    std::vector<Page> pages;
    std::vector<TocEntry> toc;

    bool landscape() const { return pageSize.width() > pageSize.height(); }
    // The page and run of the first text holding `needle` (case-insensitive), from `fromPage` on.
    std::pair<int, int> find(const QString& needle, int fromPage = 0) const;
    // A page's texts top to bottom, one line per run, as a copy to the clipboard gives them.
    QString pageText(int page) const;
};

} // namespace varemo::reports
