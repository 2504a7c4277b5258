#include "app/helpviewer.h"

#include "app/helptopics.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QHelpContentWidget>
#include <QHelpEngine>
#include <QHelpIndexWidget>
#include <QHelpLink>
#include <QHelpSearchEngine>
#include <QHelpSearchQueryWidget>
#include <QHelpSearchResultWidget>
#include <QInputDialog>
#include <QLabel>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QLocale>
#include <QSplitter>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTextBrowser>
#include <QToolBar>
#include <QTranslator>
#include <QVBoxLayout>
#include <QWindow>

namespace varemo {

// Pages, style sheets and pictures come out of the registered help files.
class HelpBrowser : public QTextBrowser {
public:
    using QTextBrowser::QTextBrowser;

    void setEngine(QHelpEngine* engine) { m_engine = engine; }

    QVariant loadResource(int type, const QUrl& name) override
    {
        if (name.scheme() == QLatin1String("qthelp")) {
            if (m_engine == nullptr)
                return {};
            const QByteArray bytes = m_engine->fileData(name);
            if (type == QTextDocument::HtmlResource || type == QTextDocument::StyleSheetResource)
                return QString::fromUtf8(bytes);
            return bytes;
        }
        return QTextBrowser::loadResource(type, name);
    }

private:
    QHelpEngine* m_engine = nullptr;
};

namespace {

const QStringList& helpFiles()
{
    static const QStringList files {help::helpFileName(0), help::helpFileName(help::FirstShared)};
    return files;
}

} // namespace

HelpViewer::HelpViewer(const QString& programFolder, QWidget* parent)
    : QMainWindow(parent)
    , m_programFolder(programFolder)
{
    setObjectName(QStringLiteral("HelpViewer"));
    setWindowTitle(QStringLiteral("Ajuda do Programa"));
    // A window of its own even when a parent is given: it stays open beside the program.
    setWindowFlag(Qt::Window);
    resize(900, 640);

    m_browser = new HelpBrowser(this);
    m_browser->setObjectName(QStringLiteral("Pagina"));
    // Links are followed by hand: qthelp pages stay here, mail and web go to the desktop.
    m_browser->setOpenLinks(false);
    connect(m_browser, &QTextBrowser::anchorClicked, this, &HelpViewer::followLink);

    m_panels = new QTabWidget(this);
    m_panels->setObjectName(QStringLiteral("Paineis"));

    auto* splitter = new QSplitter(this);
    splitter->addWidget(m_panels);
    splitter->addWidget(m_browser);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({260, 640});
    setCentralWidget(splitter);

    auto* bar = addToolBar(QStringLiteral("Navegação"));
    bar->setObjectName(QStringLiteral("Navegacao"));
    bar->setMovable(false);
    QAction* back = bar->addAction(style()->standardIcon(QStyle::SP_ArrowBack), QStringLiteral("Voltar"),
        m_browser, &QTextBrowser::backward);
    QAction* forward = bar->addAction(style()->standardIcon(QStyle::SP_ArrowForward),
        QStringLiteral("Avançar"), m_browser, &QTextBrowser::forward);
    bar->addAction(style()->standardIcon(QStyle::SP_DirHomeIcon), QStringLiteral("Início"), this,
        [this] { show(help::Conteudo); });
    back->setEnabled(false);
    forward->setEnabled(false);
    connect(m_browser, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
    connect(m_browser, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
}

HelpViewer::~HelpViewer()
{
    // The help widgets read the engine's models: they go first, then the engine, and the
    // collection folder last.
    delete takeCentralWidget();
    m_browser = nullptr;
    delete m_engine;
    m_engine = nullptr;
}

QTextBrowser* HelpViewer::browser() const
{
    return m_browser;
}

QUrl HelpViewer::currentUrl() const
{
    return m_browser->source();
}

bool HelpViewer::show(int context)
{
    if (!ensureEngine())
        return false;
    registerHelpFiles();
    const QUrl url = help::topicUrl(context);
    if (m_engine->fileData(url).isEmpty())
        return false;

    openUrl(url);
    // Help asked for from a modal window must stay usable: a window whose transient parent
    // is the modal one is not blocked by it.
    QWidget* modal = QApplication::activeModalWidget();
    if (modal != nullptr && modal != this && !isAncestorOf(modal)) {
        winId();
        if (windowHandle() != nullptr)
            windowHandle()->setTransientParent(modal->window()->windowHandle());
    }
    if (isMinimized())
        showNormal();
    else
        QMainWindow::show();
    raise();
    activateWindow();
    return true;
}

bool HelpViewer::ensureEngine()
{
    if (m_engine != nullptr)
        return true;
    // The collection is written to while the window runs (registrations, the search index),
    // so it lives in a folder of this run, never beside the program.
    auto folder = std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/varemo-ajuda-XXXXXX"));
    if (!folder->isValid())
        return false;
    auto* engine = new QHelpEngine(folder->filePath(QStringLiteral("ajuda.qhc")));
    // Qt opens a collection read-only unless told otherwise, and a read-only collection
    // cannot be created nor take registrations.
    engine->setReadOnly(false);
    engine->setUsesFilterEngine(true);
    if (!engine->setupData()) {
        delete engine;
        return false;
    }
    m_collectionDir = std::move(folder);
    m_engine = engine;
    // The search and index widgets come from Qt Help, whose texts have their own catalogue.
    auto* translator = new QTranslator(this);
    if (translator->load(QLocale(QLocale::Portuguese, QLocale::Brazil), QStringLiteral("qt_help"),
            QStringLiteral("_"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(translator);
    else
        delete translator;
    m_browser->setEngine(engine);
    buildPanels();
    return true;
}

void HelpViewer::registerHelpFiles()
{
    const QDir ajuda(QDir(m_programFolder).filePath(QStringLiteral("Ajuda")));
    bool added = false;
    for (const QString& name : helpFiles()) {
        const QString path = ajuda.filePath(name);
        if (!QFileInfo(path).isFile())
            continue;
        const QString ns = QHelpEngineCore::namespaceName(path);
        if (ns.isEmpty() || m_engine->registeredDocumentations().contains(ns))
            continue;
        added = m_engine->registerDocumentation(path) || added;
    }
    if (added)
        m_engine->searchEngine()->reindexDocumentation();
}

void HelpViewer::buildPanels()
{
    QHelpContentWidget* contents = m_engine->contentWidget();
    contents->setObjectName(QStringLiteral("Conteudo"));
    connect(contents, &QHelpContentWidget::linkActivated, this, &HelpViewer::openUrl);
    // The contents are read in a thread: the first level opens, and the page on view is
    // marked, once they are there.
    connect(m_engine->contentModel(), &QHelpContentModel::contentsCreated, contents, [this, contents] {
        contents->expandToDepth(0);
        selectInContents(m_browser->source());
    });
    m_panels->addTab(contents, QStringLiteral("Conteúdo"));

    auto* indexPage = new QWidget;
    auto* indexLayout = new QVBoxLayout(indexPage);
    auto* filter = new QLineEdit(indexPage);
    filter->setObjectName(QStringLiteral("FiltroIndice"));
    filter->setPlaceholderText(QStringLiteral("Digite a palavra procurada"));
    QHelpIndexWidget* index = m_engine->indexWidget();
    index->setObjectName(QStringLiteral("Indice"));
    indexLayout->addWidget(new QLabel(QStringLiteral("Procurar &palavra-chave:"), indexPage));
    indexLayout->addWidget(filter);
    indexLayout->addWidget(index);
    qobject_cast<QLabel*>(indexLayout->itemAt(0)->widget())->setBuddy(filter);
    connect(
        filter, &QLineEdit::textChanged, index, [index](const QString& text) { index->filterIndices(text); });
    connect(filter, &QLineEdit::returnPressed, index, &QHelpIndexWidget::activateCurrentItem);
    connect(index, &QHelpIndexWidget::documentActivated, this,
        [this](const QHelpLink& link, const QString&) { openUrl(link.url); });
    connect(index, &QHelpIndexWidget::documentsActivated, this,
        [this](const QList<QHelpLink>& links, const QString& keyword) {
            QStringList titles;
            for (const QHelpLink& link : links)
                titles << link.title;
            bool chosen = false;
            const QString title = QInputDialog::getItem(
                this, QStringLiteral("Escolha o assunto"), keyword, titles, 0, false, &chosen);
            const qsizetype at = titles.indexOf(title);
            if (chosen && at >= 0)
                openUrl(links.at(at).url);
        });
    m_panels->addTab(indexPage, QStringLiteral("Índice"));

    QHelpSearchEngine* search = m_engine->searchEngine();
    auto* searchPage = new QWidget;
    auto* searchLayout = new QVBoxLayout(searchPage);
    searchLayout->addWidget(search->queryWidget());
    searchLayout->addWidget(search->resultWidget(), 1);
    connect(search->queryWidget(), &QHelpSearchQueryWidget::search, search,
        [search] { search->search(search->queryWidget()->searchInput()); });
    connect(search->resultWidget(), &QHelpSearchResultWidget::requestShowLink, this, &HelpViewer::openUrl);
    m_panels->addTab(searchPage, QStringLiteral("Procurar"));
}

void HelpViewer::openUrl(const QUrl& url)
{
    if (url.scheme() != QLatin1String("qthelp")) {
        QDesktopServices::openUrl(url);
        return;
    }
    m_browser->setSource(url);
    selectInContents(url);
}

void HelpViewer::selectInContents(const QUrl& url)
{
    QHelpContentWidget* contents = m_engine->contentWidget();
    const QModelIndex at = contents->indexOf(url);
    if (at.isValid())
        contents->setCurrentIndex(at);
}

void HelpViewer::followLink(const QUrl& url)
{
    openUrl(m_browser->source().resolved(url));
}

} // namespace varemo
