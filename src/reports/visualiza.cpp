// The report preview.

#include "reports/visualiza.h"

namespace varemo {

Visualiza::Visualiza(AppState& state, Desktop& desktop, QWidget* parent)
    : QDialog(parent)
    , m_state(state)
    , m_desktop(desktop)
{
}

Visualiza::~Visualiza() = default;

void Visualiza::RunReport(reports::Report report)
{
    setWindowTitle(report.caption);
}

} // namespace varemo
