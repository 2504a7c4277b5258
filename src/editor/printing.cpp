// The chart listing asked for from the main window.

#include "app/desktop.h"
#include "app/state.h"
#include "editor/contas.h"
#include "reports/nivelplano.h"
#include "reports/runreport.h"

namespace varemo {

void Contas::printChart()
{
    const auto level = askListingLevel(desktop(), this, state().listingLevel);
    if (!level)
        return;
    state().listingLevel = *level;
    runReport(state(), desktop(), ChartListingReport, this);
}

} // namespace varemo
