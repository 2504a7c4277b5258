// The chart listing's depth, asked before the listing is made.

#include "reports/nivelplano.h"

#include "app/desktop.h"

#include <QButtonGroup>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include <algorithm>

namespace varemo {

NivelPlano::NivelPlano(int level, QWidget* parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("NivelPlano"));
    setWindowTitle(QStringLiteral("Plano de Contas"));
    auto* box = new QGroupBox(QStringLiteral("Listar o plano de contas até o nível:"));
    auto* options = new QVBoxLayout(box);
    auto* group = new QButtonGroup(this);
    const QString captions[] {QStringLiteral("&Setor"), QStringLiteral("&Grupo"), QStringLiteral("&Conta"),
        QStringLiteral("&Item")};
    for (int i = 0; i < 4; ++i) {
        Opcao[size_t(i)] = new QRadioButton(captions[i]);
        Opcao[size_t(i)]->setObjectName(QStringLiteral("Opcao%1").arg(i + 1));
        group->addButton(Opcao[size_t(i)], i + 1);
        options->addWidget(Opcao[size_t(i)]);
    }
    Opcao[size_t(std::clamp(level, 1, 4) - 1)]->setChecked(true);
    auto* hint = new QLabel(QStringLiteral("A listagem começa sempre pelas categorias."));
    hint->setWordWrap(true);
    auto* buttons = new QDialogButtonBox;
    buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole)->setDefault(true);
    buttons->addButton(QStringLiteral("Cancelar"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(box);
    layout->addWidget(hint);
    layout->addWidget(buttons);
    setMinimumWidth(320);
}

int NivelPlano::level() const
{
    for (int i = 0; i < 4; ++i) {
        if (Opcao[size_t(i)]->isChecked())
            return i + 1;
    }
    return 4;
}

std::optional<int> askListingLevel(Desktop& desktop, QWidget* parent, int level)
{
    NivelPlano dialog(level, parent);
    desktop.showModal(dialog);
    if (dialog.result() != QDialog::Accepted)
        return std::nullopt;
    return dialog.level();
}

} // namespace varemo
