#pragma once

#include "reports/table.h"

#include <QDialog>

namespace varemo {

struct AppState;
class Desktop;

namespace reports {
class ReportViewer;
}

// The preview every report is shown in before printing or exporting.
class Visualiza : public QDialog {
    Q_OBJECT
public:
    Visualiza(AppState& state, Desktop& desktop, QWidget* parent = nullptr);
    ~Visualiza() override;

    // Attaches the report to the viewer at zoom 100 and takes its caption as the title.
    void RunReport(reports::Report report);

    reports::ReportViewer* Visual = nullptr;

private:
    AppState& m_state;
    Desktop& m_desktop;
};

} // namespace varemo
