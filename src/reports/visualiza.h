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
    // With a viewer made elsewhere (the window takes it over), as a test does for a shorter toolbar.
    Visualiza(AppState& state, Desktop& desktop, reports::ReportViewer* viewer, QWidget* parent = nullptr);
    ~Visualiza() override;

    // Translates the viewer's toolbar, adds the display choices and sets zoom 100.
    void Form_Load();
    // The viewer fills the window.
    void Form_Resize();
    // The report goes with the window.
    void Form_Unload();

    // Attaches the report to the viewer at zoom 100 and takes its caption as the title.
    void RunReport(reports::Report report);

    reports::ReportViewer* Visual = nullptr;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void done(int result) override;

private:
    AppState& m_state;
    Desktop& m_desktop;
};

} // namespace varemo
