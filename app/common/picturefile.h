#pragma once

#include "app/common/safeoutput.h"

#include <QCoreApplication>
#include <QImage>
#include <QString>

class QIODevice;

namespace tov::app {

/// Writes pictures into files and devices. Thread: any.
class PictureFile
{
    Q_DECLARE_TR_FUNCTIONS(tov::app::PictureFile)
public:
    /// `format` is the ending that selects the format; `quality` -1 = the format's default.
    PictureFile(const QString& format, int quality) : m_Format(format), m_Quality(quality) {}

    /// True when files of that format store dots per inch.
    static bool storesResolution(const QString& format);

    /// Writes the picture into an open device. On failure false with the cause in `reason`.
    bool write(const QImage& image, QIODevice& device, QString* reason) const;
    /// Writes the picture under a temporary name, verifies it and gives it its name. On failure false with one line in
    /// `error`, and an older file is unchanged. Nothing else is left, unless a complete picture cannot be renamed.
    bool save(const QImage& image, const QString& fileName, SafeOutput::Older older, QString* error) const;

private:
    bool writeFile(const QImage& image, const QString& fileName, QString* reason) const;

    QString m_Format;
    int m_Quality;
};

} // namespace tov::app
