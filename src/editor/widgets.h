#pragma once

#include <QComboBox>
#include <QStatusBar>
#include <QStringList>

#include <array>

class QLabel;

namespace varemo {

// The main window's status bar `Status`: four sunken panels.
class StatusBar : public QStatusBar {
    Q_OBJECT
public:
    enum Panel { Message = 0, User = 1, Record = 2, Mode = 3 };
    static constexpr int PanelCount = 4;

    explicit StatusBar(QWidget* parent = nullptr);

    void setPanel(int index, const QString& text);
    QString panelText(int index) const;
    QLabel* panel(int index) const;

private:
    std::array<QLabel*, PanelCount> m_panels {};
};

// An editable level selector. Qt's editable combo box would show its first entry when
// its list is filled; a selector keeps the text it had, so filling never changes it.
class Selector : public QComboBox {
    Q_OBJECT
public:
    explicit Selector(QWidget* parent = nullptr);

    // Replaces the list, keeping the text as it was.
    void fill(const QStringList& names);
    // Empties the list and the text.
    void clearAll();
    QString text() const { return currentText(); }
    void setText(const QString& text);
    QStringList names() const;
    // A read-only selector shows the record only: no typing and no list to choose from.
    void setReadOnly(bool readOnly);
    bool isReadOnly() const;

    void showPopup() override;

protected:
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
};

} // namespace varemo
