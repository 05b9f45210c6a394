#include "app/cli/parts/partrun.h"

#include "app/cli/parts/partfolder.h"
#include "app/cli/parts/partjoin.h"
#include "app/cli/parts/partlock.h"
#include "app/cli/parts/partplan.h"
#include "app/cli/parts/partstatus.h"
#include "app/cli/session.h"
#include "app/common/videoformats.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryrange.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QSysInfo>

#include <map>
#include <vector>

namespace tov::app {

namespace {

constexpr double MsPerSecond = 1000;
/// Shorter parts need more bits per second than --bitrate allows: each starts with a frame that is stored in full, and
/// the encoder needs a while to find the rate.
constexpr int ShortestSeconds = 10;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

/// The parts of one recording.
class PartRun
{
public:
    PartRun(Session& session, const SharedRecording& recording)
        : m_Session(session), m_Reporter(session.getReporter()), m_Recording(recording),
          m_Folder(recording.output, recording.ending, recording.key, recording.request.count)
    {}

    bool makePart(int part);
    bool makeAll();
    void printStatus();
    /// False (reported) when the recording has fewer frames than parts.
    bool checkCount();

private:
    enum class Result
    {
        Done,
        Busy,   ///< another process is recording it
        Failed, ///< reported, or interrupted
    };

    Result finishPart(int part);
    bool record(int part, const QString& name);
    bool isUnchanged(const QString& name);
    bool recordMissing();
    void warnOfShortParts();
    void warnOfOtherRenderers();
    bool join();
    bool deliver(SafeOutput& output);
    void reportPart(int part, const PartRecord& partRecord, bool isNew);
    /// How messages name a part.
    QString nameOf(int part) const
    {
        return tr("part %1 of %2 of '%3'")
            .arg(QString::number(part), QString::number(m_Recording.request.count), m_Recording.output);
    }

    Session& m_Session;
    Reporter& m_Reporter;
    const SharedRecording& m_Recording;
    const tov::trajectory::TrajectoryRange m_Range;
    const PartFolder m_Folder;
    std::map<int, PartRecord> m_Records; ///< of the parts that are done
    QElapsedTimer m_Clock;
};

bool PartRun::checkCount()
{
    const int parts = m_Recording.request.count;
    if (qint64(m_Range.getCount()) >= parts)
        return true;
    return m_Reporter.fail(tr("'%1' has %2 frames, so it cannot be made in %3 parts")
                               .arg(m_Recording.output, QString::number(m_Range.getCount()), QString::number(parts)));
}

void PartRun::warnOfShortParts()
{
    const int parts = m_Recording.request.count;
    const double seconds = double(m_Range.getCount()) / m_Recording.fps / parts;
    if (parts > 1 && seconds < ShortestSeconds && hasVideoBitrate(m_Recording.ending))
        m_Reporter.warning(
            tr("parts of %1 s are short: below %2 s per part, %3 videos exceed the bit rate")
                .arg(QString::number(seconds, 'g', 3), QString::number(ShortestSeconds), m_Recording.ending));
}

void PartRun::reportPart(int part, const PartRecord& partRecord, bool isNew)
{
    if (m_Reporter.isJson())
        m_Reporter.print({{QStringLiteral("event"), QStringLiteral("part")},
                          {QStringLiteral("output"), m_Recording.output},
                          {QStringLiteral("part"), part},
                          {QStringLiteral("parts"), m_Recording.request.count},
                          {QStringLiteral("file"), m_Folder.videoName(part)},
                          {QStringLiteral("frames"), partRecord.frames},
                          {QStringLiteral("elapsed"), partRecord.elapsed},
                          {QStringLiteral("isNew"), isNew}});
    else
        m_Reporter.note(isNew ? tr("%1: %2 frames").arg(nameOf(part), QString::number(partRecord.frames))
                              : tr("%1 is already done").arg(nameOf(part)));
}

/// True when no file that the recording reads was changed since its key was computed; otherwise the frames may belong
/// to another recording.
bool PartRun::isUnchanged(const QString& name)
{
    QString error;
    if (m_Recording.findKey(&error) == m_Recording.key)
        return true;
    return m_Reporter.fail(
        error.isEmpty() ? tr("cannot make %1: a file that it uses was changed during the recording").arg(name) : error);
}

/// Records a part whose lock this process holds.
bool PartRun::record(int part, const QString& name)
{
    QString error;
    SafeOutput output(m_Folder.videoName(part), m_Recording.ending);
    if (!output.prepare(&error))
        return m_Reporter.fail(error);
    const PartRange range = rangeOfPart(part, m_Recording.request.count, qint64(m_Range.getCount()));
    m_Range.select(static_cast<unsigned long>(range.first), static_cast<unsigned long>(range.count));
    m_Reporter.started(output.getFileName());
    QElapsedTimer clock;
    clock.start();
    const RunOutcome outcome = m_Recording.record(output.getTemporaryName());
    if (m_Session.wasInterrupted() || !outcome.isDone()) {
        output.discard();
        if (!m_Session.wasInterrupted())
            m_Reporter.fail(tr("cannot make %1: %2").arg(name, outcome.reason));
        return false;
    }
    if (!isUnchanged(name)) {
        output.discard();
        return false;
    }
    PartRecord partRecord;
    partRecord.frames = range.count;
    partRecord.elapsed = double(clock.elapsed()) / MsPerSecond;
    partRecord.renderer = tov::scene::Viewer::getInstance()->getRenderer();
    partRecord.host = QSysInfo::machineHostName();
    if (!output.commit(&error) || !m_Folder.writeRecord(part, partRecord, &error)) {
        output.discard();
        return m_Reporter.fail(error);
    }
    m_Records[part] = partRecord;
    reportPart(part, partRecord, true);
    return true;
}

/// Makes sure that a part is done; records it if necessary.
PartRun::Result PartRun::finishPart(int part)
{
    const auto isDone = [&] {
        if (const auto known = m_Folder.verify(part)) {
            m_Records[part] = *known;
            reportPart(part, *known, false);
            return true;
        }
        return false;
    };
    if (isDone())
        return Result::Done;
    QString error;
    if (!m_Folder.create(&error)) {
        m_Reporter.fail(error);
        return Result::Failed;
    }
    PartLock lock;
    switch (lock.acquire(m_Folder.lockName(part), &error)) {
    case PartLock::Result::Busy:
        if (m_Recording.request.part > 0)
            m_Reporter.fail(tr("cannot make %1: %2").arg(nameOf(part), error));
        return Result::Busy;
    case PartLock::Result::Failed:
        m_Reporter.fail(error);
        return Result::Failed;
    case PartLock::Result::Acquired:
        break;
    }
    // Another process may have finished it just before.
    if (isDone())
        return Result::Done;
    if (m_Folder.hasVideo(part))
        m_Reporter.note(tr("Note: %1 is incomplete or was changed, so it is recorded again").arg(nameOf(part)));
    return record(part, nameOf(part)) ? Result::Done : Result::Failed;
}

bool PartRun::makePart(int part)
{
    warnOfShortParts();
    return finishPart(part) == Result::Done;
}

bool PartRun::recordMissing()
{
    const int parts = m_Recording.request.count;
    std::vector<int> busy;
    for (int part = 1; part <= parts; ++part) {
        const Result result = finishPart(part);
        if (result == Result::Busy)
            busy.push_back(part);
        if (result == Result::Failed) {
            if (m_Session.wasInterrupted())
                m_Reporter.note(tr("Interrupted; %1 of %2 parts are done. Run the same command again to continue.")
                                    .arg(QString::number(m_Records.size()), QString::number(parts)));
            return false;
        }
    }
    for (const int part : busy) {
        const auto known = m_Folder.verify(part);
        if (!known)
            return m_Reporter.fail(
                tr("another process is still at work on %1; run the same command again later").arg(nameOf(part)));
        m_Records[part] = *known;
    }
    return true;
}

void PartRun::warnOfOtherRenderers()
{
    std::map<QString, QStringList> partsOf;
    for (const auto& [part, partRecord] : m_Records)
        partsOf[partRecord.renderer] << QString::number(part);
    if (partsOf.size() < 2)
        return;
    QStringList texts;
    for (const auto& [renderer, parts] : partsOf)
        texts << tr("%1: parts %2").arg(renderer, parts.join(QLatin1Char(' ')));
    m_Reporter.warning(tr("the parts of '%1' were drawn by different renderers, so that seams may be visible (%2)")
                           .arg(m_Recording.output, texts.join(QStringLiteral("; "))));
}

bool PartRun::deliver(SafeOutput& output)
{
    QString error;
    QStringList videos;
    std::vector<qint64> counts;
    RunOutcome outcome;
    outcome.frames = 0;
    for (const auto& [part, partRecord] : m_Records) {
        videos << m_Folder.videoName(part);
        counts.push_back(partRecord.frames);
        outcome.frames += partRecord.frames;
    }
    if (!joinParts(m_Session, videos, counts, output.getTemporaryName(), &error)) {
        output.discard();
        return !m_Session.wasInterrupted() && m_Reporter.fail(error);
    }
    outcome.seconds = playingTime(output.getTemporaryName());
    if (!output.commit(&error))
        return m_Reporter.fail(error);
    outcome.status = RunOutcome::Status::Done;
    outcome.files = QStringList(m_Recording.output);
    outcome.size = m_Recording.size;
    outcome.bytes = QFileInfo(m_Recording.output).size();
    outcome.elapsed = double(m_Clock.elapsed()) / MsPerSecond;
    m_Reporter.result(outcome);
    return true;
}

bool PartRun::join()
{
    QString error;
    PartLock lock;
    SafeOutput output(m_Recording.output, m_Recording.ending, m_Recording.older);
    if (lock.acquire(m_Folder.joinLockName(), &error) != PartLock::Result::Acquired)
        return m_Reporter.fail(tr("cannot make '%1': %2").arg(m_Recording.output, error));
    if (!output.prepare(&error))
        return m_Reporter.fail(error);
    if (!deliver(output))
        return false;
    // Removed under the lock, before another process can join them.
    if (!m_Recording.request.keepsParts)
        m_Folder.removeParts();
    return true;
}

bool PartRun::makeAll()
{
    m_Clock.start();
    warnOfShortParts();
    if (!recordMissing())
        return false;
    warnOfOtherRenderers();
    if (!join())
        return false;
    m_Folder.removeIfEmpty();
    if (m_Folder.hasOthers())
        m_Reporter.note(
            tr("Note: '%1' still holds parts of another recording; its model or settings differ").arg(m_Folder.path()));
    return true;
}

void PartRun::printStatus()
{
    printPartStatus(m_Reporter, m_Recording.output, m_Folder, m_Recording.request.count, qint64(m_Range.getCount()));
}

} // namespace

bool makeParts(Session& session, const SharedRecording& recording)
{
    PartRun run(session, recording);
    if (!run.checkCount())
        return false;
    if (recording.request.part > 0)
        return run.makePart(recording.request.part);
    if (!recording.request.showsStatus)
        return run.makeAll();
    run.printStatus();
    return true;
}

} // namespace tov::app
