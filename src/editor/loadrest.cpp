// The load in two halves: what the first screen shows, read before the window comes up, and
// the rest of the chart, read in slices from the event loop once it is on screen. Every
// recordset the load leaves for later reads what is left by itself when something uses it,
// and the tree indexes its lower levels the first time it is asked for one, so an action
// taken before the rest is in sees the same chart as one taken after.

#include "app/errorlog.h"
#include "app/state.h"
#include "data/database.h"
#include "data/dialect.h"
#include "editor/browse.h"
#include "editor/charttree.h"
#include "editor/contas.h"
#include "editor/tree.h"
#include "editor/widgets.h"

#include <QShowEvent>
#include <QSignalBlocker>
#include <QTabWidget>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <optional>

namespace varemo {

namespace {

// Rows read per step: a few milliseconds of work, so the window answers between steps.
constexpr int SliceRows = 4000;

// The page's first item in the page's own order, found from the top down: the first category
// by name with an item below it, its first sector with one, and so on; each level's children
// of one row are a small indexed read. Null names come first and equal names in code order,
// as the page's sort puts them. A row whose ancestors are missing sorts before all of these:
// the page shows it once it is read.
std::optional<qint64> firstItemBelow(Database& db, int level, qint64 parent)
{
    const QString sql = level == 0 ? QStringLiteral("SELECT Codigo, Nome FROM NivelCategoria0")
                                   : QStringLiteral("SELECT Codigo, Nome FROM NivelCategoria%1 WHERE "
                                                    "CodigoCategoria%2 = %3")
                                         .arg(level)
                                         .arg(level - 1)
                                         .arg(parent);
    std::vector<std::pair<std::optional<QString>, qint64>> children;
    {
        const auto rows = db.openRecordset(sql, RecordsetType::Snapshot);
        for (int i = 0, count = rows->recordCount(); i < count; ++i) {
            const QVariant code = rows->cell(i, 0);
            if (!code.isValid())
                continue;
            std::optional<QString> name;
            if (const QVariant text = rows->cell(i, 1); text.isValid())
                name = dialect::foldKey(text.toString());
            children.emplace_back(std::move(name), code.toLongLong());
        }
    }
    std::sort(children.begin(), children.end());
    for (const auto& child : children) {
        if (level == 4)
            return child.second;
        if (const std::optional<qint64> item = firstItemBelow(db, level + 1, child.second))
            return item;
    }
    return std::nullopt;
}

} // namespace

void Contas::showFirstItem()
{
    Database& db = database();
    {
        const QSignalBlocker blocker(Pasta);
        Pasta->setCurrentIndex(PaginaAtiva);
    }
    // The items are numbered by the table's own key, in the order the join yields them: the
    // page is read in slices of that key.
    Dados[0] = Recordset::openLater(
        db, browse::joinedLevelRows(4), RecordsetType::Dynaset, QStringLiteral("NivelCategoria4.Codigo"));
    Dados[0]->sortByText(browse::levelNameOrder(4));
    m_startPage = Dados[0].get();
    // One item per row: the parents are joined by their keys.
    const int total = db.scalar(QStringLiteral("SELECT Count(*) FROM NivelCategoria4")).toInt();
    TotalRegistros[0] = total;
    Posicao[0] = total > 0 ? 1 : 0;
    setFieldAccess();
    Status->setPanel(
        StatusBar::Record, browse::RecordPrefix + browse::counterText(total < 1, false, total, Posicao[0]));
    setHitButtons();
    if (total > 0) {
        if (const std::optional<qint64> first = firstItemBelow(db, 0, 0)) {
            const auto row = db.openRecordset(browse::joinedLevelRows(4) + QStringLiteral("WHERE ")
                + browse::relocationCriteria(4, *first));
            if (!row->eof()) {
                for (int level = 0; level < 5; ++level)
                    Combo[static_cast<std::size_t>(level)]->setText(
                        row->value(QStringLiteral("NivelCategoria%1.Nome").arg(level)).toString());
            }
        }
    }
    m_state.sql = browse::joinedLevelQuery(4);
}

void Contas::indexTree()
{
    try {
        std::array<const Recordset*, 5> levels {};
        for (std::size_t level = 0; level < Nivel.size(); ++level) {
            if (!Nivel[level] || !Nivel[level]->isOpen())
                return;
            levels[level] = Nivel[level].get();
        }
        const int orphans = m_tree->indexBelow(levels);
        if (orphans > 0)
            Status->setPanel(StatusBar::Message, orphansMessage(orphans));
    } catch (const JetError& error) {
        logError(m_state, m_desktop, rotina::TreeView, error.description(), error.number());
    }
}

void Contas::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    scheduleRest(0);
}

void Contas::scheduleRest(int delayMs)
{
    if (!m_restPending || m_restScheduled)
        return;
    m_restScheduled = true;
    QTimer::singleShot(delayMs, this, [this] {
        m_restScheduled = false;
        // The first screen is painted before anything else is read.
        if (isVisible() && !(windowHandle() != nullptr && windowHandle()->isExposed()))
            scheduleRest(10);
        else
            readRestStep();
    });
}

// One slice of what is left; true once nothing is left.
bool Contas::readRestSlice()
{
    const std::array<Recordset*, 5> tables
        = {Linhas.get(), Nivel[1].get(), Nivel[2].get(), Nivel[3].get(), Nivel[4].get()};
    Recordset* next = nullptr;
    for (Recordset* table : tables) {
        if (table != nullptr && !table->isRead()) {
            next = table;
            break;
        }
    }
    if (next != nullptr) {
        next->readMore(SliceRows);
    } else if (m_tree) {
        m_tree->ensureIndexed();
    }
    Recordset* page = Dados[0].get();
    if (next == nullptr && page != nullptr && page == m_startPage && !page->isRead()) {
        // Read in the background, the page may begin with a row the load did not find
        // (one whose ancestors are missing): the first screen is shown again from it.
        if (page->readMore(SliceRows) && PaginaAtiva == 0 && !EmInclusao && !EmAlteracao)
            TotalDeRegistros();
    }
    if (next != nullptr || (page != nullptr && !page->isRead()))
        return false;
    m_restPending = false;
    m_startPage = nullptr;
    return true;
}

// A slice from the event loop; the next one is queued behind whatever the window has to do.
void Contas::readRestStep()
{
    if (!m_restPending || m_unloaded)
        return;
    try {
        if (readRestSlice())
            return;
    } catch (const JetError& error) {
        // Another module holding the file only delays a read nobody asked for yet: what is
        // left is read by the next action that needs it, which reports its own failure.
        if (error.number() != jet::Locked)
            logError(m_state, m_desktop, rotina::AbrirPrograma, error.description(), error.number());
        return;
    }
    scheduleRest(0);
}

// A failure here is the failure of the action that needed the rest: it goes to that action's
// handler, and what is still unread stays for the next action to read.
void Contas::readRest()
{
    while (m_restPending && !m_unloaded && !readRestSlice()) { }
}

void Contas::Atualizar()
{
    readRest();
    // The tables are read before the tree and the page are made again: a read that fails
    // leaves them showing what they showed.
    Linhas->requery();
    for (const auto& level : Nivel)
        level->requery();
    CarregaArvore();
    PreencherCombo(0);
    showLevel(PaginaAtiva == 1 ? NivelAtual : 4);
    if (reportsVisible()) {
        fillReportList();
        if (CodigoRelatorio != 0)
            MostraMarcas(CodigoRelatorio);
    }
}

} // namespace varemo
