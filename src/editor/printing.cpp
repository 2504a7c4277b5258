// The chart listing asked for from the main window.

#include "editor/contas.h"

namespace varemo {

void Contas::printChart() { }

} // namespace varemo
