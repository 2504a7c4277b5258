// Browsing the records of the current level: the two pages' data sets, the six moves,
// the record counter, the moves over search hits and the tree following the record.

#include "editor/browse.h"

#include "app/desktop.h"
#include "app/errorlog.h"
#include "app/state.h"
#include "data/database.h"
#include "editor/contas.h"
#include "editor/tree.h"
#include "editor/widgets.h"

#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTabWidget>
#include <QTimer>
#include <QTreeWidget>

namespace varemo {

namespace browse {

namespace {

QString table(int level)
{
    return QStringLiteral("NivelCategoria") + QString::number(level);
}

} // namespace

QString joinedLevelRows(int level)
{
    if (level < 1 || level > 4)
        return {};
    QString sql = QStringLiteral("SELECT * FROM ") + QString(level, QLatin1Char('(')) + table(level)
        + QLatin1Char(' ');
    for (int k = level; k >= 1; --k) {
        sql += QStringLiteral("LEFT JOIN %1 ON %1.Codigo = %2.CodigoCategoria%3) ")
                   .arg(table(k - 1), table(k))
                   .arg(k - 1);
    }
    return sql;
}

QStringList levelNameOrder(int level)
{
    QStringList order;
    for (int k = 0; k <= level; ++k)
        order << table(k) + QStringLiteral(".Nome");
    return order;
}

QString joinedLevelQuery(int level)
{
    if (level < 1 || level > 4)
        return {};
    const QString sql = joinedLevelRows(level) + QStringLiteral("ORDER BY ")
        + levelNameOrder(level).join(QStringLiteral(", "));
    // The item query has always had a blank before its semicolon.
    return sql + (level == 4 ? QStringLiteral(" ;") : QStringLiteral(";"));
}

QString relocationCriteria(int level, qint64 code)
{
    return table(level) + QStringLiteral(".Codigo = ") + QString::number(code);
}

QString groupField(int level)
{
    return table(level - 1) + QStringLiteral(".Nome");
}

QString moveCriterion(int level, const QString& groupName)
{
    return groupField(level) + QStringLiteral(" <> '") + groupName + QLatin1Char('\'');
}

QString counterText(bool bof, bool eof, int total, int position)
{
    if (bof)
        return total < 1 ? QStringLiteral("0/0") : QStringLiteral("1/") + QString::number(total);
    if (eof)
        return QString::number(total) + QLatin1Char('/') + QString::number(total);
    return QString::number(position) + QLatin1Char('/') + QString::number(total);
}

QString hitsText(int hits, const QString& counter)
{
    return QString::number(hits) + (hits == 1 ? QStringLiteral(" Registro ") : QStringLiteral(" Registros "))
        + counter;
}

Message foundMessage(int hits)
{
    const QString tail = QStringLiteral("\rcom as regras de filtro estabelecidas.");
    if (hits == 1)
        return {QStringLiteral("Foi encontrado apenas um registro, ") + tail,
            QStringLiteral("Registro encontrado")};
    if (hits >= 2)
        return {QStringLiteral("Foram encontrados ") + QString::number(hits) + QStringLiteral(" registros,  ")
                + tail,
            QStringLiteral("Registros encontrados")};
    return {QStringLiteral("Não foi encontrado nenhum registro, ") + tail,
        QStringLiteral("Nenhum registro encontrado")};
}

int pageOfLevel(int level)
{
    return level == 4 ? 0 : 1;
}

QString levelPageCaption(int level)
{
    switch (level) {
    case 1:
        return QStringLiteral("Plano de Contas - Setor");
    case 2:
        return QStringLiteral("Plano de Contas - Grupo");
    case 3:
        return QStringLiteral("Plano de Contas - Conta");
    default:
        return {};
    }
}

int viewLevel(const QString& key)
{
    if (key == QStringLiteral("ID_Setor"))
        return 1;
    if (key == QStringLiteral("ID_Grupo"))
        return 2;
    if (key == QStringLiteral("ID_Conta"))
        return 3;
    if (key == QStringLiteral("ID_Item"))
        return 4;
    return 0;
}

} // namespace browse

namespace {

const QString ActiveField
    = QStringLiteral("QComboBox { background: #fffbe6; color: #1b1b1b; font-weight: bold; }");
const QString InactiveField = QStringLiteral("QComboBox { background: #eef0f2; color: #5b6570; }");

// A name of the current row, empty where the page's query has no such level.
QString nameAt(const Recordset& rows, int level)
{
    const QString field = QStringLiteral("NivelCategoria%1.Nome").arg(level);
    if (rows.fieldIndex(field) < 0)
        return {};
    return rows.value(field).toString();
}

} // namespace

Recordset* Contas::dataSet() const
{
    if (PaginaAtiva < 0 || PaginaAtiva > 1)
        return nullptr;
    Recordset* rows = Dados[static_cast<std::size_t>(PaginaAtiva)].get();
    return rows != nullptr && rows->isOpen() ? rows : nullptr;
}

void Contas::syncPosition()
{
    Recordset* rows = dataSet();
    if (rows == nullptr)
        return;
    const auto page = static_cast<std::size_t>(PaginaAtiva);
    TotalRegistros[page] = rows->recordCount();
    const int position = rows->absolutePosition();
    if (position >= 0)
        Posicao[page] = position + 1;
}

void Contas::openLevel(int level)
{
    const auto page = static_cast<std::size_t>(browse::pageOfLevel(level));
    m_state.sql = browse::joinedLevelQuery(level);
    // Freeing tens of thousands of rows takes a while: the old set goes once the new page
    // is on screen.
    if (Dados[page].get() == m_startPage)
        m_startPage = nullptr; // the load's page is read again in full: nothing left for later
    if (std::shared_ptr<Recordset> old = std::move(Dados[page]))
        QMetaObject::invokeMethod(
            this, [old] {}, Qt::QueuedConnection);
    // Ordered by the engine, every pair of names compared would go through the collation,
    // seconds on a big chart: the join is read as it comes and put in that order in memory.
    Dados[page] = database().openRecordset(browse::joinedLevelRows(level));
    Dados[page]->sortByText(browse::levelNameOrder(level));
    TotalRegistros[page] = Dados[page]->recordCount();
    Posicao[page] = TotalRegistros[page] > 0 ? 1 : 0;
    if (page == 1)
        NivelPaginaNiveis = level;
}

bool Contas::relocate(int level, qint64 code)
{
    Recordset* rows = dataSet();
    if (rows == nullptr || code == 0 || rows->recordCount() < 1)
        return false;
    const bool found = rows->findFirst(browse::relocationCriteria(level, code));
    syncPosition();
    return found;
}

void Contas::showLevel(int level, bool keepRow, bool reread)
{
    if (level < 1 || level > 4)
        return;
    // The row shown now is looked for again in the new level: its ancestor going up,
    // the first row under it going down.
    QHash<int, qint64> codes;
    if (const Recordset* rows = dataSet(); keepRow && rows != nullptr && !rows->bof() && !rows->eof()) {
        for (int k = 1; k <= NivelAtual; ++k) {
            const QString field = QStringLiteral("NivelCategoria%1.Codigo").arg(k);
            if (rows->fieldIndex(field) >= 0 && !rows->value(field).isNull())
                codes.insert(k, rows->value(field).toLongLong());
        }
    }
    const int former = NivelAtual;
    NivelAtual = level;
    PaginaAtiva = browse::pageOfLevel(level);
    {
        const QSignalBlocker blocker(Pasta);
        Pasta->setCurrentIndex(PaginaAtiva);
    }
    if (PaginaAtiva == 1) {
        NovoRotulo->setText(browse::levelPageCaption(level));
        for (int index = 0; index < 5; ++index) {
            Selector* field = Texto[static_cast<std::size_t>(index)];
            const bool shown = index <= level;
            field->setVisible(shown);
            TextoRotulo[static_cast<std::size_t>(index)]->setVisible(shown);
            // Setting a style sheet polishes the widget again even when it is the same one.
            const QString& style = index == level ? ActiveField : InactiveField;
            if (field->styleSheet() != style)
                field->setStyleSheet(style);
            if (!shown)
                field->setText(QString());
        }
    }
    // The item page always holds the items; the level page one level at a time.
    const Recordset* open = Dados[static_cast<std::size_t>(PaginaAtiva)].get();
    if (reread || open == nullptr || !open->isOpen() || (PaginaAtiva == 1 && NivelPaginaNiveis != level))
        openLevel(level);
    const int target = qMin(level, former);
    if (codes.contains(target))
        relocate(target, codes.value(target));
    setFieldAccess();
    TotalDeRegistros();
}

void Contas::Pasta_Click(int index)
{
    if (index == PaginaAtiva || index < 0 || index > 1)
        return;
    if (EmInclusao || EmAlteracao) {
        // A record open for change keeps its page: the tab goes back once the click is over.
        QTimer::singleShot(0, this, [this] {
            const QSignalBlocker blocker(Pasta);
            Pasta->setCurrentIndex(PaginaAtiva);
        });
        return;
    }
    // A tab is the view of its page: the items, or the level the level page showed last.
    try {
        showLevel(index == 0 ? 4 : (NivelPaginaNiveis > 0 ? NivelPaginaNiveis : 3));
    } catch (const JetError& error) {
        logError(m_state, m_desktop, rotina::Movimento, error.description(), error.number());
    }
}

void Contas::Movimento_Click(int index)
{
    try {
        moveRecord(index);
    } catch (const JetError& error) {
        logError(m_state, m_desktop, rotina::Movimento, error.description(), error.number());
    }
    TotalDeRegistros();
}

void Contas::moveRecord(int index)
{
    Recordset* rows = dataSet();
    if (rows == nullptr || rows->recordCount() < 1)
        return;
    const int total = rows->recordCount();
    const int position = Posicao[static_cast<std::size_t>(PaginaAtiva)];
    switch (index) {
    case 0:
        rows->moveFirst();
        break;
    case 1:
        if (position > 1) {
            rows->movePrevious();
            if (rows->bof())
                rows->moveFirst();
        }
        break;
    case 2:
    case 3:
        if (total > 1)
            moveGroup(*rows, index == 3);
        break;
    case 4:
        if (position != total) {
            rows->moveNext();
            if (rows->eof())
                rows->moveLast();
        }
        break;
    case 5:
        rows->moveLast();
        break;
    default:
        return;
    }
    syncPosition();
}

void Contas::moveGroup(Recordset& rows, bool forward)
{
    const QString field = browse::groupField(NivelAtual);
    if (rows.bof() || rows.eof()) {
        if (forward)
            rows.moveLast();
        else
            rows.moveFirst();
    }
    const QVariant before = rows.value(field);
    CriterioMove = browse::moveCriterion(NivelAtual, before.toString());
    if (forward) {
        if (!rows.findNext(CriterioMove) && rows.eof())
            rows.findLast(CriterioMove);
    } else {
        if (!rows.findPrevious(CriterioMove) && rows.bof())
            rows.findFirst(CriterioMove);
    }
    // Nothing of another group on that side: the move ends at the page's end.
    if (rows.value(field) == before) {
        if (forward)
            rows.moveLast();
        else
            rows.moveFirst();
    }
}

void Contas::TotalDeRegistros()
{
    if (EmInclusao || EmAlteracao)
        return;
    try {
        Recordset* rows = dataSet();
        if (rows == nullptr)
            return;
        const auto page = static_cast<std::size_t>(PaginaAtiva);
        const int total = rows->recordCount();
        TotalRegistros[page] = total;
        const QString counter = browse::counterText(rows->bof(), rows->eof(), total, Posicao[page]);
        if (!counter.isEmpty()) {
            Status->setPanel(StatusBar::Record,
                hitsInUse() ? browse::hitsText(Encontrados, counter) : browse::RecordPrefix + counter);
        }
        setHitButtons();
        PreencheCampos();
    } catch (const JetError& error) {
        logError(m_state, m_desktop, rotina::TotalRegistros, error.description(), error.number());
    }
}

bool Contas::hitsInUse() const
{
    // The marks are on items: the hits are browsed on the hierarchy page only.
    return FiltroAtivo && PaginaAtiva == 0 && Encontrados > 0;
}

void Contas::setHitButtons()
{
    const bool active = hitsInUse();
    const bool back = active && HitAtual > 1;
    const bool forward = active && HitAtual < Encontrados;
    const std::array<bool, 5> enabled = {back, back, active, forward, forward};
    for (std::size_t i = 0; i < MoveFiltro.size(); ++i)
        MoveFiltro[i]->setEnabled(enabled[i]);
}

void Contas::PreencheCampos()
{
    const Recordset* rows = dataSet();
    if (rows == nullptr || TotalRegistros[static_cast<std::size_t>(PaginaAtiva)] < 1 || rows->bof()
        || rows->eof())
        return;
    if (PaginaAtiva == 1) {
        for (int level = 0; level < 4; ++level) {
            const QString name = nameAt(*rows, level);
            Texto[static_cast<std::size_t>(level)]->setText(name);
            // A save on the level page reads the parent chain from the selectors.
            if (level < NivelAtual)
                Combo[static_cast<std::size_t>(level)]->setText(name);
        }
    } else {
        for (int level = 0; level < 5; ++level)
            Combo[static_cast<std::size_t>(level)]->setText(nameAt(*rows, level));
    }
    followInTree(*rows);
}

void Contas::followInTree(const Recordset& rows)
{
    const QString field = QStringLiteral("NivelCategoria%1.Codigo").arg(NivelAtual);
    if (rows.fieldIndex(field) < 0)
        return;
    const QVariant code = rows.value(field);
    QTreeWidgetItem* item = code.isNull() ? nullptr : node(nodeKey(code.toLongLong(), NivelAtual));
    if (item == nullptr || Arvore->currentItem() == item)
        return;
    {
        // The view would open the branch and scroll to the item at once; that is left to the
        // single scroll below.
        const QSignalBlocker blocker(Arvore);
        const bool autoScroll = Arvore->hasAutoScroll();
        Arvore->setAutoScroll(false);
        Arvore->setCurrentItem(item);
        Arvore->setAutoScroll(autoScroll);
    }
    // Opening a branch of thousands of items takes milliseconds: it is done once the moves
    // stop, for the row shown last, so that holding a move key stays quick.
    if (m_treeFollowPending)
        return;
    m_treeFollowPending = true;
    QTimer::singleShot(0, this, [this] {
        m_treeFollowPending = false;
        if (QTreeWidgetItem* current = Arvore->currentItem())
            Arvore->scrollToItem(current);
    });
}

void Contas::MoveFiltro_Click(int index)
{
    try {
        Recordset* rows = dataSet();
        if (rows == nullptr || rows->recordCount() < 1)
            return;
        const QString& hit = browse::HitsCriterion;
        switch (index) {
        case 0:
            rows->findFirst(hit);
            HitAtual = 1;
            break;
        case 1:
            if (rows->bof() || (!rows->findPrevious(hit) && rows->bof()))
                rows->findFirst(hit);
            HitAtual = qMax(1, HitAtual - 1);
            break;
        case 2:
            Pasta->setCurrentIndex(PaginaAtiva);
            break;
        case 3:
            if (rows->eof() || (!rows->findNext(hit) && rows->eof()))
                rows->findLast(hit);
            HitAtual = qMin(Encontrados, HitAtual + 1);
            break;
        case 4:
            rows->findLast(hit);
            HitAtual = Encontrados;
            break;
        default:
            return;
        }
        syncPosition();
    } catch (const JetError& error) {
        logError(m_state, m_desktop, rotina::MoveFiltro, error.description(), error.number());
    }
    TotalDeRegistros();
}

void Contas::RelatorioEncontrados(int hits)
{
    const browse::Message message = browse::foundMessage(hits);
    m_desktop.msgbox(message.prompt, vb::Information, message.title);
    Encontrados = qMax(hits, 0);
    if (hits < 1) {
        FiltroAtivo = false;
        HitAtual = 0;
        TotalDeRegistros();
        return;
    }
    try {
        // The marks were written to the database: the item page is read again to see them.
        showLevel(4, false, true);
        Recordset* rows = dataSet();
        if (rows != nullptr && rows->recordCount() > 0)
            rows->findFirst(browse::HitsCriterion);
        FiltroAtivo = true;
        HitAtual = 1;
        syncPosition();
    } catch (const JetError& error) {
        logError(m_state, m_desktop, rotina::MoveFiltro, error.description(), error.number());
    }
    TotalDeRegistros();
}

void Contas::Arvore_NodeClick(QTreeWidgetItem* item)
{
    // A record open for change keeps its page and row.
    if (item == nullptr || EmInclusao || EmAlteracao)
        return;
    const QString key = nodeKeyOf(item);
    const int level = keyLevel(key);
    if (level < 0)
        return;
    const qint64 code = keyCode(key);
    try {
        // A node of the level browsed, or above it, is found in the page as it is (its
        // first row); only a deeper node, or one without rows here, changes the page.
        bool found = false;
        if (level <= NivelAtual && dataSet() != nullptr && dataSet()->recordCount() > 0) {
            const QString criteria = level == 0
                ? QStringLiteral("NivelCategoria0.Codigo = ") + QString::number(code)
                : browse::relocationCriteria(level, code);
            found = dataSet()->findFirst(criteria);
            syncPosition();
        }
        if (!found && level >= 1) {
            if (level != NivelAtual)
                showLevel(level, false, false);
            relocate(level, code);
        }
    } catch (const JetError& error) {
        logError(m_state, m_desktop, rotina::Movimento, error.description(), error.number());
    }
    TotalDeRegistros();
}

} // namespace varemo
