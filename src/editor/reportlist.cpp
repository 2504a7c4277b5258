// The list of saved reports: while it is shown, the record commands act on reports.

#include "app/desktop.h"
#include "app/errorlog.h"
#include "app/state.h"
#include "data/database.h"
#include "editor/charttree.h"
#include "editor/contas.h"
#include "editor/images.h"
#include "editor/tree.h"
#include "reports/dataperiodo.h"
#include "reports/relpersonal.h"
#include "reports/runreport.h"

#include <QGroupBox>
#include <QListWidget>
#include <QSignalBlocker>
#include <QTreeWidget>

namespace varemo {

bool Contas::reportsVisible() const
{
    return !RelatosPainel->isHidden();
}

void Contas::fillReportList()
{
    const auto reports = database().openRecordset(QStringLiteral("Relatorios"), RecordsetType::Table);
    const QSignalBlocker blocker(Relatos);
    Relatos->clear();
    if (reports->recordCount() > 0)
        reports->moveFirst();
    while (!reports->eof()) {
        auto* entry = new QListWidgetItem(reports->value(QStringLiteral("NomeRelatorio")).toString());
        // The code travels with the name: two reports may share a name.
        entry->setData(Qt::UserRole, reports->value(QStringLiteral("CodigoRelatorio")).toInt());
        Relatos->addItem(entry);
        reports->moveNext();
    }
    reports->close();
    Relatos->setCurrentRow(-1);
    CodigoRelatorio = 0;
    NomeRelatorio.clear();
}

void Contas::showReportList()
{
    fillReportList();
    if (m_tree)
        m_tree->clearMarks();
    RelatosPainel->setVisible(true);
}

void Contas::hideReportList()
{
    RelatosPainel->setVisible(false);
    CodigoRelatorio = 0;
    NomeRelatorio.clear();
    if (m_tree)
        m_tree->clearMarks();
}

void Contas::Relatos_Click()
{
    const QList<QListWidgetItem*> chosen = Relatos->selectedItems();
    if (m_tree)
        m_tree->clearMarks();
    if (chosen.isEmpty()) {
        CodigoRelatorio = 0;
        NomeRelatorio.clear();
        return;
    }
    CodigoRelatorio = chosen.first()->data(Qt::UserRole).toInt();
    NomeRelatorio = chosen.first()->text();
    try {
        MostraMarcas(CodigoRelatorio);
    } catch (const JetError& error) {
        logError(state(), desktop(), QStringLiteral("Relatos_Click"), error.description(), error.number());
    }
}

namespace {

// The marked nodes below `node`, depth first in tree order: a node chosen as a whole gives
// "S", one chosen in part "N"; an unmarked branch holds nothing chosen and is skipped (and,
// in a tree made on demand, is never made).
void markedEntries(QTreeWidgetItem* node, QStringList& entries)
{
    fillChildren(node);
    for (int i = 0; i < node->childCount(); ++i) {
        QTreeWidgetItem* child = node->child(i);
        const QString image = nodeImage(child);
        if (image != ImageSome && image != ImageAll)
            continue;
        entries << reports::pathEntry(child->text(0), keyLevel(nodeKeyOf(child)), image == ImageAll);
        markedEntries(child, entries);
    }
}

} // namespace

void Contas::BotaoVer_Click()
{
    if (!reportChosen())
        return;
    DataPeriodo period(state(), desktop(), this);
    state().confirmed = false;
    desktop().showModal(period);
    if (!state().confirmed)
        return;
    QStringList entries;
    if (QTreeWidgetItem* root = Arvore->topLevelItem(0))
        markedEntries(root, entries);
    state().reportEntries = entries;
    state().reportName = NomeRelatorio;
    runReport(state(), desktop(), PersonalisedReport, this);
}

} // namespace varemo
