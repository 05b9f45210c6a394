// One kind of job many times: its resources must not grow.

#include "benchmarks/soak/parts.h"

#include "benchmarks/soak/support.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <vector>

#include <malloc.h>

namespace tov::soak {

using tov::gui::ScenePanel;
using tov::main::CommandRunPointer;
using tov::scene::Viewer;

namespace {

/// The growth per round, as the slope of the least-squares line.
double slope(const std::vector<double>& values)
{
    const double n = double(values.size());
    double sumX = 0, sumY = 0, sumXY = 0, sumXX = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        sumX += double(i);
        sumY += values[i];
        sumXY += double(i) * values[i];
        sumXX += double(i) * double(i);
    }
    return (n * sumXY - sumX * sumY) / (n * sumXX - sumX * sumX);
}

/// True when no thread of a command or recording is left. The system lists a thread for a moment after it has ended.
bool haveThreadsEnded()
{
    for (const QString& task : entryNames(QStringLiteral("/proc/self/task"))) {
        QFile file(QStringLiteral("/proc/self/task/%1/comm").arg(task));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray name = file.readAll().trimmed();
        if (name == "Command" || name == "Grabber" || name == "SyncedGrabber" || name == "QThread")
            return false;
    }
    return true;
}

/// What must not grow from round to round.
struct Handles
{
    int threads = 0, descriptors = 0, files = 0;

    static Handles count(const QString& temporary)
    {
        return {entryNames(QStringLiteral("/proc/self/task")).size(),
                entryNames(QStringLiteral("/proc/self/fd")).size(), entryNames(temporary).size()};
    }
};

/// Repeats one kind of job and checks its results and resources.
struct Rounds
{
    static constexpr int WarmUp = 20, Count = 200, Frames = 20;

    QString kind, file;
    bool video = false;
    std::vector<double> memory{}, allocated{};
    int good = 0;
    Handles before{};

    void run(const QString& temporary)
    {
        for (int i = 0; i < WarmUp + Count; ++i) {
            if (!runOnce())
                return;
            if (i >= WarmUp) {
                good += isResultRight(i) ? 1 : 0;
                // Memory that the allocator merely keeps for later does not count as growth.
                malloc_trim(0);
                memory.push_back(double(residentBytes()));
                allocated.push_back(double(mallinfo2().uordblks));
            }
            if (i == WarmUp - 1)
                before = Handles::count(temporary);
        }
    }

    bool runOnce() const
    {
        QFile::remove(file);
        selectWalk(Frames);
        const CommandRunPointer run = video ? startVideo(file, 160, 120, true)
                                            : start(QStringLiteral("grabimage filename=\"%1\" width=600").arg(file));
        if (!run)
            return false;
        processUntil([&] { return run->isFinished(); }, 60000);
        processUntil(haveThreadsEnded, 20000);
        return true;
    }

    bool isResultRight(int round) const
    {
        if (!video)
            return QImageReader(file).size() == QSize(600, 450);
        // ffprobe takes longer than a round, so it reads one file of ten.
        if (round % 10 == 0 || file.endsWith(QLatin1String(".raw")))
            return framesIn(file, 160, 120) == Frames;
        return QFileInfo(file).size() > 0;
    }

    void check(const QString& temporary) const
    {
        expect(good == Count,
               QStringLiteral("%1 of %2 %3 are right").arg(QString::number(good), QString::number(Count), kind));
        if (memory.size() < 2)
            return;
        expect(slope(memory) <= 8192,
               QStringLiteral("%1: resident memory grows by %2 KiB per round (limit 8), allocated memory by %3 KiB")
                   .arg(kind, QString::number(slope(memory) / 1024, 'f', 2),
                        QString::number(slope(allocated) / 1024, 'f', 2)));
        processUntil(
            [&] {
                const Handles now = Handles::count(temporary);
                return now.threads <= before.threads && now.descriptors <= before.descriptors;
            },
            20000);
        const Handles after = Handles::count(temporary);
        expectNoGrowth("descriptors", before.descriptors, after.descriptors);
        expectNoGrowth("threads", before.threads, after.threads);
        expectNoGrowth("temporary files", before.files, after.files);
    }

    void expectNoGrowth(const char* what, int earlier, int later) const
    {
        expect(later <= earlier, QStringLiteral("%1: %2 %3 before, %4 after (limit +0)")
                                     .arg(kind, QLatin1String(what), QString::number(earlier), QString::number(later)));
    }
};

} // namespace

void repeatJobs(const QString& folder, const QString& temporary)
{
    setChunks(1, false);
    ScenePanel* panel = newPanel(160, 120);
    Rounds kinds[] = {{QStringLiteral("recordings"), folder + QStringLiteral("/r.raw"), true},
                      {QStringLiteral("recordings as mp4"), folder + QStringLiteral("/r.mp4"), true},
                      {QStringLiteral("pictures"), folder + QStringLiteral("/r.png"), false}};
    for (Rounds& each : kinds) {
        each.run(temporary);
        each.check(temporary);
    }
    Viewer::getInstance()->closePanel(panel);
}

} // namespace tov::soak
