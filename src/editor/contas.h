#pragma once

#include <QMainWindow>

namespace varemo {

struct AppState;
class Desktop;

// The main window: the chart-of-accounts editor.
class Contas : public QMainWindow {
    Q_OBJECT
public:
    Contas(AppState& state, Desktop& desktop, QWidget* parent = nullptr);
    ~Contas() override;

    // The window's load, run hidden while the splash is on screen. A failing step goes to
    // the error log; returns false then.
    bool Form_Load();
    // Closing: placement, recordsets, other windows, database, the chosen sibling module.
    // Runs once; the window is hidden, never deleted by itself.
    void Form_Unload();
};

} // namespace varemo
