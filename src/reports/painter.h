#pragma once

#include "reports/document.h"

class QPainter;

namespace varemo::reports {

// Draws one page on any device; `dotsPerMm` is the device's resolution at the zoom wanted.
void paintPage(const Document& document, int page, QPainter& painter, qreal dotsPerMm);
// Writes every page to a PDF file on A4 (landscape when the document is); false when it cannot.
bool writePdf(const Document& document, const QString& fileName);

} // namespace varemo::reports
