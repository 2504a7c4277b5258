// Deleting records and saved reports.

#include "app/desktop.h"
#include "app/errorlog.h"
#include "app/state.h"
#include "data/database.h"
#include "editor/browse.h"
#include "editor/charttree.h"
#include "editor/contas.h"
#include "editor/selectors.h"
#include "editor/tree.h"
#include "editor/widgets.h"

#include <QSignalBlocker>
#include <QTreeWidget>

#include <optional>

namespace varemo {

namespace {

constexpr int Confirmation = vb::YesNo | vb::Question | vb::DefaultButton2;

const QString ReportRoutine = QStringLiteral("Excluindo Relatório");

QString confirmationPrompt(int level)
{
    switch (level) {
    case 1:
        return QStringLiteral("Deseja excluir este Setor?");
    case 2:
        return QStringLiteral("Deseja excluir este Grupo?");
    case 3:
        return QStringLiteral("Deseja excluir esta Conta?");
    case 4:
        return QStringLiteral("Deseja excluir este Item?");
    default:
        // Categories get the question too, with nothing to read in it.
        return {};
    }
}

struct Refusal {
    QString prompt;
    QString title;
};

Refusal lockRefusal(int level, const QString& name)
{
    if (level == 1)
        return {QStringLiteral("Não se pode excluir o setor: ") + name,
            QStringLiteral("Setor não pode ser excluído")};
    return {QStringLiteral("Não se pode excluir o grupo: ") + name,
        QStringLiteral("Grupo não pode ser excluído")};
}

Refusal dependencyRefusal(int level)
{
    switch (level) {
    case 1:
        return {QStringLiteral("Este setor não pode ser excluido!\rExistem grupos neste setor."),
            QStringLiteral("Não pode excluir Setor")};
    case 2:
        return {QStringLiteral("Este grupo não pode ser excluido!\rExistem contas neste grupo."),
            QStringLiteral("Não pode excluir Grupo")};
    case 3:
        return {QStringLiteral("Esta conta não pode ser excluida!\rExistem itens nesta conta."),
            QStringLiteral("Não pode excluir Conta")};
    default:
        return {QStringLiteral("Este item não pode ser excluido!\rExistem lançamentos com este item."),
            QStringLiteral("Não pode excluir Item")};
    }
}

// An item is booked on one side only: income items in sales, the others in purchases.
QString movementQuery(bool sale, qint64 itemCode)
{
    return (sale ? QStringLiteral("SELECT CodigoProduto FROM VendaProdutos ")
                 : QStringLiteral("SELECT CodigoProduto FROM CompraProdutos "))
        + QStringLiteral("WHERE CodigoProduto = ") + QString::number(itemCode);
}

QString field(const char* name, int level)
{
    return QStringLiteral("NivelCategoria%1.").arg(level) + QLatin1String(name);
}

// The code at `level` of the row the page stands on.
qint64 codeAt(const Recordset& rows, int level)
{
    return rows.value(field("Codigo", level)).toLongLong();
}

// Next, else last; the previous one when that is the row itself. None when the row is alone.
std::optional<qint64> neighbourOf(Recordset& rows, int level, qint64 code)
{
    rows.moveNext();
    if (rows.eof())
        rows.moveLast();
    if (codeAt(rows, level) == code) {
        rows.movePrevious();
        if (rows.bof())
            rows.moveFirst();
    }
    const qint64 kept = codeAt(rows, level);
    return kept == code ? std::nullopt : std::optional(kept);
}

// A list of the deleted row's siblings loses its name; a list filled for another parent
// that happens to hold the same name is left alone.
void dropFromLists(Contas& window, int level, const QString& name, qint32 parent)
{
    const auto index = static_cast<std::size_t>(level);
    QList<Selector*> holding;
    for (Selector* list : {window.Combo[index], window.Texto[index]}) {
        if (list->names().contains(name))
            holding << list;
    }
    if (holding.isEmpty())
        return;
    window.state().sql = selectors::fillQuery(level, parent);
    const auto rows = window.database().openRecordset(window.state().sql);
    QStringList siblings;
    for (; !rows->eof(); rows->moveNext())
        siblings << rows->value(QStringLiteral("Nome")).toString();
    rows->close();
    for (Selector* list : holding) {
        QStringList rest = list->names();
        rest.removeOne(name);
        if (rest == siblings)
            list->fill(rest);
    }
}

} // namespace

void Contas::Excluir()
{
    if (EmInclusao || EmAlteracao)
        return;
    try {
        // Rows read inside the delete's transaction would keep its changes if it were undone.
        readRest();
    } catch (const JetError& error) {
        logError(m_state, m_desktop, rotina::ExcluindoRegistro, error.description(), error.number());
        return;
    }
    Recordset* rows = dataSet();
    const bool hasRow = rows != nullptr && !rows->bof() && !rows->eof();
    const std::optional<Recordset::Bookmark> start = hasRow ? std::optional(rows->bookmark()) : std::nullopt;
    try {
        deleteRecord();
    } catch (const JetError& error) {
        logError(m_state, m_desktop, rotina::ExcluindoRegistro, error.description(), error.number());
        // Nothing was deleted: the page goes back to the row it showed.
        if (Recordset* page = dataSet(); page != nullptr && start) {
            try {
                page->setBookmark(*start);
                syncPosition();
            } catch (const JetError&) {
                // The row is gone after all; the page stays where it is.
            }
        }
        TotalDeRegistros();
    }
}

void Contas::deleteRecord()
{
    const int level = NivelAtual;
    Recordset* rows = dataSet();
    const bool hasRow = rows != nullptr && !rows->bof() && !rows->eof();
    // Items that stand for a product are kept by the product register.
    if (level == 4 && PaginaAtiva == 0 && hasRow
        && rows->value(QStringLiteral("CodigoProduto")).toInt() != 0) {
        m_desktop.msgbox(QStringLiteral("Não se pode excluir produto ou insumo"), vb::Information,
            QStringLiteral("Não pode excluir"));
        return;
    }
    if (rows == nullptr || TotalRegistros[static_cast<std::size_t>(PaginaAtiva)] < 1 || !hasRow) {
        m_desktop.msgbox(
            QStringLiteral("Não tem nenhum registro"), vb::Information, QStringLiteral("Excluir"));
        return;
    }
    if (m_desktop.msgbox(confirmationPrompt(level), Confirmation, QStringLiteral("Exclusão")) != vb::Yes)
        return;
    // The categories are fixed: whatever the answer, they stay.
    if (level < 1 || level > 4)
        return;
    if ((level == 1 || level == 2) && rows->value(field("Travado", level)).toBool()) {
        const Refusal locked = lockRefusal(level, rows->value(field("Nome", level)).toString());
        m_desktop.msgbox(locked.prompt, vb::Information, locked.title);
        return;
    }

    const qint64 code = codeAt(*rows, level);
    const std::optional<qint64> kept = neighbourOf(*rows, level, code);
    rows->findFirst(browse::relocationCriteria(level, code));
    const bool sale = rows->value(field("Codigo", 0)).toInt() == 1;
    const QString name = rows->value(field("Nome", level)).toString();
    const qint32 parent = rows->value(field("Codigo", level - 1)).toInt();
    const bool marked = level == 4 && rows->value(field("Marca", 4)).toBool();

    std::optional<Refusal> refusal;
    bool deleted = false;
    {
        UnitOfWork work(database());
        if (level < 4) {
            // The database, not the window's copy: another workstation may have just put a row under it.
            const auto children = database().openRecordset(
                QStringLiteral("SELECT Codigo FROM NivelCategoria%1 WHERE CodigoCategoria%2 = ")
                    .arg(level + 1)
                    .arg(level)
                + QString::number(code));
            if (children->recordCount() > 0)
                refusal = dependencyRefusal(level);
            children->close();
        } else {
            m_state.sql = movementQuery(sale, code);
            const auto lines = database().openRecordset(m_state.sql);
            if (lines->recordCount() > 0)
                refusal = dependencyRefusal(level);
            lines->close();
        }
        if (!refusal) {
            Recordset& table = *Nivel[static_cast<std::size_t>(level)];
            deleted = table.findFirst(QStringLiteral("Codigo = ") + QString::number(code));
            if (deleted) {
                table.deleteCurrent();
                // The table never stands on a row that is gone.
                if (table.recordCount() > 0)
                    table.moveFirst();
                work.commit();
            }
        }
    }
    // The boxes wait until the write lock is let go.
    if (refusal) {
        m_desktop.msgbox(refusal->prompt, vb::Information, refusal->title);
        return;
    }
    if (!deleted) {
        m_desktop.msgbox(QStringLiteral("Não encontrei registro"), vb::OKOnly);
        return;
    }

    removeNode(nodeKey(code, level));
    dropFromLists(*this, level, name, parent);
    if (marked && Encontrados > 0) {
        --Encontrados;
        HitAtual = qMin(HitAtual, Encontrados);
    }
    // Nothing depended on the row, so the other page holds no row that names it: only this
    // page is read again.
    openLevel(level);
    if (kept)
        relocate(level, *kept);
    syncPosition();
    if (TotalRegistros[static_cast<std::size_t>(PaginaAtiva)] < 1) {
        // An empty page has no row to show in place of the one deleted.
        if (PaginaAtiva == 0)
            Combo[static_cast<std::size_t>(level)]->setText(QString());
        else
            Texto[static_cast<std::size_t>(level)]->setText(QString());
    }
    TotalDeRegistros();
}

void Contas::removeNode(const QString& key)
{
    const QSignalBlocker blocker(Arvore);
    if (m_tree)
        m_tree->remove(keyLevel(key), keyCode(key));
}

bool Contas::reportChosen()
{
    if (CodigoRelatorio != 0)
        return true;
    m_desktop.msgbox(QStringLiteral("Primeiro selecione o relatório na lista"), vb::Information,
        QStringLiteral("Selecionar Relatório"));
    return false;
}

void Contas::deleteReport()
{
    const qint32 code = CodigoRelatorio;
    if (code == 0)
        return;
    if (m_desktop.msgbox(
            QStringLiteral("Deseja excluir definivamente o relatório ") + NomeRelatorio + QLatin1Char('?'),
            Confirmation, QStringLiteral("Excluir relatório"))
        != vb::Yes)
        return;
    try {
        {
            // The items go first: a report is never left half deleted.
            UnitOfWork work(database());
            m_state.sql = QStringLiteral("DELETE * FROM RelatorioItens WHERE CodigoRelatorio = ")
                + QString::number(code) + QLatin1Char(';');
            database().execute(m_state.sql);
            m_state.sql = QStringLiteral("DELETE * FROM Relatorios WHERE CodigoRelatorio = ")
                + QString::number(code) + QLatin1Char(';');
            database().execute(m_state.sql);
            work.commit();
        }
        fillReportList();
        if (m_tree)
            m_tree->clearMarks();
    } catch (const JetError& error) {
        logError(m_state, m_desktop, ReportRoutine, error.description(), error.number());
    }
}

} // namespace varemo
