#include "app/cli/videoverb.h"

#include "app/cli/session.h"
#include "app/cli/verbs.h"
#include "app/common/filesnapshot.h"
#include "app/common/spacewatch.h"
#include "kernel/gui/fileparameterpanelfactory.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/settings.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStorageInfo>
#include <QTimer>

#include <memory>

namespace tov::app {

using tov::main::CommandArguments;
using tov::main::Overseer;
using tov::trajectory::TrajectoryHandler;

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

/// Players take shorter delays between two pictures for something else.
constexpr int GifHighestFps = 50;

/// Why no encoder is known for the file, with what is known.
QString unknownFormat(const QString& output, const std::vector<std::pair<QString, QString>>& formats)
{
    const QString suffix = QFileInfo(output).completeSuffix().toLower();
    QStringList known;
    for (const auto& [name, description] : formats)
        known << QLatin1Char('.') + name;
    if (formats.empty())
        return tr("no video encoder is loaded, so no video can be written; tov modules tells more");
    const QString last = QFileInfo(output).suffix().toLower();
    for (const auto& [name, description] : formats)
        if (last == name && suffix != name)
            return tr("%1: everything after the first dot is the format, and there is none named \"%2\"; leave out the "
                      "other dots, e.g. %3")
                .arg(output, suffix,
                     QFileInfo(output).completeBaseName().replace(QLatin1Char('.'), QLatin1Char('_')) +
                         QLatin1Char('.') + last);
    return suffix.isEmpty()
               ? tr("%1 has no ending that says the format; known are %2").arg(output, known.join(QLatin1Char(' ')))
               : tr("no video format \"%1\" is known; known are %2").arg(suffix, known.join(QLatin1Char(' ')));
}

} // namespace

std::vector<std::pair<QString, QString>> knownVideoFormats()
{
    std::vector<std::pair<QString, QString>> formats;
    auto* command = Overseer::getInstance()->getCommandProcessor()->getPrimaryCommand(QStringLiteral("grabvideo"));
    auto* set = command ? command->getCurrentParameterSet() : nullptr;
    auto* parameter = set ? set->find(QStringLiteral("filename")) : nullptr;
    auto* factory = parameter
                        ? dynamic_cast<tov::main::FileParameterPanelFactory*>(parameter->getParameterPanelFactory())
                        : nullptr;
    if (!factory)
        return formats;
    const std::unique_ptr<QFileDialog> dialog(factory->createDialog());
    static const QRegularExpression form(QStringLiteral("^(.*) \\(\\*\\.([^()]*)\\)$"));
    for (const QString& filter : dialog->nameFilters()) {
        const auto match = form.match(filter);
        if (match.hasMatch())
            formats.emplace_back(match.captured(2), match.captured(1));
    }
    return formats;
}

int runVideo(const Options& options, int& argc, char** argv)
{
    const auto usage = [](const QString& message) {
        printError(message + tr(" (see tov video --help)"));
        return 2;
    };
    if (options.files.isEmpty())
        return usage(tr("video needs a model"));
    const QString output = options.value(QStringLiteral("output"));
    if (output.isEmpty())
        return usage(tr("video needs an output file: -o OUT"));
    ViewOptions view;
    QString error;
    if (!readViewOptions(options, view, &error))
        return usage(error);
    QSize size = view.panel;
    if (options.has(QStringLiteral("size"))) {
        if (!readSize(options.value(QStringLiteral("size")), size))
            return usage(
                tr("--size: \"%1\" is no size; write it like 1280x720").arg(options.value(QStringLiteral("size"))));
        // The view has the video's shape, unless it was given its own.
        if (!options.has(QStringLiteral("panel")))
            view.panel = size;
    }
    const bool turntable = options.has(QStringLiteral("turntable"));
    const bool trajectory = options.has(QStringLiteral("trajectory"));
    const bool free = options.has(QStringLiteral("duration"));
    if (int(turntable) + int(trajectory) + int(free) != 1)
        return usage(tr("video needs one of --turntable, --trajectory and --duration"));
    double seconds = 0;
    if (free) {
        bool ok = false;
        seconds = options.value(QStringLiteral("duration")).toDouble(&ok);
        if (!ok || !(seconds > 0) || seconds > 1e6)
            return usage(
                tr("--duration: \"%1\" is no number of seconds").arg(options.value(QStringLiteral("duration"))));
    }
    int numbers[2] = {0, 0};
    const char* const names[2] = {"fps", "bitrate"};
    for (int i = 0; i < 2; ++i) {
        const QString name = QLatin1String(names[i]);
        bool ok = true;
        if (options.has(name))
            numbers[i] = options.value(name).toInt(&ok);
        if (!ok || (options.has(name) && numbers[i] < 1))
            return usage(tr("--%1: \"%2\" is no number from 1 on").arg(name, options.value(name)));
    }

    Session session(options, argc, argv);
    // The rates of one call must not become the user's settings: the rest of this process keeps its own.
    tov::main::useTemporarySettings();

    const auto formats = knownVideoFormats();
    const QString suffix = QFileInfo(output).completeSuffix().toLower();
    bool known = false;
    for (const auto& [name, description] : formats)
        known = known || name == suffix;
    if (!known) {
        session.fail(unknownFormat(output, formats));
        return 1;
    }
    if (!checkOutputFolder(output, &error) || !SpaceWatch::hasRoom(output, &error)) {
        session.fail(error);
        return 1;
    }
    const QSize even((size.width() + 1) & ~1, (size.height() + 1) & ~1);
    const int limit = tov::scene::Viewer::getInstance()->getMaxTextureSize();
    if (size.width() < 16 || size.height() < 16) {
        session.fail(tr("a video is at least 16 x 16 pixels"));
        return 1;
    }
    if (limit > 0 && (even.width() > limit || even.height() > limit)) {
        session.fail(tr("%1 x %2 pixels are more than can be drawn here (%3 each way)")
                         .arg(even.width())
                         .arg(even.height())
                         .arg(limit));
        return 1;
    }
    if (!session.open(options.files, view, turntable) || !session.openTrajectory())
        return session.wasInterrupted() ? 130 : 1;

    auto& settings = tovSettings();
    const auto setting = [&settings](const char* key, const char* initial) {
        return settings.value(QLatin1String(key), QLatin1String(initial)).toString();
    };
    const QString fps = numbers[0] > 0 ? QString::number(numbers[0]) : setting("settings/grabvideofps", "25");
    const QString kbps = numbers[1] > 0 ? QString::number(numbers[1]) : setting("settings/grabvideokbps", "1200");
    CommandArguments rates;
    // MB that are captured before they are encoded: about three frames, so that the encoder soon has something to do.
    const qint64 threeFrames = qint64(3) * even.width() * even.height() * 4 / 1000000;
    const QByteArray few = QByteArray::number(std::clamp<qint64>(threeFrames, 8, 50));
    rates.positional = QStringList{setting("settings/grabvideotempfilesize", few.constData()), fps, kbps,
                                   setting("settings/grabvideousememoryasbuffer", "1")};
    if (!session.run(QStringLiteral("setvideosettings"), rates))
        return session.wasInterrupted() ? 130 : 1;

    const qint64 positions = free ? 0 : qint64(TrajectoryHandler::getInstance()->getCount());
    // Frames that the encoder has not got round to wait in the temporary folder, as they are.
    const qint64 expected = free ? qint64(seconds * 25) : positions;
    const qint64 raw = expected * even.width() * even.height() * 4;
    const qint64 room = QStorageInfo(QDir::tempPath()).bytesAvailable();
    if (room >= 0 && raw > room)
        session.tell(tr("Note: %1 frames take %2 MB before they are encoded, %3 has %4 MB free; if encoding falls far "
                        "behind, the recording may lose frames.")
                         .arg(expected)
                         .arg(raw / 1000000)
                         .arg(QDir::tempPath())
                         .arg(room / 1000000));

    session.guardOutput(output);
    CommandArguments arguments;
    arguments.named = {{QStringLiteral("filename"), output},
                       {QStringLiteral("width"), QString::number(size.width())},
                       {QStringLiteral("height"), QString::number(size.height())},
                       {QStringLiteral("sync"), free ? QStringLiteral("0") : QStringLiteral("1")}};
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    session.run(QStringLiteral("grabvideo"), arguments, [&](const tov::main::CommandRunPointer& run) {
        if (!free)
            return;
        QObject::connect(&timer, &QTimer::timeout, &timer, [run] { run->stop(); });
        timer.start(int(std::min(seconds * 1000, 2e9)));
    });
    timer.stop();
    const QFileInfo info(output);
    if (!session.isTold()) {
        if (!session.isOutputTouched() || info.size() == 0) {
            session.fail(tr("%1 was not written").arg(output));
        } else {
            const VideoProbe probe = session.readBack(output);
            const bool thinned = suffix == QLatin1String("gif") && fps.toInt() > GifHighestFps && probe.frames > 0 &&
                                 probe.frames <= positions;
            if (probe.asked && !probe.readable)
                session.fail(tr("%1 cannot be read back").arg(output));
            else if (probe.asked && !free && !session.wasInterrupted() && probe.frames != positions && !thinned)
                session.fail(tr("%1 holds %2 frames instead of %3").arg(output).arg(probe.frames).arg(positions));
            else {
                QString text = tr("%1: %2 x %3 pixels, %4 kB")
                                   .arg(output)
                                   .arg(even.width())
                                   .arg(even.height())
                                   .arg((info.size() + 999) / 1000);
                if (probe.asked)
                    text += tr(", %1 frames").arg(probe.frames);
                session.tell(text);
                if (thinned && !free)
                    session.tell(
                        tr("Note: a gif plays at most %1 frames a second; frames were left out, so that it runs at "
                           "its own speed.")
                            .arg(GifHighestFps));
                const double rate = free && probe.asked ? double(probe.frames) / seconds : 0;
                if (free && probe.asked && !session.wasInterrupted() &&
                    qAbs(rate - fps.toDouble()) > 0.05 * fps.toDouble())
                    session.tell(
                        tr("Note: %1 frames a second were recorded, the video plays %2; it runs %3 times as fast "
                           "as life.")
                            .arg(rate, 0, 'f', 1)
                            .arg(fps)
                            .arg(fps.toDouble() / qMax(rate, 0.01), 0, 'f', 2));
            }
        }
    }
    if (session.wasInterrupted())
        return 130;
    if (session.isTold()) {
        // A file that failed half-way stays only where it can be played.
        const VideoProbe probe = session.readBack(output);
        if (info.size() == 0 || (probe.asked && (!probe.readable || probe.frames == 0)))
            session.dropOutput();
        return 1;
    }
    return 0;
}

} // namespace tov::app
