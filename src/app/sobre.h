#pragma once

#include <QDialog>
#include <QPoint>
#include <QString>

#include <array>
#include <optional>

class QLabel;
class QPushButton;

namespace varemo {

struct AppState;
class Desktop;

// "1.02.003": the minor as its last two digits, the revision as its last four.
QString versionText(int major, int minor, int revision);

// The About box: the module's name, version and description over a picture. It has no
// title bar: the picture and the three labels are where it is dragged from.
class Sobre : public QDialog {
    Q_OBJECT
public:
    Sobre(AppState& state, Desktop& desktop, QWidget* parent = nullptr);

    static constexpr int HelpContext = 30020;
    static constexpr int ClickSound = 7;

    // 0 opens the help topic, 1 closes the window; both click.
    void Botao_Click(int index);
    bool isDragHandle(const QObject* object) const;

    QLabel* Imagem = nullptr;
    QLabel* VerNomeProduto = nullptr;
    QLabel* VerVersao = nullptr;
    QLabel* VerDescricao = nullptr;
    std::array<QPushButton*, 2> Botao {};

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QLabel* addLabel(const QString& name, const QString& text, const QColor& color);
    void buildFooter();
    void beginDrag(QPoint globalPos);

    Desktop& m_desktop;
    // Where the press landed relative to the window, while this window follows the mouse
    // itself (a platform that cannot move windows on request).
    std::optional<QPoint> m_dragOffset;
};

} // namespace varemo
