#include "app/common/translation.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace tov::app {

void installTranslations()
{
    const QLocale locale = QLocale::system();
    const auto install = [&locale](const QString& name, const QString& folder) {
        auto* translator = new QTranslator(qApp);
        // The languages in the user's order; English needs no file, so the search ends there.
        if (translator->load(locale, name, QStringLiteral("_"), folder))
            QCoreApplication::installTranslator(translator);
        else
            delete translator;
    };
    const QStringList languages = locale.uiLanguages();
    if (languages.isEmpty() || languages.first().startsWith(QLatin1String("en")) ||
        languages.first() == QLatin1String("C"))
        return;
    install(QStringLiteral("qtbase"), QLibraryInfo::location(QLibraryInfo::TranslationsPath));
    install(QStringLiteral("tov"), QStringLiteral(":/translations"));
}

} // namespace tov::app
