#pragma once

#include <QCoreApplication>
#include <QString>

namespace tov::viewer {

/// A text of a command or its parameter, in the user's language if there is a translation: descriptions and names of
/// parameters are passed untranslated, because command texts use them.
inline QString commandText(const QString& text)
{
    return QCoreApplication::translate("Commands", text.toUtf8().constData());
}

/// The texts of the commands that come with the program, for the translators.
inline constexpr const char* KnownCommandTexts[] = {
    QT_TRANSLATE_NOOP("Commands", "Grabs an image of the scene"),
    QT_TRANSLATE_NOOP("Commands", "Grabs a video of the active view"),
    QT_TRANSLATE_NOOP("Commands", "Sets the video settings"),
    QT_TRANSLATE_NOOP("Commands", "Offers picture and video grabbing of the scene"),
    QT_TRANSLATE_NOOP("Commands", "filename"),
    QT_TRANSLATE_NOOP("Commands", "width"),
    QT_TRANSLATE_NOOP("Commands", "height"),
    QT_TRANSLATE_NOOP("Commands", "sync"),
    QT_TRANSLATE_NOOP("Commands", "max. tempfile-size (MB)"),
    QT_TRANSLATE_NOOP("Commands", "fps"),
    QT_TRANSLATE_NOOP("Commands", "bitrate"),
    QT_TRANSLATE_NOOP("Commands", "use memory buffer"),
};

} // namespace tov::viewer
