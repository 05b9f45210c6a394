#include "app/cli/options/motionreader.h"

#include "app/cli/options/optionreader.h"

#include <QCoreApplication>

#include <array>
#include <utility>

namespace tov::app {

namespace {

typedef MotionRequest::Kind Kind;

constexpr int MostPositions = 1000000;
constexpr double MostTurns = 1000, MostSwing = 360; ///< swing in degrees

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

void readKind(OptionReader& reader, MotionRequest& motion)
{
    const std::pair<const char*, Kind> kinds[] = {
        {"turntable", Kind::Turntable}, {"trajectory", Kind::Trajectory}, {"path", Kind::Path}, {"free", Kind::Free}};
    for (const auto& [option, kind] : kinds) {
        if (!reader.has(option))
            continue;
        if (motion.kind != Kind::None)
            reader.fail(tr("only one of --turntable, --trajectory, --path and --free can be given"));
        motion.kind = kind;
    }
    if (reader.has("animation"))
        motion.animation = reader.text("animation");
    if (motion.animation && (motion.kind == Kind::Trajectory || motion.kind == Kind::Free))
        reader.fail(tr("--animation can be combined with --turntable or --path, not with --trajectory or --free"));
    motion.file = motion.kind == Kind::Trajectory ? reader.text("trajectory") : reader.text("path");
}

void readLength(OptionReader& reader, MotionRequest& motion)
{
    double seconds = 0;
    if (reader.has("duration")) {
        reader.readSeconds("duration", seconds);
        motion.seconds = seconds;
    }
    if (motion.kind == Kind::Free) {
        reader.readSeconds("free", seconds);
        if (motion.seconds)
            reader.fail(tr("--free has its own length; leave out --duration"));
        motion.seconds = seconds;
    }
    motion.isRepeated = reader.has("repeat");
    if (motion.isRepeated && !(motion.seconds && (motion.animation || motion.kind == Kind::Trajectory)))
        reader.fail(tr("--repeat needs --duration, and --animation or --trajectory"));
    motion.takesEveryPosition = reader.has("every-position");
    if (motion.takesEveryPosition && (motion.kind != Kind::Trajectory || motion.seconds))
        reader.fail(tr("--every-position belongs to --trajectory, without --duration"));
}

void readTurntable(OptionReader& reader, MotionRequest& motion)
{
    for (const char* option : {"turns", "swing", "axis"})
        if (reader.has(option) && motion.kind != Kind::Turntable)
            reader.fail(tr("--%1 belongs to --turntable").arg(QLatin1String(option)));
    if (motion.kind == Kind::Turntable && !reader.text("turntable").isEmpty())
        reader.readInt("turntable", 1, MostPositions, motion.positions);
    if (motion.positions > 0 && motion.seconds)
        reader.fail(tr("give either the frames of --turntable or --duration"));
    reader.readNumber("turns", -MostTurns, MostTurns, motion.turns);
    if (motion.turns == 0)
        reader.fail(tr("--turns must not be 0"));
    reader.readDegrees("swing", 0, MostSwing, motion.swing);
    if (reader.has("swing") && (reader.has("turns") || reader.has("ease")))
        reader.fail(tr("--swing is smooth and has no turns; leave out --turns and --ease"));
    motion.axis = reader.text("axis");
    if (reader.has("axis") && motion.axis.contains(QLatin1Char(','))) {
        std::optional<std::array<double, 3>> axis;
        reader.readVector("axis", axis);
        if (axis && (*axis)[0] == 0 && (*axis)[1] == 0 && (*axis)[2] == 0)
            reader.fail(tr("--axis must not be 0,0,0"));
    } else {
        reader.readWord("axis", {"up", "x", "y", "z"}, motion.axis);
    }
}

} // namespace

void readMotion(OptionReader& reader, MotionRequest& motion)
{
    readKind(reader, motion);
    if (motion.kind == Kind::None && !motion.animation && (reader.has("duration") || reader.has("ease")))
        reader.fail(tr("--duration and --ease need a motion; to record without one use --free SECONDS"));
    readLength(reader, motion);
    readTurntable(reader, motion);
    motion.isEased = reader.has("ease");
    if (motion.isEased && motion.kind != Kind::Turntable && motion.kind != Kind::Path)
        reader.fail(tr("--ease belongs to --turntable or --path"));
}

void readStill(OptionReader& reader, MotionRequest& motion)
{
    if (reader.has("animation")) {
        motion.animation = reader.text("animation");
        double seconds = 0;
        reader.readTime("time", seconds);
        motion.time = seconds;
    } else if (reader.has("time")) {
        reader.fail(tr("--time belongs to --animation"));
    }
}

bool turnsUpright(const MotionRequest& motion)
{
    return motion.kind == MotionRequest::Kind::Turntable && motion.swing == 0 &&
           (motion.axis.isEmpty() || motion.axis == QLatin1String("up") || motion.axis == QLatin1String("y"));
}

} // namespace tov::app
