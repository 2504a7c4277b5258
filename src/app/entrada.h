#pragma once

#include <QPointer>
#include <QWidget>

class QLabel;
class QTimer;

namespace varemo {

struct AppState;

// The splash: on screen while the company file opens and the main window loads hidden.
// Its timer hands over to the main window once that window says its load is complete.
class Entrada : public QWidget {
    Q_OBJECT
public:
    explicit Entrada(AppState& state, QWidget* parent = nullptr);

    static constexpr int TimerInterval = 100; // ms

    // The window shown when the timer sees the ready flag.
    void setMainWindow(QWidget* window) { m_mainWindow = window; }
    QWidget* mainWindow() const { return m_mainWindow; }
    // The company name, read after the splash went up.
    void showCompany(const QString& name);
    // The tick: nothing while the main window loads; once it is ready, show it and close.
    void Timer1_Timer();

    QLabel* Selo = nullptr;
    QLabel* Titulo = nullptr;
    QLabel* Versao = nullptr;
    QLabel* Empresa = nullptr;
    QTimer* Timer1 = nullptr;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLabel* addLabel(const QString& name, const QString& text, const QColor& color, const QFont& font);
    void centerOnScreen();

    AppState& m_state;
    QPointer<QWidget> m_mainWindow;
};

} // namespace varemo
