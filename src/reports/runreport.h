#pragma once

#include "reports/table.h"

#include <optional>

class QWidget;

namespace varemo {

struct AppState;
class Desktop;

// The reports the main window runs by number.
inline constexpr int ChartListingReport = 1; // the chart down to AppState::listingLevel
inline constexpr int PersonalisedReport = 2; // AppState::reportEntries over the confirmed period

// Builds report `number` from the shared state: nothing for any other number, when the
// person stops a long build, or when the database fails (the failure is logged). A build
// taking over a second shows a progress window that can stop it. A landscape page first
// asks whether to print upright.
std::optional<reports::Report> makeReport(
    AppState& state, Desktop& desktop, int number, QWidget* parent = nullptr, bool landscape = false);
// Builds report `number` and shows it in the preview; returns when the preview is closed.
void runReport(
    AppState& state, Desktop& desktop, int number, QWidget* parent = nullptr, bool landscape = false);

} // namespace varemo
