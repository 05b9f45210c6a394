#pragma once

#include "tests/grab/collectingencoder.h"
#include "tests/grab/faults.h"
#include "tests/support/logcapture.h"
#include "tests/support/temporarysettings.h"
#include "tests/support/threads.h"

#include "grab/videohandler.h"
#include "kernel/math/matrix.h"
#include "scene/view/scenepanel.h"

#include <QByteArray>
#include <QColor>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace tov::test {

/// A scene, panels, a trajectory, settings and temporary directories for one test, and an encoder for "raw" files with
/// a journal.
class VideoFixture : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    /// A hidden panel that looks at the scene from the front.
    tov::gui::ScenePanel* newPanel(int width = 160, int height = 120);
    /// Selects a plain trajectory of that many points along x, at position 0.
    void selectPoints(unsigned long count);
    /// A file name in the test's folder.
    QString file(const QString& name) const { return m_Folder.filePath(name); }
    /// Sets the chunk size in megabytes, and whether chunks may be in memory.
    void setChunks(int megabytes, bool memory);

    LogCapture m_Log;
    EncoderJournal m_Journal;
    TemporarySettings m_Settings;
    QTemporaryDir m_Folder;
    QTemporaryDir m_Temporary; ///< directory for temporary files
};

/// Collects the signals of a handler. Thread: any.
struct Signals
{
    explicit Signals(tov::grab::VideoHandler& handler)
    {
        QObject::connect(
            &handler, &tov::grab::VideoHandler::progressChanged, &handler,
            [this](int percent) {
                std::lock_guard<std::mutex> guard(mutex);
                progress.push_back(percent);
                threads.push_back(QThread::currentThread()->objectName().toStdString());
            },
            Qt::DirectConnection);
        QObject::connect(
            &handler, &tov::grab::VideoHandler::grabbingFinished, &handler,
            [this] {
                finishedOn = QThread::currentThread();
                ++finished;
            },
            Qt::DirectConnection);
    }
    /// The values that the capture thread has emitted.
    std::vector<int> captureProgress()
    {
        std::lock_guard<std::mutex> guard(mutex);
        std::vector<int> result;
        for (std::size_t i = 0; i < progress.size(); ++i)
            if (threads[i] == "SyncedGrabber")
                result.push_back(progress[i]);
        return result;
    }

    std::mutex mutex;
    std::vector<int> progress;        ///< guarded by mutex
    std::vector<std::string> threads; ///< guarded by mutex
    std::atomic<QThread*> finishedOn{nullptr};
    std::atomic<int> finished{0};
};

/// Threads and open files of this process, as the system lists them.
std::set<std::string> threadNames();
std::size_t threadCount();
std::size_t descriptorCount();
/// Scheduling policy of the thread of that name (`SCHED_OTHER`, `SCHED_IDLE`), -1 if there is none.
int schedulingPolicy(const std::string& threadName);
/// Number of entries of a directory.
int entryCount(const QString& folder);

/// The expected bytes of a frame of that size and view, rendered independently of the recording in another context and
/// framebuffer object.
QByteArray renderedFrame(const tov::math::Matrix<double, 4u, 4u>& view, int width, int height);

} // namespace tov::test
