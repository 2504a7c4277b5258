// Report definitions opened from the report list.

#include "editor/contas.h"

namespace varemo {

void Contas::newReport() { }

void Contas::editReport() { }

} // namespace varemo
