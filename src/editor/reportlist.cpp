// The list of saved reports: while it is shown, the record commands act on reports.

#include "app/errorlog.h"
#include "app/state.h"
#include "data/database.h"
#include "editor/contas.h"
#include "editor/tree.h"

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
    clearMarks(Arvore->topLevelItem(0));
    RelatosPainel->setVisible(true);
}

void Contas::hideReportList()
{
    RelatosPainel->setVisible(false);
    CodigoRelatorio = 0;
    NomeRelatorio.clear();
    clearMarks(Arvore->topLevelItem(0));
}

void Contas::Relatos_Click()
{
    const QList<QListWidgetItem*> chosen = Relatos->selectedItems();
    clearMarks(Arvore->topLevelItem(0));
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

void Contas::BotaoVer_Click()
{
    // The personalised report of the chosen definition arrives with the reports.
}

} // namespace varemo
