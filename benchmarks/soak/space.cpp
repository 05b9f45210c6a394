// Recordings that fill their disks.

#include "benchmarks/soak/parts.h"

#include "app/common/runrecords.h"
#include "app/common/spacewatch.h"
#include "benchmarks/soak/support.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace tov::soak {

using tov::gui::ScenePanel;
using tov::main::CommandRunPointer;
using tov::scene::Viewer;
using tov::trajectory::TrajectoryHandler;

void fillDisks(const QString& folder, const QString& temporary)
{
    const int width = 640, height = 480, positions = 100000;
    const qint64 frameBytes = qint64(width) * height * 4, limit = 50 * qint64(Mb);
    qputenv("TOV_SOAK_FRAME_MS", "20");
    setChunks(10, false);
    tov::app::SpaceWatch watch;
    int warnings = 0;
    QObject::connect(&watch, &tov::app::SpaceWatch::lowSpace, [&warnings](const QString&) { ++warnings; });
    tov::app::FailureLog errors(tov::app::FailureLog::Console::Ignore);
    ScenePanel* panel = newPanel(width, height);
    const struct
    {
        QString what, file;
        qint64 kept;
    } rows[] = {
        {QStringLiteral("temporary folder fills up"), folder + QStringLiteral("/space.slow"), KeptBytes},
        {QStringLiteral("the disk of the output fills up too"), temporary + QStringLiteral("/space.raw"), frameBytes}};
    for (const auto& row : rows) {
        warnings = 0;
        errors.clear();
        selectWalk(positions);
        const qint64 before = QStorageInfo(temporary).bytesAvailable();
        qint64 least = before, atStop = 0;
        const CommandRunPointer run = startVideo(row.file, width, height, true);
        const bool ended = processUntil(
            [&] {
                const qint64 room = QStorageInfo(temporary).bytesAvailable();
                least = std::min(least, room);
                if (warnings == 0)
                    atStop = room;
                return run->isFinished();
            },
            120000);
        const qint64 frames = qint64(TrajectoryHandler::getInstance()->getPosition()) + 1;
        expect(ended && warnings == 1 && frames < positions,
               QStringLiteral("%1 (%2 MB): stopped, %3 warnings (expected 1)")
                   .arg(row.what)
                   .arg(double(before) / Mb, 0, 'f', 0)
                   .arg(warnings));
        expect(atStop < 2 * limit && least > 0,
               QStringLiteral("%1: %2 MB free when stopped (limit 100), lowest %3 MB (more than 0)")
                   .arg(row.what)
                   .arg(double(atStop) / Mb, 0, 'f', 0)
                   .arg(double(least) / Mb, 0, 'f', 0));
        expect(frames > 50 && QFileInfo(row.file).size() == frames * row.kept,
               QStringLiteral("%1: frames in %2, frames out %3")
                   .arg(row.what)
                   .arg(frames)
                   .arg(double(QFileInfo(row.file).size()) / double(row.kept)));
        expect(errors.messages().isEmpty(), QStringLiteral("%1: %2 error messages (limit 0) %3")
                                                .arg(row.what)
                                                .arg(errors.messages().size())
                                                .arg(errors.messages().value(0)));
        QFile::remove(row.file);
    }
    expectNoTemporaryFiles(temporary);
    Viewer::getInstance()->closePanel(panel);
}

bool mountSmallDisk(const QString& folder)
{
    const auto write = [](const char* name, const std::string& text) {
        QFile file(QString::fromLatin1(name));
        return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
               file.write(text.data(), qint64(text.size())) == qint64(text.size());
    };
    const auto user = std::to_string(geteuid()), group = std::to_string(getegid());
    // A user name space allows mounting without privileges.
    const bool apart = unshare(CLONE_NEWNS) == 0 ||
                       (unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && write("/proc/self/setgroups", "deny") &&
                        write("/proc/self/uid_map", user + " " + user + " 1") &&
                        write("/proc/self/gid_map", group + " " + group + " 1"));
    const QByteArray options = "size=" + QByteArray::number(SmallDiskMb) + "m";
    if (apart && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
        mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", 0, options.constData()) == 0)
        return true;
    std::fprintf(stderr, "soak: cannot mount a small disk: %s\n", std::strerror(errno));
    return false;
}

} // namespace tov::soak
