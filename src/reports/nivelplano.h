#pragma once

#include <QDialog>

#include <array>
#include <optional>

class QRadioButton;

namespace varemo {

class Desktop;

// Asks down to which level the chart is listed: Setor (1) to Item (4).
class NivelPlano : public QDialog {
    Q_OBJECT
public:
    explicit NivelPlano(int level = 4, QWidget* parent = nullptr);

    int level() const;

    std::array<QRadioButton*, 4> Opcao {}; // levels 1..4
};

// The level chosen, or nothing when the person cancels.
std::optional<int> askListingLevel(Desktop& desktop, QWidget* parent = nullptr, int level = 4);

} // namespace varemo
