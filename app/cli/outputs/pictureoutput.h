#pragma once

#include "app/cli/outputs/outputstream.h"

#include <QCoreApplication>
#include <QImage>
#include <QString>

namespace tov::app {

/// Where a picture goes: a file, which keeps its old content until the new one is complete; standard output; or a named
/// pipe. Thread: application.
class PictureOutput
{
    Q_DECLARE_TR_FUNCTIONS(tov::app::PictureOutput)
public:
    /// `fileName` is the output's name, `format` the ending that selects its format.
    PictureOutput(const OutputRequest& request, const QString& fileName, const QString& format);

    /// Opens a pipe, so that a missing reader is reported before any work; false with one line in `error`.
    bool prepare(QString* error);
    /// Writes the picture; `quality` -1 = the format's default. On failure false with one line in `error`.
    bool save(const QImage& image, int quality, QString* error);

private:
    bool saveStream(const QImage& image, int quality, QString* reason);

    const OutputRequest m_Request;
    const QString m_FileName, m_Format;
    OutputStream m_Stream; ///< not open for a regular file
};

} // namespace tov::app
