#pragma once

// Shared by the tests of encoder plug-ins.

#include "grab/video/videoencoder.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace tov::test {

/// A chunk of these bytes, positioned at its end as the capture passes it on; the caller owns it.
inline QIODevice* chunkOf(const QByteArray& bytes)
{
    auto* buffer = new QBuffer;
    buffer->open(QIODevice::ReadWrite);
    buffer->write(bytes);
    return buffer;
}

/// Loads only these plug-ins of the build, for a whole test suite.
class PluginTest : public testing::Test
{
protected:
    static void loadPlugins(std::initializer_list<const char*> names)
    {
        const QString folder = QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/video/");
        QDir(folder).removeRecursively();
        QDir().mkpath(folder);
        for (const char* name : names)
            ASSERT_TRUE(QFile::copy(QStringLiteral(TOV_BINARY_DIR "/bin/plugins/video/") + QLatin1String(name),
                                    folder + QLatin1String(name)));
        // The folder in which plug-ins search for their coders.
        QFile::link(QStringLiteral(TOV_BINARY_DIR "/lib"),
                    QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../lib")));
        tov::grab::video::VideoEncoder::getInstance()->refreshPlugins();
    }
    static void TearDownTestSuite() { tov::grab::video::VideoEncoder::getInstance()->unloadPlugins(); }
};

} // namespace tov::test
