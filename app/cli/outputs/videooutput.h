#pragma once

#include "app/cli/outputs/outputstream.h"
#include "app/common/privatepipe.h"
#include "app/common/safeoutput.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <memory>

namespace tov::app {

/// Where the file of a recording goes: under a temporary name next to the output, and at its end to the output's own
/// name; or to standard output or a named pipe. Streams are written while the recording runs where the format and the
/// motion allow it, else from a private temporary file at the end. Thread: application.
class VideoOutput
{
    Q_DECLARE_TR_FUNCTIONS(tov::app::VideoOutput)
public:
    /// `fileName` is the output's name, `ending` its format.
    VideoOutput(const VideoRequest& request, const QString& fileName, const QString& ending);

    /// True when videos of that format can go to standard output or a pipe; false with one line in `error`.
    static bool checkStream(const QString& ending, QString* error);

    /// Makes everything that is needed before the recording; false with one line in `error`.
    bool prepare(QString* error);
    /// The name that the recording writes to.
    QString getRecordedName() const;
    /// True when the recording is written to a stream while it runs, so that nothing of it can be read back.
    bool isStreamed() const { return mp_Pipe != nullptr; }
    /// True when an incomplete recording stays under its temporary name.
    bool keepsPartial() const { return mp_File != nullptr; }
    /// Gives the complete recording its name, or sends it; false with one line in `error`.
    bool deliver(QString* error);
    /// Removes what was recorded.
    void discard();

private:
    bool sendFile(QString* error);

    const OutputRequest m_Request;
    const QString m_FileName, m_Ending;
    const bool m_IsImmediate;            ///< a stream can be written while the recording runs
    std::unique_ptr<SafeOutput> mp_File; ///< null: a stream
    OutputStream m_Stream;
    std::unique_ptr<PrivatePipe> mp_Pipe;     ///< copies to the stream, which must outlive it
    std::unique_ptr<QTemporaryDir> mp_Folder; ///< of a file that is sent at the end
};

} // namespace tov::app
