// The report viewer: its toolbar, pages, zoom, page history and table of contents.

#include "reports/viewer.h"

#include <QAction>
#include <QActionGroup>
#include <QComboBox>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QSplitter>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <QWidgetAction>

#include <algorithm>
#include <array>

namespace varemo::reports {

namespace {

struct ToolSpec {
    const char16_t* key;
    const char16_t* caption; // as the viewer delivers it; the preview translates it
    const char16_t* tooltip;
    bool separatorAfter;
};

const std::array<ToolSpec, 16> Tools {{
    {u"TOC", u"Table Of Contents", u"Table Of Contents", false},
    {u"Print", u"&Print...", u"Print", false},
    {u"ExportPdf", u"Exportar PDF", u"Gravar o relatório num arquivo PDF", false},
    {u"ExportSheet", u"Exportar planilha", u"Gravar as linhas do relatório numa planilha", true},
    {u"Copy", u"Copy", u"Copy", false},
    {u"Find", u"Find", u"Find", true},
    {u"SingleView", u"Single View", u"Single View", false},
    {u"MultiView", u"Multi Page View", u"Multi Page View", true},
    {u"ZoomOut", u"Zoom out", u"Zoom out", false},
    {u"ZoomIn", u"Zoom in", u"Zoom in", false},
    {u"Display", u"Exibição", u"Índice, largura da página ou página toda", true},
    {u"PrevPage", u"PrevPage", u"PrevPage", false},
    {u"PageNumber", u"Page Number Edit", u"Page Number Edit", false},
    {u"NextPage", u"NextPage", u"NextPage", true},
    {u"Back", u"&Back", u"Back", false},
    {u"Forward", u"F&orward", u"Forward", false},
}};

// The tools that show their caption beside the picture while the toolbar has room.
const QStringList Captioned {
    QStringLiteral("TOC"), QStringLiteral("Print"), QStringLiteral("ExportPdf"), QStringLiteral("Find")};

constexpr std::array<int, 10> ZoomSteps {10, 25, 50, 75, 100, 125, 150, 200, 300, 400};

// What the display choices do; the window that holds the viewer adds them by these texts.
const QString ChoiceToc = QStringLiteral("Índice");
const QString ChoiceWidth = QStringLiteral("Larg.Pág.");
const QString ChoicePage = QStringLiteral("Pág.Toda");

QKeySequence shortcutFor(const QString& key)
{
    if (key == u"Print")
        return QKeySequence::Print;
    if (key == u"Copy")
        return QKeySequence::Copy;
    if (key == u"Find")
        return QKeySequence::Find;
    if (key == u"ZoomIn")
        return QKeySequence::ZoomIn;
    if (key == u"ZoomOut")
        return QKeySequence::ZoomOut;
    if (key == u"PrevPage")
        return QKeySequence(Qt::Key_PageUp);
    if (key == u"NextPage")
        return QKeySequence(Qt::Key_PageDown);
    if (key == u"Back")
        return QKeySequence(Qt::ALT | Qt::Key_Left);
    if (key == u"Forward")
        return QKeySequence(Qt::ALT | Qt::Key_Right);
    return {};
}

} // namespace

ReportViewer::ReportViewer(Desktop& desktop, QWidget* parent, const QStringList& onlyTools)
    : QWidget(parent)
    , m_desktop(desktop)
{
    setObjectName(QStringLiteral("Visual"));
    buildToolbar(onlyTools);
    buildFindBar();

    Indice = new QTreeWidget;
    Indice->setObjectName(QStringLiteral("Indice"));
    Indice->setHeaderHidden(true);
    connect(Indice, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) { Indice_Click(item); });
    connect(Indice, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem* item) { Indice_Click(item); });
    Indice->hide();

    Paginas = new PageView;
    connect(Paginas, &PageView::pageClicked, this, [this](int page) { goToPage(page); });
    connect(Paginas, &PageView::pageActivated, this, [this](int page) {
        goToPage(page);
        setMultiple(false);
    });
    connect(Paginas, &PageView::zoomStep, this, &ReportViewer::zoomStep);
    // fitted zooms follow the window's size
    connect(Paginas, &PageView::resized, this, [this] {
        if (m_fit != Fit::None)
            refresh();
    });

    m_splitter = new QSplitter(Qt::Horizontal);
    m_splitter->addWidget(Indice);
    m_splitter->addWidget(Paginas);
    m_splitter->setStretchFactor(1, 1);
    m_splitter->setSizes({240, 800});

    Situacao = new QLabel;
    Situacao->setObjectName(QStringLiteral("Situacao"));
    Situacao->setContentsMargins(6, 2, 6, 2);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    // the window places the viewer itself, at any size
    layout->setSizeConstraint(QLayout::SetNoConstraint);
    layout->addWidget(Barra);
    layout->addWidget(BarraLocalizar);
    layout->addWidget(m_splitter, 1);
    layout->addWidget(Situacao);
    setMinimumSize(1, 1);
    refresh();
}

ReportViewer::~ReportViewer() = default;

void ReportViewer::buildToolbar(const QStringList& onlyTools)
{
    Barra = new QToolBar(this);
    Barra->setObjectName(QStringLiteral("BarraVisual"));
    Barra->setMovable(false);
    Barra->setToolButtonStyle(Qt::ToolButtonIconOnly);

    // parented to the viewer: they exist even when the toolbar lacks their tools
    Exibicao = new QComboBox(this);
    Exibicao->setObjectName(QStringLiteral("Exibicao"));
    Exibicao->setMinimumContentsLength(9);
    Exibicao->setPlaceholderText(QStringLiteral("Exibição"));
    connect(Exibicao, &QComboBox::activated, this, &ReportViewer::Exibicao_Click);

    auto* pageBox = new QWidget(this);
    NumeroPagina = new QLineEdit(pageBox);
    NumeroPagina->setObjectName(QStringLiteral("NumeroPagina"));
    NumeroPagina->setValidator(new QIntValidator(1, 99999, NumeroPagina));
    NumeroPagina->setAlignment(Qt::AlignRight);
    NumeroPagina->setFixedWidth(48);
    connect(NumeroPagina, &QLineEdit::returnPressed, this, &ReportViewer::NumeroPagina_Enter);
    TotalPaginas = new QLabel(QStringLiteral("de 0"), pageBox);
    auto* boxLayout = new QHBoxLayout(pageBox);
    boxLayout->setContentsMargins(4, 0, 4, 0);
    boxLayout->addWidget(NumeroPagina);
    boxLayout->addWidget(TotalPaginas);

    auto* views = new QActionGroup(this);
    for (const ToolSpec& spec : Tools) {
        const QString key = QString::fromUtf16(spec.key);
        if (!onlyTools.isEmpty() && !onlyTools.contains(key))
            continue;
        QWidget* widget = key == u"Display" ? static_cast<QWidget*>(Exibicao)
            : key == u"PageNumber"          ? pageBox
                                            : nullptr;
        QAction* action = nullptr;
        if (widget) {
            auto* holder = new QWidgetAction(this);
            holder->setDefaultWidget(widget);
            // the box shows the tooltip its tool is given
            connect(holder, &QAction::changed, widget,
                [holder, widget] { widget->setToolTip(holder->toolTip()); });
            action = holder;
        } else {
            action = new QAction(this);
            action->setIcon(toolIcon(key));
        }
        action->setObjectName(QStringLiteral("Tool_") + key);
        action->setText(QString::fromUtf16(spec.caption));
        action->setToolTip(QString::fromUtf16(spec.tooltip));
        if (const QKeySequence shortcut = shortcutFor(key); !shortcut.isEmpty()) {
            action->setShortcut(shortcut);
            action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        }
        if (key == u"TOC")
            action->setCheckable(true);
        if (key == u"SingleView" || key == u"MultiView") {
            action->setCheckable(true);
            action->setChecked(key == u"SingleView");
            views->addAction(action);
        }
        Barra->addAction(action);
        if (spec.separatorAfter)
            Barra->addSeparator();
    }
    for (QWidget* widget : {static_cast<QWidget*>(Exibicao), pageBox}) {
        if (!widget->parentWidget() || widget->parentWidget() == this)
            widget->hide(); // its tool is not in this toolbar
    }

    const auto on = [this](const char* key, auto run) {
        if (QAction* action = tool(QString::fromLatin1(key)))
            connect(action, &QAction::triggered, this, run);
    };
    on("TOC", [this](bool checked) { showToc(checked); });
    on("Print", [this] { printReport(); });
    on("ExportPdf", [this] { exportPdf(); });
    on("ExportSheet", [this] { exportSheet(); });
    on("Copy", [this] { copyPage(); });
    on("Find", [this] { showFind(); });
    on("SingleView", [this] { setMultiple(false); });
    on("MultiView", [this] { setMultiple(true); });
    on("ZoomOut", [this] { zoomStep(-1); });
    on("ZoomIn", [this] { zoomStep(1); });
    on("PrevPage", [this] { goToPage(m_current - 1); });
    on("NextPage", [this] { goToPage(m_current + 1); });
    on("Back", [this] { goBack(); });
    on("Forward", [this] { goForward(); });
    showCaptions(true);
}

QList<QAction*> ReportViewer::tools() const
{
    QList<QAction*> result;
    for (QAction* action : Barra->actions()) {
        if (!action->isSeparator())
            result << action;
    }
    return result;
}

QAction* ReportViewer::tool(const QString& key) const
{
    const QString name = QStringLiteral("Tool_") + key;
    for (QAction* action : Barra->actions()) {
        if (action->objectName() == name)
            return action;
    }
    return nullptr;
}

void ReportViewer::addDisplayChoice(const QString& text, int position)
{
    Exibicao->insertItem(position, text);
    Exibicao->setCurrentIndex(-1);
}

QStringList ReportViewer::displayChoices() const
{
    QStringList texts;
    for (int i = 0; i < Exibicao->count(); ++i)
        texts << Exibicao->itemText(i);
    return texts;
}

void ReportViewer::setReportSource(Report report)
{
    m_report.emplace(std::move(report));
    m_current = 0;
    m_backPages.clear();
    m_forwardPages.clear();
    Paginas->setDocument(&m_report->document);
    clearHits();
    fillToc();
    refresh();
}

void ReportViewer::releaseReport()
{
    Paginas->setDocument(nullptr);
    m_report.reset();
    m_current = 0;
    m_backPages.clear();
    m_forwardPages.clear();
    clearHits();
    fillToc();
    refresh();
}

int ReportViewer::pageCount() const
{
    return m_report ? int(m_report->document.pages.size()) : 0;
}

void ReportViewer::setZoom(int percent)
{
    m_fit = Fit::None;
    applyZoom(percent);
}

void ReportViewer::applyZoom(int percent)
{
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

void ReportViewer::say(const QString& text)
{
    Situacao->setText(text);
}

void ReportViewer::showCaptions(bool shown)
{
    for (const QString& key : Captioned) {
        QAction* action = tool(key);
        if (auto* button = qobject_cast<QToolButton*>(action ? Barra->widgetForAction(action) : nullptr))
            button->setToolButtonStyle(shown ? Qt::ToolButtonTextBesideIcon : Qt::ToolButtonIconOnly);
    }
    m_captioned = shown;
}

void ReportViewer::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    // on a narrow window the captions give way first, so the page tools stay in sight
    if (!m_captioned)
        showCaptions(true);
    if (Barra->sizeHint().width() > width())
        showCaptions(false);
}

} // namespace varemo::reports
