// The viewer's zoom, single and multiple page views, page history and table of contents.

#include "reports/viewer.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QTreeWidget>

#include <algorithm>
#include <array>

namespace varemo::reports {

namespace {

constexpr std::array<int, 10> ZoomSteps {10, 25, 50, 75, 100, 125, 150, 200, 300, 400};

// What the display choices do; the window that holds the viewer adds them by these texts.
const QString ChoiceToc = QStringLiteral("Índice");
const QString ChoiceWidth = QStringLiteral("Larg.Pág.");
const QString ChoicePage = QStringLiteral("Pág.Toda");

} // namespace

void ReportViewer::setZoom(int percent)
{
    m_fit = Fit::None;
    // a zoom of its own no longer follows the page's width or height
    Exibicao->setCurrentIndex(-1);
    m_zoom = std::clamp(percent, ZoomSteps.front(), ZoomSteps.back());
    Paginas->setZoom(m_zoom);
    refresh();
}

void ReportViewer::zoomStep(int direction)
{
    int next = direction > 0 ? ZoomSteps.back() : ZoomSteps.front();
    if (direction > 0) {
        const auto bigger = std::upper_bound(ZoomSteps.begin(), ZoomSteps.end(), m_zoom);
        if (bigger != ZoomSteps.end())
            next = *bigger;
    } else {
        const auto notSmaller = std::lower_bound(ZoomSteps.begin(), ZoomSteps.end(), m_zoom);
        if (notSmaller != ZoomSteps.begin())
            next = *(notSmaller - 1);
    }
    setZoom(next);
}

void ReportViewer::fitWidth()
{
    m_fit = Fit::Width;
    refresh();
}

void ReportViewer::fitPage()
{
    m_fit = Fit::Page;
    refresh();
    Paginas->scrollToPage(m_current);
}

bool ReportViewer::multiple() const
{
    return Paginas->multiple();
}

void ReportViewer::setMultiple(bool multiple)
{
    // several pages shrink until two fit across; back to one page, the zoom it had returns
    if (multiple && !Paginas->multiple()) {
        m_zoomBeforeMultiple = m_zoom;
        m_fitBeforeMultiple = m_fit;
        if (m_report && Paginas->fitZoom(PageView::Fit::Two) < m_zoom)
            m_fit = Fit::Two;
    } else if (!multiple && Paginas->multiple() && m_fit == Fit::Two) {
        m_fit = m_fitBeforeMultiple;
        m_zoom = m_zoomBeforeMultiple;
        Paginas->setZoom(m_zoom);
    }
    Paginas->setMultiple(multiple);
    if (QAction* single = tool(QStringLiteral("SingleView")))
        single->setChecked(!multiple);
    if (QAction* many = tool(QStringLiteral("MultiView")))
        many->setChecked(multiple);
    refresh();
    Paginas->scrollToPage(m_current);
}

void ReportViewer::showToc(bool shown)
{
    Indice->setVisible(shown);
    if (QAction* action = tool(QStringLiteral("TOC")))
        action->setChecked(shown);
}

void ReportViewer::Exibicao_Click(int index)
{
    const QString text = Exibicao->itemText(index);
    if (text == ChoiceToc)
        showToc(true);
    else if (text == ChoiceWidth)
        fitWidth();
    else if (text == ChoicePage)
        fitPage();
}

bool ReportViewer::goToPage(int page, bool remember, qreal y)
{
    if (page < 0 || page >= pageCount())
        return false;
    if (page != m_current && remember) {
        m_backPages.push_back(m_current);
        m_forwardPages.clear();
    }
    m_current = page;
    Paginas->setCurrent(page);
    refresh();
    Paginas->scrollToPage(page, y);
    return true;
}

void ReportViewer::goBack()
{
    if (m_backPages.empty())
        return;
    m_forwardPages.push_back(m_current);
    const int page = m_backPages.back();
    m_backPages.pop_back();
    goToPage(page, false);
}

void ReportViewer::goForward()
{
    if (m_forwardPages.empty())
        return;
    m_backPages.push_back(m_current);
    const int page = m_forwardPages.back();
    m_forwardPages.pop_back();
    goToPage(page, false);
}

void ReportViewer::NumeroPagina_Enter()
{
    bool number = false;
    const int page = NumeroPagina->text().trimmed().toInt(&number);
    // a page that does not exist leaves the box showing the page in sight
    if (!number || !goToPage(page - 1))
        NumeroPagina->setText(pageCount() ? QString::number(m_current + 1) : QString());
}

void ReportViewer::fillToc()
{
    Indice->clear();
    if (!m_report)
        return;
    std::vector<QTreeWidgetItem*> parents;
    for (const TocEntry& entry : m_report->document.toc) {
        parents.resize(std::min(parents.size(), size_t(std::max(entry.level, 0))));
        auto* item = new QTreeWidgetItem(QStringList {entry.text});
        item->setData(0, Qt::UserRole, entry.page);
        item->setData(0, Qt::UserRole + 1, entry.y);
        item->setToolTip(0, entry.text + QStringLiteral(" — página ") + QString::number(entry.page + 1));
        if (parents.empty())
            Indice->addTopLevelItem(item);
        else
            parents.back()->addChild(item);
        parents.push_back(item);
    }
    Indice->expandToDepth(0);
}

void ReportViewer::Indice_Click(QTreeWidgetItem* item)
{
    if (item)
        goToPage(item->data(0, Qt::UserRole).toInt(), true, item->data(0, Qt::UserRole + 1).toReal());
}

void ReportViewer::refresh()
{
    if (m_report) {
        if (m_fit == Fit::Width)
            m_zoom = Paginas->fitZoom(PageView::Fit::Width);
        else if (m_fit == Fit::Page)
            m_zoom = Paginas->fitZoom(PageView::Fit::Page);
        else if (m_fit == Fit::Two)
            m_zoom = Paginas->fitZoom(PageView::Fit::Two);
        m_zoom = std::clamp(m_zoom, ZoomSteps.front(), ZoomSteps.back());
        Paginas->setZoom(m_zoom);
    }
    const int count = pageCount();
    NumeroPagina->setText(count ? QString::number(m_current + 1) : QString());
    TotalPaginas->setText(QStringLiteral("de ") + QString::number(count));
    say(count ? QStringLiteral("Página %1 de %2  ·  Zoom %3%").arg(m_current + 1).arg(count).arg(m_zoom)
              : QString());
    updateTools();
}

void ReportViewer::updateTools()
{
    const bool pages = pageCount() > 0;
    const std::array<std::pair<const char*, bool>, 11> states {{
        {"PrevPage", pages && m_current > 0},
        {"NextPage", pages && m_current < pageCount() - 1},
        {"Back", !m_backPages.empty()},
        {"Forward", !m_forwardPages.empty()},
        {"Print", pages},
        {"ExportPdf", pages},
        {"ExportSheet", m_report.has_value()},
        {"Copy", pages},
        {"Find", pages},
        {"ZoomIn", m_zoom < ZoomSteps.back()},
        {"ZoomOut", m_zoom > ZoomSteps.front()},
    }};
    for (const auto& [key, enabled] : states) {
        if (QAction* action = tool(QString::fromLatin1(key)))
            action->setEnabled(enabled);
    }
}

} // namespace varemo::reports
