#pragma once

class QCoreApplication;

namespace varemo {

// Qt's own texts in Brazilian Portuguese (standard buttons "Sim"/"Não", the print dialog,
// edit menus) and Brazilian dates and numbers as the default locale. False when Qt's
// translation file is not installed: the program still runs, with those texts in English.
bool installTranslations(QCoreApplication& app);

} // namespace varemo
