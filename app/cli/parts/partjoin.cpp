#include "app/cli/parts/partjoin.h"

#include "app/cli/session.h"
#include "app/common/runrecords.h"
#include "app/common/videoprobe.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <atomic>
#include <system_error>
#include <thread>

namespace tov::app {

namespace {

constexpr int InterruptPollMs = 100;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

} // namespace

bool joinParts(Session& session, const QStringList& parts, const std::vector<qint64>& counts, const QString& output,
               QString* error)
{
    const FailureLog failures(FailureLog::Console::Ignore);
    bool stop = false, isJoined = false;
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &poll, [&] {
        session.getReporter().progress(tr("Joining"), -1);
        if (session.wasInterrupted())
            std::atomic_ref<bool>(stop).store(true);
    });
    const auto work = [&] {
        isJoined = joinVideos(parts, counts, output, &stop);
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    };
    poll.start(InterruptPollMs);
    std::thread thread;
    try {
        thread = std::thread(work);
    } catch (const std::system_error&) {
        work(); // the system provides no thread
    }
    loop.exec();
    if (thread.joinable())
        thread.join();
    session.getReporter().clearProgress();
    if (!isJoined)
        *error = failures.last().isEmpty() ? tr("cannot make '%1': no loaded plug-in can join such files").arg(output)
                                           : failures.last();
    return isJoined;
}

double playingTime(const QString& fileName)
{
    double seconds = 0;
    QEventLoop loop;
    VideoReading reading(fileName);
    QObject::connect(&reading, &VideoReading::done, &loop, [&](const VideoProbe& probe) {
        seconds = probe.seconds;
        loop.quit();
    });
    loop.exec();
    return seconds;
}

} // namespace tov::app
