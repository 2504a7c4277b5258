// The report viewer: its toolbar, pages, zoom, page history and table of contents.

#include "reports/viewer.h"

#include <QAction>
#include <QActionGroup>
#include <QComboBox>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
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

struct ToolEntry {
    const char16_t* key;
    const char16_t* caption; // as the viewer delivers it; the preview translates it
    const char16_t* tooltip;
    bool separatorAfter;
};

const std::array<ToolEntry, 16> Tools {{
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
    connect(Paginas, &PageView::turnPage, this, [this](int direction) {
        // coming back up, the page before shows its end
        if (goToPage(m_current + direction) && direction < 0)
            Paginas->verticalScrollBar()->setValue(Paginas->verticalScrollBar()->maximum());
    });
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
    pageBox->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto* boxLayout = new QHBoxLayout(pageBox);
    boxLayout->setContentsMargins(4, 0, 4, 0);
    boxLayout->addWidget(NumeroPagina);
    boxLayout->addWidget(TotalPaginas);

    auto* views = new QActionGroup(this);
    for (const ToolEntry& entry : Tools) {
        const QString key = QString::fromUtf16(entry.key);
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
        action->setText(QString::fromUtf16(entry.caption));
        action->setToolTip(QString::fromUtf16(entry.tooltip));
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
        if (entry.separatorAfter)
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
