#pragma once

#include "app/cli/options/requests.h"

namespace tov::app {

/// True when a result goes to standard output or a named pipe instead of a regular file. Thread: any.
bool isStream(const OutputRequest& request, const QString& fileName);

/// Standard output, or a named pipe, which is closed with the object. Thread: application.
class OutputStream
{
public:
    OutputStream() = default;
    ~OutputStream();
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;

    /// Opens the stream that the request names; false with one line in `error`, also when nobody reads from the pipe.
    bool open(const OutputRequest& request, const QString& fileName, QString* error);
    bool isOpen() const { return m_Descriptor >= 0; }
    /// The open file; -1 before `open`.
    int descriptor() const { return m_Descriptor; }

private:
    int m_Descriptor = -1;
};

} // namespace tov::app
