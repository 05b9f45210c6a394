#include "app/cli/parts/partstatus.h"

#include "app/cli/parts/partlock.h"
#include "app/cli/parts/partplan.h"
#include "app/cli/reports/reporter.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tov::app {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

struct PartState
{
    std::optional<PartRecord> record;       ///< of a part that is done
    std::optional<PartLock::Holder> holder; ///< of a part that is being recorded
    double runningFor = 0;                  ///< seconds
    qint64 frames = 0;
};

struct Summary
{
    int done = 0, running = 0, missing = 0;
    double secondsLeft = -1; ///< -1 = unknown
};

std::vector<PartState> readStates(const PartFolder& folder, int parts, qint64 positions)
{
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    std::vector<PartState> states;
    for (int part = 1; part <= parts; ++part) {
        PartState state;
        state.frames = rangeOfPart(part, parts, positions).count;
        state.record = folder.findRecord(part);
        if (!state.record)
            state.holder = PartLock::findHolder(folder.lockName(part));
        if (state.holder)
            state.runningFor = double(std::max<qint64>(0, now - state.holder->since));
        states.push_back(state);
    }
    return states;
}

Summary summarize(const std::vector<PartState>& states)
{
    Summary summary;
    double elapsed = 0, longest = 0;
    qint64 recorded = 0, missing = 0;
    for (const PartState& state : states)
        if (state.record) {
            ++summary.done;
            elapsed += state.record->elapsed;
            recorded += state.record->frames;
        }
    const double perFrame = recorded > 0 ? elapsed / double(recorded) : 0;
    for (const PartState& state : states) {
        if (state.record)
            continue;
        summary.running += state.holder ? 1 : 0;
        summary.missing += state.holder ? 0 : 1;
        if (state.holder)
            longest = std::max(longest, perFrame * double(state.frames) - state.runningFor);
        else
            missing += state.frames;
    }
    if (recorded > 0)
        summary.secondsLeft = estimateSecondsLeft(perFrame, missing, summary.running, longest);
    return summary;
}

QString durationText(double seconds)
{
    constexpr int PerMinute = 60, PerHour = 3600;
    const qint64 whole = qint64(std::ceil(seconds));
    if (whole < 2 * PerMinute)
        return tr("%1 s").arg(whole);
    return whole < 2 * PerHour ? tr("%1 min").arg((whole + PerMinute / 2) / PerMinute)
                               : tr("%1 h").arg(double(whole) / PerHour, 0, 'f', 1);
}

void printLines(const QString& output, const std::vector<PartState>& states, const Summary& summary)
{
    const auto print = [](const QString& line) { std::fprintf(stdout, "%s\n", line.toLocal8Bit().constData()); };
    QString head = tr("%1: %2 of %3 parts are done, %4 running, %5 missing")
                       .arg(output, QString::number(summary.done), QString::number(states.size()),
                            QString::number(summary.running), QString::number(summary.missing));
    if (summary.secondsLeft > 0)
        head += tr("; about %1 left").arg(durationText(summary.secondsLeft));
    print(head);
    if (summary.done == 0 && QFileInfo::exists(output))
        print(tr("'%1' exists already").arg(output));
    int part = 0;
    for (const PartState& state : states) {
        ++part;
        QString text = tr("missing");
        if (state.record)
            text = tr("done     %1 frames in %2 on %3")
                       .arg(QString::number(state.record->frames), durationText(state.record->elapsed),
                            state.record->host);
        else if (state.holder)
            text = tr("running  for %1 on %2, process %3")
                       .arg(durationText(state.runningFor), state.holder->host, QString::number(state.holder->process));
        print(QStringLiteral("%1  %2").arg(QString::number(part).rightJustified(5), text));
    }
}

QJsonObject objectOf(const QString& output, const QString& key, const std::vector<PartState>& states,
                     const Summary& summary)
{
    QJsonArray parts;
    int part = 0;
    for (const PartState& state : states) {
        QJsonObject object{{QStringLiteral("part"), ++part},
                           {QStringLiteral("frames"), state.frames},
                           {QStringLiteral("state"), state.record   ? QStringLiteral("done")
                                                     : state.holder ? QStringLiteral("running")
                                                                    : QStringLiteral("missing")}};
        if (state.record || state.holder) {
            object[QStringLiteral("host")] = state.record ? state.record->host : state.holder->host;
            object[QStringLiteral("elapsed")] = state.record ? state.record->elapsed : state.runningFor;
        }
        parts.append(object);
    }
    QJsonObject object{{QStringLiteral("event"), QStringLiteral("status")},
                       {QStringLiteral("output"), output},
                       {QStringLiteral("key"), key},
                       {QStringLiteral("done"), summary.done},
                       {QStringLiteral("running"), summary.running},
                       {QStringLiteral("missing"), summary.missing},
                       {QStringLiteral("parts"), parts}};
    if (summary.secondsLeft >= 0)
        object[QStringLiteral("secondsLeft")] = summary.secondsLeft;
    return object;
}

} // namespace

void printPartStatus(Reporter& reporter, const QString& output, const PartFolder& folder, int parts, qint64 positions)
{
    const std::vector<PartState> states = readStates(folder, parts, positions);
    const Summary summary = summarize(states);
    if (reporter.isJson())
        reporter.print(objectOf(output, folder.getKey(), states, summary));
    else
        printLines(output, states, summary);
}

} // namespace tov::app
