// Running a report by number: build its lines, lay them out, show them in the preview.

#include "reports/runreport.h"

#include "app/desktop.h"
#include "app/errorlog.h"
#include "app/state.h"
#include "data/errors.h"
#include "reports/relcontas.h"
#include "reports/relpersonal.h"
#include "reports/reportlayout.h"
#include "reports/visualiza.h"

#include <QDate>
#include <QProgressDialog>

namespace varemo {

namespace {

const QString ChartCaption = QStringLiteral("Plano de Contas");
const QString PersonalCaption = QStringLiteral("Relatório Personalizado");

QDate periodDay(const QString& text)
{
    return QDate::fromString(text, QStringLiteral("dd-MM-yyyy"));
}

// Reports print upright; a sideways page is only kept when the person wants it.
bool keepLandscape(Desktop& desktop)
{
    const int answer = desktop.msgbox(QStringLiteral("A orientação do papel está na horizontal.\r"
                                                     "O correto é a orientação na vertical.\r"
                                                     "Quer imprimir com orientação vertical?"),
        vb::YesNo + vb::Question, QStringLiteral("Orientação do Papel"));
    return answer != vb::Yes;
}

} // namespace

std::optional<reports::Report> makeReport(
    AppState& state, Desktop& desktop, int number, QWidget* parent, bool landscape)
{
    if ((number != ChartListingReport && number != PersonalisedReport) || !state.database)
        return std::nullopt;
    if (landscape)
        landscape = keepLandscape(desktop);
    const QString caption = number == ChartListingReport
        ? ChartCaption
        : (state.reportName.isEmpty() ? PersonalCaption
                                      : PersonalCaption + QStringLiteral(" - ") + state.reportName);

    // Shown only when the build is still running after a second.
    QProgressDialog bar(
        QStringLiteral("Preparando o relatório..."), QStringLiteral("Cancelar"), 0, 100, parent);
    bar.setWindowTitle(caption);
    bar.setWindowModality(Qt::WindowModal);
    bar.setMinimumDuration(1000);
    bar.setAutoReset(false);
    bar.setValue(0);
    const reports::Progress progress = [&bar](int done, int total) {
        bar.setValue(total > 0 ? 90 * done / total : 0);
        return !bar.wasCanceled();
    };

    const QDate today = QDate::currentDate();
    std::optional<reports::Table> table;
    try {
        if (number == ChartListingReport) {
            table = reports::buildRelContas(*state.database, state.listingLevel, today, progress, state.sql);
        } else {
            table = reports::buildRelPersonal(*state.database, state.reportEntries, state.reportName,
                periodDay(state.periodStart), periodDay(state.periodEnd), today, progress);
        }
    } catch (const JetError& error) {
        logError(state, desktop,
            number == ChartListingReport ? QStringLiteral("Relatório Plano de Contas") : PersonalCaption,
            error);
        return std::nullopt;
    }
    if (!table || bar.wasCanceled())
        return std::nullopt;
    bar.setValue(90);
    table->company = state.companyName.trimmed().toUpper();
    reports::Report report {caption, std::move(*table), {}};
    report.document = reports::layoutReport(report.table, reports::a4(landscape));
    bar.setValue(100);
    return report;
}

void runReport(AppState& state, Desktop& desktop, int number, QWidget* parent, bool landscape)
{
    auto report = makeReport(state, desktop, number, parent, landscape);
    if (!report)
        return;
    Visualiza preview(state, desktop, parent);
    preview.RunReport(std::move(*report));
    desktop.showModal(preview);
}

} // namespace varemo
