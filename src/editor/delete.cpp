// Deleting records and saved reports.

#include "editor/contas.h"

namespace varemo {

void Contas::Excluir() { }

bool Contas::reportChosen()
{
    return CodigoRelatorio != 0;
}

void Contas::deleteReport() { }

} // namespace varemo
