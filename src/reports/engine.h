#pragma once

#include "reports/document.h"

#include <functional>
#include <optional>

namespace varemo::reports {

// A text placed within a band: x and width in millimetres from the left margin.
struct BandText {
    qreal x = 0;
    qreal width = 0;
    QString text;
    Qt::Alignment align = Qt::AlignLeft;
    bool bold = false;
};

struct Band {
    qreal height = 5;
    std::vector<BandText> texts;
    bool ruleBelow = false;
    // never the last band of a page: it moves to the next page with the band that follows
    bool keepWithNext = false;
    QString tocText; // a group header's entry in the table of contents
    int tocLevel = 0;
};

// Lays bands out on pages as the caller feeds them, row by row. Page headers and footers
// repeat on every page; "{pagina}" and "{paginas}" in any text become the page's number and
// the total, known only once the last band is in.
class Engine {
public:
    explicit Engine(QSizeF pageSize = {210, 297}, qreal margin = 10);

    void setPageHeader(const Band& band) { m_pageHeader = band; }
    void setPageFooter(const Band& band) { m_pageFooter = band; }
    // Called on every band before it is placed: may change texts, height or keep-with-next.
    void setFormat(std::function<void(Band&)> format) { m_format = std::move(format); }

    void add(Band band);
    Document finish();

private:
    void place(const Band& band);
    void openPage();
    void closePage();
    qreal bottom() const;

    Document m_document;
    qreal m_margin;
    qreal m_y = 0;
    bool m_pageOpen = false;
    std::optional<Band> m_pageHeader;
    std::optional<Band> m_pageFooter;
    std::vector<Band> m_held; // bands kept with the next one
    std::function<void(Band&)> m_format;
};

} // namespace varemo::reports
