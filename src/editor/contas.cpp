#include "editor/contas.h"

#include "app/desktop.h"
#include "app/errorlog.h"
#include "app/modules.h"
#include "app/state.h"
#include "app/typedtext.h"
#include "data/database.h"
#include "editor/charttree.h"
#include "editor/commands.h"
#include "editor/tree.h"
#include "editor/widgets.h"

#include <QAction>
#include <QCloseEvent>
#include <QDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>
#include <QTabWidget>
#include <QTreeWidget>

namespace varemo {

namespace {

const QString SaveRoutine = QStringLiteral("Gravando Registro");
const QString ArchiveSuffix = QStringLiteral("   [Arq. Mortos Carregados]");

// Every product of every line, supplies first, as the purchase items choose them.
QString linesQuery()
{
    return QStringLiteral("SELECT Linhas.CodigoLinha, Linhas.NomeLinha, Linhas.Insumo, Produtos.* ")
        + QStringLiteral("FROM Linhas INNER JOIN Produtos ON Linhas.CodigoLinha = Produtos.CodigoLinha ")
        + QStringLiteral(" ORDER BY Linhas.Insumo, Linhas.NomeLinha, Produtos.NomeProduto;");
}

} // namespace

Contas::Contas(AppState& state, Desktop& desktop, QWidget* parent)
    : QMainWindow(parent)
    , m_state(state)
    , m_desktop(desktop)
{
    setObjectName(QStringLiteral("Contas"));
    setWindowTitle(m_state.title);
    buildLayout();
    buildCommands();
    Modo = commands::ModeView;
    connect(Pasta, &QTabWidget::tabBarClicked, this, [this](int index) { Pasta_Click(index); });
}

Contas::~Contas()
{
    // Recordsets must go before the database they read from.
    closeRecordsets();
}

Database& Contas::database() const
{
    if (!m_state.database)
        throw StorageBug("the main window needs an open company database");
    return *m_state.database;
}

bool Contas::Form_Load()
{
    bool loaded = true;
    try {
        if (!m_desktop.restorePlacement(*this, m_state.title))
            placeFromScreen();

        const QString images = m_state.dataFolder + QStringLiteral("Imagens/");
        const QString logo = images + QStringLiteral("logo.bmp");
        m_state.logoPath = QFileInfo::exists(logo) ? logo : images + QStringLiteral("modelo.bmp");

        Database& db = database();
        {
            const auto company = db.openRecordset(QStringLiteral("DadosEmpresa"), RecordsetType::Table);
            m_state.archiveMode = !company->eof() && company->value(QStringLiteral("Morto")).toBool();
            company->close();
        }
        updateCaption();

        helpFile = m_state.programFolder + QStringLiteral("Ajuda/Contas.hlp");
        EmInclusao = false;
        EmAlteracao = false;
        m_state.moduleToStart = 0;
        action(QStringLiteral("ID_Modulo%1").arg(ThisModule))->setEnabled(false);

        Pasta->setCurrentIndex(0);
        m_state.sql = linesQuery();
        // A big chart has tens of thousands of items: the window comes up with what its first
        // screen shows, and these are read once it is on screen (or by the first use).
        Linhas = Recordset::openLater(db, m_state.sql);
        Status->setPanel(StatusBar::User, QStringLiteral("Usuário: ") + m_state.userName);

        m_state.databasePath = m_state.dataFolder + QStringLiteral("Dados/empresa.mdb");
        for (int level = 0; level < 5; ++level) {
            Nivel[static_cast<std::size_t>(level)] = Recordset::openLater(
                db, QStringLiteral("NivelCategoria") + QString::number(level), RecordsetType::Table);
        }
        fillReportList();
        // The purchased items (CodEntradas) are read only by what needs them: tens of
        // thousands of purchase lines would otherwise stay in memory for nothing.

        m_restPending = true;
        if (!m_tree)
            m_tree = std::make_unique<ChartTree>(*Arvore);
        m_tree->showTop(*Nivel[0], [this] { indexTree(); });
        PreencherCombo(0);
        NivelAtual = 4;
        PaginaAtiva = 0;
        MenuBotao(commands::ModeView);
        showFirstItem();
    } catch (const JetError& error) {
        logError(m_state, m_desktop, rotina::AbrirPrograma, error.description(), error.number());
        loaded = false;
    }
    applyArchiveMode();
    // Set even after a failure: the splash waits for it and would otherwise never go.
    m_state.mainWindowReady = true;
    return loaded;
}

void Contas::updateCaption()
{
    QString caption = m_state.title;
    if (!m_state.companyName.isEmpty())
        caption += QStringLiteral(" - ") + m_state.companyName;
    if (m_state.archiveMode)
        caption += ArchiveSuffix;
    setWindowTitle(caption);
}

void Contas::placeFromScreen()
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        resize(1100, 720);
        return;
    }
    const QRect area = screen->availableGeometry();
    const int width = qMin(1200, area.width() * 85 / 100);
    const int height = qMin(780, area.height() * 85 / 100);
    setGeometry(
        area.x() + (area.width() - width) / 2, area.y() + (area.height() - height) / 2, width, height);
}

void Contas::CarregaArvore()
{
    try {
        // The load has just read the five level tables for the selectors: the tree is made
        // from those rows rather than reading each table a second time.
        std::array<const Recordset*, 5> levels {};
        bool allOpen = true;
        for (std::size_t level = 0; level < Nivel.size(); ++level) {
            levels[level] = Nivel[level].get();
            allOpen = allOpen && Nivel[level] && Nivel[level]->isOpen();
        }
        std::array<std::unique_ptr<Recordset>, 5> read;
        if (!allOpen) {
            for (std::size_t level = 0; level < read.size(); ++level) {
                read[level] = database().openRecordset(
                    QStringLiteral("NivelCategoria") + QString::number(level), RecordsetType::Table);
                levels[level] = read[level].get();
            }
        }
        if (!m_tree)
            m_tree = std::make_unique<ChartTree>(*Arvore);
        const int orphans = m_tree->build(levels);
        if (orphans > 0)
            Status->setPanel(StatusBar::Message, orphansMessage(orphans));
    } catch (const JetError& error) {
        logError(m_state, m_desktop, rotina::TreeView, error.description(), error.number());
    }
}

QTreeWidgetItem* Contas::node(const QString& key) const
{
    return m_tree ? m_tree->node(key) : nullptr;
}

void Contas::MostraMarcas(qint32 reportCode)
{
    const QHash<QString, int> stored = readMarks(database(), reportCode, m_state.sql);
    if (m_tree)
        m_tree->applyMarks(stored);
}

void Contas::Salvar(int cancelar)
{
    Gravou = false;
    if (cancelar != 0) {
        SaiModo();
        return;
    }
    QList<SavedRow> rows;
    Notice notice;
    try {
        // Rows read inside the save's transaction would keep its changes if it were undone.
        readRest();
        UnitOfWork work(database());
        notice = PaginaAtiva == 1 ? saveLevelPage(rows) : saveHierarchy(rows);
        work.commit();
    } catch (const JetError& error) {
        // Nothing was written; the mode stays open to correct the names or cancel.
        Gravou = false;
        logError(m_state, m_desktop, SaveRoutine, error.description(), error.number());
        return;
    } catch (const typed::UnsearchableName&) {
        // Rolled back: the name would have been saved over another row's place.
        Gravou = false;
        m_desktop.msgbox(typed::UnsearchablePrompt, vb::Information, typed::InvalidTitle);
        return;
    }
    if (notice)
        m_desktop.msgbox(notice->first, vb::Information, notice->second);
    for (const SavedRow& row : rows)
        placeInTree(row);
    SaiModo();
}

bool Contas::Form_KeyDown(int qtKey)
{
    if (qtKey == Qt::Key_Escape) {
        if (EmInclusao || EmAlteracao) {
            Salvar(1);
            return true;
        }
        const int answer = m_desktop.msgbox(QStringLiteral("Quer sair do programa?"),
            vb::YesNo + vb::Question + vb::DefaultButton2, QStringLiteral("Finalizando"));
        if (answer == vb::Yes)
            closeWindow();
        return true;
    }
    if (qtKey == Qt::Key_F1) {
        contextHelp();
        return true;
    }
    return false;
}

void Contas::keyPressEvent(QKeyEvent* event)
{
    if (event->modifiers() == Qt::NoModifier && Form_KeyDown(event->key()))
        return;
    QMainWindow::keyPressEvent(event);
}

void Contas::closeEvent(QCloseEvent* event)
{
    Form_Unload();
    event->accept();
}

void Contas::closeRecordsets()
{
    for (auto& level : Nivel)
        level.reset();
    for (auto& page : Dados)
        page.reset();
    Rascunho.reset();
    Linhas.reset();
    CodEntradas.reset();
}

void Contas::Form_Unload()
{
    if (m_unloaded)
        return;
    m_unloaded = true;
    // Only a window that was shown has a placement worth keeping.
    if (isVisible())
        m_desktop.savePlacement(*this, m_state.title);
    closeRecordsets();
    for (QDialog* window : findChildren<QDialog*>()) {
        if (window->isVisible())
            window->close();
    }
    if (m_state.database) {
        m_state.database->close();
        m_state.database.reset();
    }
    hide();
    const int module = m_state.moduleToStart;
    if (module >= 1 && module <= ModuleCount) {
        m_state.moduleToStart = 0;
        m_desktop.startModule(module);
    }
}

} // namespace varemo
