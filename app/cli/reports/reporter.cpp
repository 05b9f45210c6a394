#include "app/cli/reports/reporter.h"

#include "kernel/log/terminalsink.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

namespace tov::app {

namespace {

/// Longest message, in characters.
constexpr int LongestLine = 1000;
/// Minimum interval between two progress objects.
constexpr int ProgressMs = 500;
constexpr qint64 BytesPerKb = 1000;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

/// A message may name files whose names are megabytes long.
QString shortened(const QString& message)
{
    const QString line = tov::log::escaped(message);
    return line.size() <= LongestLine
               ? line
               : line.left(LongestLine / 2) + QStringLiteral(" ... ") + line.right(LongestLine / 4);
}

} // namespace

void printError(const QString& message)
{
    std::fprintf(stderr, "tov: %s\n", shortened(message).toLocal8Bit().constData());
}

Reporter::Reporter(const Options& options)
    : m_IsQuiet(options.has(QStringLiteral("quiet"))), m_IsJson(options.has(QStringLiteral("json"))),
      m_IsStrict(options.has(QStringLiteral("strict"))), m_HasProgress(!options.has(QStringLiteral("status"))),
      m_Line(m_IsQuiet || m_IsJson || !m_HasProgress || options.has(QStringLiteral("verbose")))
{}

void Reporter::print(const QJsonObject& object)
{
    std::fprintf(stdout, "%s\n", QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

void Reporter::started(const QString& output)
{
    if (m_IsJson)
        print({{QStringLiteral("event"), QStringLiteral("started")}, {QStringLiteral("output"), output}});
}

void Reporter::note(const QString& message)
{
    if (m_IsQuiet || m_IsJson)
        return;
    m_Line.clear();
    std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
}

void Reporter::warning(const QString& message)
{
    if (m_IsStrict) {
        fail(message);
        return;
    }
    if (m_IsJson)
        print({{QStringLiteral("event"), QStringLiteral("warning")}, {QStringLiteral("text"), shortened(message)}});
    else
        note(tr("Warning: %1").arg(shortened(message)));
}

bool Reporter::fail(const QString& message)
{
    m_Line.clear();
    ++m_Failures;
    if (m_IsJson)
        print({{QStringLiteral("event"), QStringLiteral("error")},
               {QStringLiteral("code"), 1},
               {QStringLiteral("text"), shortened(message)}});
    printError(message);
    return false;
}

void Reporter::result(const RunOutcome& outcome)
{
    if (m_IsJson) {
        QJsonObject object{{QStringLiteral("event"), QStringLiteral("result")},
                           {QStringLiteral("files"), QJsonArray::fromStringList(outcome.files)},
                           {QStringLiteral("bytes"), outcome.bytes},
                           {QStringLiteral("elapsed"), outcome.elapsed}};
        if (outcome.size.isValid())
            object[QStringLiteral("size")] = QJsonArray{outcome.size.width(), outcome.size.height()};
        if (outcome.frames >= 0)
            object[QStringLiteral("frames")] = outcome.frames;
        if (outcome.seconds > 0)
            object[QStringLiteral("seconds")] = outcome.seconds;
        print(object);
        return;
    }
    QStringList facts;
    if (outcome.size.isValid())
        facts +=
            tr("%1 x %2 pixels").arg(QString::number(outcome.size.width()), QString::number(outcome.size.height()));
    if (outcome.bytes > 0)
        facts += tr("%1 kB").arg((outcome.bytes + BytesPerKb - 1) / BytesPerKb);
    if (outcome.frames >= 0)
        facts += tr("%1 frames").arg(outcome.frames);
    const QString separator = QStringLiteral(", "), files = outcome.files.join(separator);
    note(facts.isEmpty() ? files : files + QStringLiteral(": ") + facts.join(separator));
}

void Reporter::progress(const QString& text, int percent, qint64 count)
{
    if (!m_IsJson) {
        m_Line.show(text, percent, count);
        return;
    }
    if (!m_HasProgress)
        return;
    m_Estimate.update(text, percent);
    if (m_SinceProgress.isValid() && m_SinceProgress.elapsed() < ProgressMs)
        return;
    m_SinceProgress.start();
    QJsonObject object{{QStringLiteral("event"), QStringLiteral("progress")}, {QStringLiteral("percent"), percent}};
    if (count > 0 && percent >= 0)
        object[QStringLiteral("frame")] = count * percent / 100;
    if (m_Estimate.isKnown()) {
        if (count > 0)
            object[QStringLiteral("rate")] = m_Estimate.rate(count);
        object[QStringLiteral("left")] = m_Estimate.secondsLeft();
    }
    print(object);
}

} // namespace tov::app
