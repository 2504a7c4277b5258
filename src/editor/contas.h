#pragma once

#include "data/recordset.h"

#include <QHash>
#include <QMainWindow>
#include <QString>

#include <array>
#include <memory>
#include <optional>

class QAction;
class QCloseEvent;
class QGroupBox;
class QKeyEvent;
class QLabel;
class QListWidget;
class QMenu;
class QPushButton;
class QShowEvent;
class QTabWidget;
class QToolBar;
class QTreeWidget;
class QTreeWidgetItem;

namespace varemo {

struct AppState;
class ChartTree;
class Database;
class Desktop;
class Selector;
class StatusBar;

// The main window: the chart-of-accounts editor. Controls and editor state are public
// under the names the rest of the program and its tests use.
class Contas : public QMainWindow {
    Q_OBJECT
public:
    Contas(AppState& state, Desktop& desktop, QWidget* parent = nullptr);
    ~Contas() override;

    // The window's load, run hidden while the splash is on screen. A failing step goes to
    // the error log; returns false then.
    bool Form_Load();
    // The load reads what the first screen shows; the rest of the chart (the item page, the
    // level tables, the tree below the categories, the product lines) is read a slice at a
    // time from the event loop once the window is shown, or at once by whatever needs it.
    // True once all of it is read.
    bool restRead() const { return !m_restPending; }
    // Reads now whatever the load left for later; throws JetError when the engine fails.
    void readRest();
    // Reads the whole chart again, with what other workstations wrote since, and shows the
    // same record again where it still exists.
    void Atualizar();
    // Closing: placement, recordsets, other windows, database, the chosen sibling module.
    // Runs once; the window is hidden, never deleted by itself.
    void Form_Unload();
    // Escape and F1; returns true when the key was acted on.
    bool Form_KeyDown(int qtKey);

    // Commands: every tool is a QAction named by its key.
    void tool_click(const QString& key);
    // The tooltip of a key, also written to the status bar when not empty.
    QString tooltip_for(const QString& key);
    // Enables the tools for "Visualizar", "Inserir" or "Alterar".
    void MenuBotao(const QString& mode);
    QAction* action(const QString& key) const;
    QMenu* menu(const QString& key) const;
    // Browsing shows "Barra1"; a record open for change shows "Barra2".
    void setBands(bool browsing);

    // Ends an insert or edit: 0 saves, 1 cancels.
    void Salvar(int cancelar);
    // Opens the current record for change ("ID_Alterar"), unless it refuses.
    void Alterar();
    // Opens a new record ("ID_Incluir").
    void Incluir();
    // "ID_Gravar": the blank check, then the save.
    void Gravar();
    // "ID_Excluir" on a record: the delete rules, then the neighbour becomes current.
    void Excluir();
    // False only at level 4 with a selector blank or of spaces.
    bool CampoEmBranco() const;
    // Leaves insert or edit mode, after a save or on cancel.
    void SaiModo();
    // The level page's list of `level` (1..3): the children of the name in the field above.
    void PreencheTexto(int level);

    // Tree and selectors.
    void CarregaArvore();
    void PreencherCombo(int level);
    void Combo_Click(int index);
    void MostraMarcas(qint32 reportCode);
    QTreeWidgetItem* node(const QString& key) const;
    void Arvore_NodeClick(QTreeWidgetItem* item);

    // Browsing.
    void Movimento_Click(int index);
    void MoveFiltro_Click(int index);
    // The record counter and the hits text; skipped while a record is open for change.
    void TotalDeRegistros();
    // The current row's names into the fields of its page.
    void PreencheCampos();
    // After a search that marked `hits` items: the message, then the first hit.
    void RelatorioEncontrados(int hits);
    // Views level 1..4 on its page. `keepRow` looks for the row shown now in the new
    // level; `reread` reads the page's query again even when it already holds the level.
    void showLevel(int level, bool keepRow = true, bool reread = true);
    // A click on a page's tab views that page.
    void Pasta_Click(int index);
    // `Dados(PaginaAtiva)`, or nullptr for any other page or a page not yet read.
    Recordset* dataSet() const;
    // Makes current the row whose code at `level` is `code`; false when there is none.
    bool relocate(int level, qint64 code);

    // Product lines: the switch of a group choice and the two lists it leads to.
    void DecideModoLinhas();
    void PreencheLinhas(bool insumo);
    void PreencheProdutos(bool insumo);

    // The list of saved reports.
    bool reportsVisible() const;
    void fillReportList();
    void showReportList();
    void hideReportList();
    void Relatos_Click();
    void BotaoVer_Click();
    // The record commands while the report list is shown. `reportChosen` tells the user to
    // choose a report first and returns false when none is chosen.
    bool reportChosen();
    void newReport();
    void editReport();
    void deleteReport();
    // "ID_PlanoContas": asks for the listing level, then the chart listing.
    void printChart();

    AppState& state() const { return m_state; }
    // The open company database; a StorageBug when there is none.
    Database& database() const;
    Desktop& desktop() const { return m_desktop; }

    // Controls.
    QTreeWidget* Arvore = nullptr;
    std::array<Selector*, 5> Combo {};
    std::array<Selector*, 5> Texto {};
    std::array<QLabel*, 5> TextoRotulo {};
    std::array<QPushButton*, 6> Movimento {};
    std::array<QPushButton*, 5> MoveFiltro {};
    StatusBar* Status = nullptr;
    QTabWidget* Pasta = nullptr;
    QLabel* NovoRotulo = nullptr;
    QGroupBox* RelatosPainel = nullptr;
    QListWidget* Relatos = nullptr;
    QPushButton* BotaoVer = nullptr;
    QPushButton* BotaoFecharRelatos = nullptr;
    QToolBar* Barra1 = nullptr;
    QToolBar* Barra2 = nullptr;

    // Editor state.
    int NivelAtual = 4;
    int PaginaAtiva = 0;
    std::array<qint32, 2> TotalRegistros {};
    std::array<QString, 5> TextoSalvo;
    // Where each page returns when a mode ends; empty when there was no record.
    std::array<std::optional<Recordset::Bookmark>, 2> PosicaoSalva;
    bool EmInclusao = false;
    bool EmAlteracao = false;
    bool Gravou = false;
    qint32 CodigoGravado = 0;
    qint32 CodigoProcurado = 0;
    std::array<int, 2> Posicao {}; // 1-based current position of each page
    int Encontrados = 0; // items marked by the last search
    int HitAtual = 0; // 1-based, among them
    bool FiltroAtivo = false; // the hit buttons are in use
    QString CriterioMove; // the last group move's criteria
    int NivelPaginaNiveis = 0; // the level the level page holds, 0: none yet
    bool ModoLinhas = false; // the account and item selectors list lines and products
    bool Insumo = false; // ... of raw materials rather than goods
    QString Modo;
    qint32 CodigoRelatorio = 0; // the report chosen in Relatos, 0: none
    QString NomeRelatorio;
    QString helpFile;

    // Data: one table per level, the browsed data sets of the two pages, a scratch set,
    // the product lines and the items that have purchase lines.
    std::array<std::unique_ptr<Recordset>, 5> Nivel;
    std::array<std::unique_ptr<Recordset>, 2> Dados;
    std::unique_ptr<Recordset> Rascunho;
    std::unique_ptr<Recordset> Linhas;
    std::unique_ptr<Recordset> CodEntradas;

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildLayout();
    void buildCommands();
    void toolHovered(const QString& key);
    void toolTriggered(const QString& key);
    bool runShellCommand(const QString& key);
    void applyArchiveMode();
    void setFieldAccess();
    void chooseModule(int number);
    void closeWindow();
    void showAbout();
    void contextHelp();
    void placeFromScreen();
    void updateCaption();
    void closeRecordsets();
    void showFirstItem();
    void indexTree();
    void scheduleRest(int delayMs);
    void readRestStep();
    bool readRestSlice();
    void openLevel(int level);
    void syncPosition();
    void moveRecord(int index);
    void moveGroup(Recordset& rows, bool forward);
    bool hitsInUse() const;
    void setHitButtons();
    void followInTree(const Recordset& rows);
    void setCommandGroup(bool enabled);
    struct SavedRow {
        int level;
        qint32 code;
        QString name;
        qint32 parent;
    };
    // The box of a name that already exists, shown once the save's lock is let go: other
    // workstations' saves would wait on it while the box waits for the user.
    using Notice = std::optional<std::pair<QString, QString>>;
    Notice saveHierarchy(QList<SavedRow>& rows);
    Notice saveLevelPage(QList<SavedRow>& rows);
    qint32 codeOf(int level, const QString& name, qint32 parent);
    qint32 findOrAdd(int level, const QString& name, qint32 parent, QList<SavedRow>& rows);
    // A row the save found that another workstation wrote after the tree was made.
    void noteFound(int level, const Recordset& table, qint32 parent, QList<SavedRow>& rows) const;
    void placeInTree(const SavedRow& row);
    void refreshAfterSave();
    bool placeSavedRow(int level);
    void fillAllSelectors();
    // The delete rules; Excluir logs what fails in them.
    void deleteRecord();
    // Takes a node and its descendants out of the tree.
    void removeNode(const QString& key);

    AppState& m_state;
    Desktop& m_desktop;
    QHash<QString, QAction*> m_actions;
    QHash<QString, QMenu*> m_menus;
    std::unique_ptr<ChartTree> m_tree; // the tree's index; its nodes are made on demand
    bool m_unloaded = false;
    bool m_treeFollowPending = false;
    bool m_restPending = false;
    bool m_restScheduled = false;
    const Recordset* m_startPage = nullptr; // the item page the load opened for later
};

} // namespace varemo
