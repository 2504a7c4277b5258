#pragma once

#include "search/marking.h"

#include <QDialog>

#include <array>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace varemo {

struct AppState;
class Desktop;

// "Critérios do Filtro de Procura - Plano de Contas": up to five criteria on the names of
// the five levels; the search marks the items that satisfy them and leaves the hit count in
// AppState::searchResult for the main window's filtered navigation.
class ProContas : public QDialog {
    Q_OBJECT
public:
    static constexpr int Rows = 5;
    static constexpr int ClickSound = 7;
    static constexpr int HoverSound = 6;

    ProContas(AppState& state, Desktop& desktop, QWidget* parent = nullptr);
    ~ProContas() override;

    std::array<QComboBox*, Rows> Campo {};
    std::array<QComboBox*, Rows> Criterio {};
    std::array<QLineEdit*, Rows> Conteudo {};
    std::array<QLabel*, Rows> Label1 {};
    std::array<QPushButton*, Rows> Chave {}; // slot 0 stays empty: the first row links to nothing
    std::array<QPushButton*, 3> BotaoProcura {}; // help, cancel, search
    std::array<QPushButton*, 2> BotaoMais {}; // one row more, one row less
    QLabel* Selecao = nullptr;

    void BotaoProcura_Click(int index);
    void BotaoMais_Click(int index);
    void Chave_Click(int row);

    // Clears the previous hits and refills the scratch table; runs on every bringing up.
    void prepare();
    bool rowShown(int row) const;
    int lastShownRow() const;
    // The five rows as the search reads them: a hidden row has no content.
    search::Rows criteriaRows() const;

    void reject() override;

protected:
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildRows(QWidget* box);
    void setRowShown(int row, bool shown);
    void updateMais();
    void search();
    void finish(int result);

    AppState& m_state;
    Desktop& m_desktop;
    search::Prepared m_prepared;
    bool m_isPrepared = false;
};

} // namespace varemo
