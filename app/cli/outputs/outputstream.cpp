#include "app/cli/outputs/outputstream.h"

#include "app/common/outputcheck.h"

#include <unistd.h>

namespace tov::app {

bool isStream(const OutputRequest& request, const QString& fileName)
{
    return request.isStandardOutput() || isNamedPipe(fileName);
}

OutputStream::~OutputStream()
{
    if (m_Descriptor >= 0 && m_Descriptor != STDOUT_FILENO)
        close(m_Descriptor);
}

bool OutputStream::open(const OutputRequest& request, const QString& fileName, QString* error)
{
    m_Descriptor = request.isStandardOutput() ? STDOUT_FILENO : openPipe(fileName, error);
    return isOpen();
}

} // namespace tov::app
