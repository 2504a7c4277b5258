#pragma once

#include <QDate>
#include <QDialog>
#include <QStringList>

#include <array>

class QComboBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QRadioButton;

namespace varemo {

struct AppState;
class DateBox;
class Desktop;

// "Período do Relatório": the date range of a personalised report. Six kinds of period
// computed around the start box's date, or two dates typed freely. A valid confirmation
// leaves the two "dd-mm-yyyy" texts and the confirmed flag in AppState and keeps the week
// start and the period type in the company row for next time.
class DataPeriodo : public QDialog {
    Q_OBJECT
public:
    static constexpr int ClickSound = 7;
    // Sizes in twips, as the window's height is compared; 15 twips make a pixel.
    static constexpr int TwipsPerPixel = 15;
    static constexpr int CompactHeight = 4650;
    static constexpr int ExpandedHeight = 9450;
    static constexpr int Width = 4920;

    DataPeriodo(AppState& state, Desktop& desktop, QWidget* parent = nullptr);
    // The same with a chosen "today", the day both boxes start from.
    DataPeriodo(AppState& state, Desktop& desktop, QDate today, QWidget* parent = nullptr);

    std::array<QRadioButton*, 6> Opcao {};
    std::array<QRadioButton*, 2> OpcaoRetrocede {}; // retroactive, complete
    QComboBox* InicioSemana = nullptr; // data 1 = Sunday ... 7 = Saturday
    std::array<DateBox*, 2> Datas {}; // start, end
    std::array<QPushButton*, 3> Botao {}; // cancel, confirm, expand or collapse
    QGroupBox* Flamula = nullptr; // the frame of the period options
    std::array<QLabel*, 5> Rutolo {}; // the explanations of the period type
    QWidget* Extra = nullptr; // the part shown only when expanded

    void Botao_Click(int index);
    void Opcao_Click(int index);
    void OpcaoRetrocede_Click(int index);
    void InicioSemana_Click();
    void Datas_Change(int index);
    // Writes the chosen kind of period around the start box's date into both boxes.
    void RecalculaDatas();

    int option() const { return m_option; }
    bool retroactive() const { return m_retroactive; }
    int weekStart() const { return m_weekStart; }
    bool expanded() const { return m_expanded; }
    int heightTwips() const { return height() * TwipsPerPixel; }

    // Esc and the close box cancel, as button 0 does.
    void reject() override;

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void build();
    QWidget* buildCompact();
    QWidget* buildExtra();
    void connectControls();
    void Form_Load(QDate today);
    void readCompany(int& weekStart, bool& retroactive);
    void setHeight(int twips);
    void selectOption(int index);
    void setWeekStart(int weekStart);
    void remember();
    void confirm();
    void refuse(const QString& message, int box);
    bool saveSettings();

    struct Snapshot {
        int option;
        bool retroactive;
        int weekStart;
        bool operator==(const Snapshot&) const = default;
    };
    Snapshot current() const { return {m_option, m_retroactive, m_weekStart}; }

    AppState& m_state;
    Desktop& m_desktop;
    int m_option = 0;
    bool m_retroactive = false;
    int m_weekStart = 1;
    QDate m_reference; // the start box's date when the last computation began
    QDate m_endRead;
    // Only the person's own changes to the boxes make the period a free range: not the
    // computed dates being written, not what a change of option, type or week start causes.
    bool m_recalculating = false;
    bool m_settingsChanging = false;
    bool m_loading = true;
    QStringList m_lastTexts {QString(), QString()};
    Snapshot m_lastState {0, false, 0};
    bool m_expanded = false;
};

} // namespace varemo
