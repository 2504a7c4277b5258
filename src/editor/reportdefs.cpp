// Report definitions opened from the report list.

#include "app/desktop.h"
#include "editor/contas.h"
#include "reports/arvrelat.h"

#include <QListWidget>

namespace varemo {

namespace {

// The definition window over the main window. Each save refreshes the list at once and
// chooses the saved report, so its marks show in the main tree when the window closes.
void openDefinition(Contas& contas, int mode, qint32 code, const QString& name)
{
    ArvRelat window(contas.state(), contas.desktop(), mode, code, name, &contas);
    QObject::connect(&window, &ArvRelat::saved, &contas, [&contas](qint32 savedCode) {
        contas.fillReportList();
        for (int row = 0; row < contas.Relatos->count(); ++row) {
            if (contas.Relatos->item(row)->data(Qt::UserRole).toInt() == savedCode) {
                contas.Relatos->setCurrentRow(row); // the list's choice handler takes it from here
                break;
            }
        }
    });
    contas.desktop().showModal(window);
}

} // namespace

void Contas::newReport()
{
    openDefinition(*this, ArvRelat::NewDefinition, 0, {});
}

void Contas::editReport()
{
    openDefinition(*this, ArvRelat::EditDefinition, CodigoRelatorio, NomeRelatorio);
}

} // namespace varemo
