#include "app/translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace varemo {

bool installTranslations(QCoreApplication& app)
{
    const QLocale brazil(QLocale::Portuguese, QLocale::Brazil);
    QLocale::setDefault(brazil);
    auto* translator = new QTranslator(&app);
    if (!translator->load(brazil, QStringLiteral("qtbase"), QStringLiteral("_"),
            QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        delete translator;
        return false;
    }
    QCoreApplication::installTranslator(translator);
    return true;
}

} // namespace varemo
