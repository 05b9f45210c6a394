#include "app/cli/options/optiontable.h"

#include <QCoreApplication>
#include <QStringList>

#include <iterator>

// The table replaces an option library: such a library would be filled from the table by as much code as the parser has
// (options.cpp, about 60 lines), and its messages and help can neither be translated nor grouped as these are.

namespace tov::app {

namespace {

const char* const OutputGroup = QT_TRANSLATE_NOOP("CommandLine", "Output");
const char* const ViewGroup = QT_TRANSLATE_NOOP("CommandLine", "View");
const char* const LookGroup = QT_TRANSLATE_NOOP("CommandLine", "Look");
const char* const SizeGroup = QT_TRANSLATE_NOOP("CommandLine", "Size");
const char* const PictureGroup = QT_TRANSLATE_NOOP("CommandLine", "Picture");
const char* const MotionGroup = QT_TRANSLATE_NOOP("CommandLine", "Motion");
const char* const VideoGroup = QT_TRANSLATE_NOOP("CommandLine", "Video");
const char* const PartsGroup = QT_TRANSLATE_NOOP("CommandLine", "Many machines");
const char* const BatchGroup = QT_TRANSLATE_NOOP("CommandLine", "Many results");
const char* const CommandGroup = QT_TRANSLATE_NOOP("CommandLine", "Commands");
const char* const GeneralGroup = QT_TRANSLATE_NOOP("CommandLine", "General");

const char* const Outputs = "image video";
const char* const Views = "image video run";

constexpr auto None = OptionValue::None;
constexpr auto Required = OptionValue::Required;

const OptionSpec Options[] = {
    {"output", 'o', Required, "OUT", Outputs, OutputGroup,
     QT_TRANSLATE_NOOP("CommandLine", "file to write; its extension selects the format; - = standard output"), "FILE"},
    {"format", 0, Required, "F", Outputs, OutputGroup,
     QT_TRANSLATE_NOOP("CommandLine", "format for -o -, e.g. png, mkv")},
    {"no-clobber", 0, None, "", Outputs, OutputGroup,
     QT_TRANSLATE_NOOP("CommandLine", "fail if the output exists already")},
    {"skip-existing", 0, None, "", Outputs, OutputGroup,
     QT_TRANSLATE_NOOP("CommandLine", "skip results that exist already")},
    {"save-scene", 0, Required, "FILE.tovscene", Views, OutputGroup,
     QT_TRANSLATE_NOOP("CommandLine", "also save models, parts, look, view and motion as a scene file"), "FILE"},

    {"view", 0, Required, "NAME[,NAME...]", Views, ViewGroup,
     QT_TRANSLATE_NOOP("CommandLine", "front back left right top bottom iso (default front)"),
     "front back left right top bottom iso"},
    {"camera", 0, Required, "NAME", Views, ViewGroup, QT_TRANSLATE_NOOP("CommandLine", "a camera of the model file")},
    {"azimuth", 0, Required, "DEGREES", Views, ViewGroup,
     QT_TRANSLATE_NOOP("CommandLine", "turn the view to the right")},
    {"elevation", 0, Required, "DEGREES", Views, ViewGroup, QT_TRANSLATE_NOOP("CommandLine", "turn the view upwards")},
    {"roll", 0, Required, "DEGREES", Views, ViewGroup, QT_TRANSLATE_NOOP("CommandLine", "turn the camera clockwise")},
    {"zoom", 0, Required, "FACTOR", Views, ViewGroup, QT_TRANSLATE_NOOP("CommandLine", "above 1 = closer")},
    {"position", 0, Required, "X,Y,Z", Views, ViewGroup, QT_TRANSLATE_NOOP("CommandLine", "position of the camera")},
    {"target", 0, Required, "X,Y,Z", Views, ViewGroup,
     QT_TRANSLATE_NOOP("CommandLine", "point that the camera looks at")},
    {"up", 0, Required, "X,Y,Z", Views, ViewGroup, QT_TRANSLATE_NOOP("CommandLine", "upward direction of the camera")},
    {"fov", 0, Required, "DEGREES", Views, ViewGroup,
     QT_TRANSLATE_NOOP("CommandLine", "vertical field of view, 1 to 150")},
    {"orthographic", 0, None, "", Views, ViewGroup, QT_TRANSLATE_NOOP("CommandLine", "parallel projection")},
    {"transform", 0, Required, "'m00 ... m33'", Views, ViewGroup,
     QT_TRANSLATE_NOOP("CommandLine", "scene to eye, 16 numbers row by row, instead of --view")},
    {"like", 0, Required, "PICTURE", Views, ViewGroup,
     QT_TRANSLATE_NOOP("CommandLine", "the view stored in a picture that tov made"), "FILE"},
    {"model-up", 0, Required, "AXIS", "image video run info", ViewGroup,
     QT_TRANSLATE_NOOP("CommandLine", "upward axis of the model: +X -X +Y -Y +Z -Z auto"), "+X -X +Y -Y +Z -Z auto"},

    {"light", 0, Required, "NAME", Views, LookGroup,
     QT_TRANSLATE_NOOP("CommandLine", "studio headlight none FILE.hdr (default studio)"), "studio headlight none FILE"},
    {"show", 0, Required, "NAME", Views, LookGroup,
     QT_TRANSLATE_NOOP("CommandLine", "surface edges wireframe points (default surface)"),
     "surface edges wireframe points"},
    {"exposure", 0, Required, "X", Views, LookGroup,
     QT_TRANSLATE_NOOP("CommandLine", "multiply all light, 0 to 1000 (default 1)")},
    {"color", 0, Required, "COLOUR", Views, LookGroup,
     QT_TRANSLATE_NOOP("CommandLine", "one colour for everything, instead of the materials")},
    {"opacity", 0, Required, "PART=X", Views, LookGroup,
     QT_TRANSLATE_NOOP("CommandLine", "opacity of a part, 0 to 1; may be repeated")},
    {"flat", 0, None, "", Views, LookGroup, QT_TRANSLATE_NOOP("CommandLine", "flat triangles, without smooth normals")},
    {"feature-edges", 0, None, "", Views, LookGroup,
     QT_TRANSLATE_NOOP("CommandLine", "draw open edges and edges sharper than 30 degrees")},
    {"point-size", 0, Required, "PERCENT", Views, LookGroup,
     QT_TRANSLATE_NOOP("CommandLine", "of the picture's height (default 0.37)")},
    {"line-width", 0, Required, "PERCENT", Views, LookGroup,
     QT_TRANSLATE_NOOP("CommandLine", "of the picture's height (default 0.14)")},
    {"background", 0, Required, "COLOUR", Views, LookGroup,
     QT_TRANSLATE_NOOP("CommandLine",
                       "transparent, a colour, or 'TOP..BOTTOM' (default: transparent where the format allows)")},
    {"samples", 0, Required, "N", Views, LookGroup,
     QT_TRANSLATE_NOOP("CommandLine", "samples per pixel, 0 to 8 (default 4)")},

    {"size", 0, Required, "WxH", Outputs, SizeGroup,
     QT_TRANSLATE_NOOP("CommandLine", "pixels (default 1920x1080 for pictures, 1280x720 for videos)")},
    {"width", 0, Required, "N", "image", SizeGroup,
     QT_TRANSLATE_NOOP("CommandLine", "width in pixels; the height follows from --panel")},
    {"panel", 0, Required, "WxH", "image run", SizeGroup,
     QT_TRANSLATE_NOOP("CommandLine", "shape of the view with --width or run (1280x720)")},

    {"dpi", 0, Required, "N", "image", PictureGroup,
     QT_TRANSLATE_NOOP("CommandLine", "resolution stored in the picture, dots per inch")},
    {"quality", 0, Required, "0-100", "image", PictureGroup,
     QT_TRANSLATE_NOOP("CommandLine", "of JPEG and WEBP (default 90)")},

    {"turntable", 0, OptionValue::Number, "[N]", "video run", MotionGroup,
     QT_TRANSLATE_NOOP("CommandLine", "turn the camera around the model, in N frames (default 5 s)")},
    {"trajectory", 0, Required, "FILE", "video run", MotionGroup,
     QT_TRANSLATE_NOOP("CommandLine", "follow a trajectory (csv tum txt json)"), "FILE"},
    {"path", 0, Required, "FILE", "video run", MotionGroup,
     QT_TRANSLATE_NOOP("CommandLine", "follow a camera path (json)"), "FILE"},
    {"free", 0, Required, "SECONDS", "video", MotionGroup,
     QT_TRANSLATE_NOOP("CommandLine", "record the view in real time, as many frames as the machine can make")},
    {"animation", 0, OptionValue::Name, "[NAME]", "image video run", MotionGroup,
     QT_TRANSLATE_NOOP("CommandLine",
                       "play an animation of the model (default: the first), also with --turntable or --path")},
    {"time", 0, Required, "SECONDS", "image", MotionGroup,
     QT_TRANSLATE_NOOP("CommandLine", "moment of the animation (default 0)")},
    {"duration", 0, Required, "SECONDS", "video run", MotionGroup,
     QT_TRANSLATE_NOOP("CommandLine", "length of the video, exactly")},
    {"repeat", 0, None, "", "video run", MotionGroup,
     QT_TRANSLATE_NOOP("CommandLine", "repeat an animation or trajectory for the duration, instead of stretching it")},
    {"every-position", 0, None, "", "video run", MotionGroup,
     QT_TRANSLATE_NOOP("CommandLine", "one position of the trajectory per frame, whatever its times")},
    {"turns", 0, Required, "X", "video run", MotionGroup,
     QT_TRANSLATE_NOOP("CommandLine", "turns of the turntable (default 1)")},
    {"swing", 0, Required, "DEGREES", "video run", MotionGroup,
     QT_TRANSLATE_NOOP("CommandLine", "swing back and forth by that angle instead of turning")},
    {"axis", 0, Required, "AXIS", "video run", MotionGroup,
     QT_TRANSLATE_NOOP("CommandLine", "of the turntable: up x y z or X,Y,Z (default up)"), "up x y z"},
    {"ease", 0, None, "", "video run", MotionGroup,
     QT_TRANSLATE_NOOP("CommandLine", "start and end a turntable or path slowly")},

    {"fps", 0, Required, "N", "video run", VideoGroup,
     QT_TRANSLATE_NOOP("CommandLine", "frames per second (default: the setting, 25)")},
    {"bitrate", 0, Required, "KBPS", "video", VideoGroup,
     QT_TRANSLATE_NOOP("CommandLine", "kbit/s, 100 to 2000000 (default: 0.1 bit per pixel, at least the setting)")},

    {"part", 0, Required, "I/N", "video", PartsGroup,
     QT_TRANSLATE_NOOP("CommandLine", "record part I of N parts, into the folder OUT.parts")},
    {"parts", 0, Required, "N", "video", PartsGroup,
     QT_TRANSLATE_NOOP("CommandLine", "record the parts that are missing, then join all N parts")},
    {"keep-parts", 0, None, "", "video", PartsGroup,
     QT_TRANSLATE_NOOP("CommandLine", "do not remove the parts after joining them")},
    {"status", 0, None, "", "video", PartsGroup,
     QT_TRANSLATE_NOOP("CommandLine", "with --parts: only show which parts are done, running and missing")},

    {"each", 0, None, "", Outputs, BatchGroup,
     QT_TRANSLATE_NOOP("CommandLine", "one result per model, instead of all models in one scene")},
    {"jobs", 0, Required, "FILE", Outputs, BatchGroup,
     QT_TRANSLATE_NOOP("CommandLine", "a file with the arguments of one result per line; - = standard input"), "FILE"},
    {"max-memory", 0, Required, "SIZE", Outputs, BatchGroup,
     QT_TRANSLATE_NOOP("CommandLine", "memory limit, e.g. 800M or 2G")},

    {"command", 'c', Required, "TEXT", "run", CommandGroup,
     QT_TRANSLATE_NOOP("CommandLine", "command text to run; may be repeated")},
    {"check", 0, Required, "FILE.so", "encoders", CommandGroup,
     QT_TRANSLATE_NOOP("CommandLine", "test an encoder plug-in and report"), "FILE"},

    {"reuse", 0, None, "", "", GeneralGroup,
     QT_TRANSLATE_NOOP("CommandLine", "open the files in a window that is open already, if there is one")},
    {"settings", 0, Required, "FILE", "*", GeneralGroup,
     QT_TRANSLATE_NOOP("CommandLine", "settings file to use instead of the user's own"), "FILE"},
    {"safe-mode", 0, None, "", "*", GeneralGroup,
     QT_TRANSLATE_NOOP("CommandLine", "load only modules and plug-ins that are part of the program")},
    {"strict", 0, None, "", "*", GeneralGroup,
     QT_TRANSLATE_NOOP("CommandLine", "treat warnings as errors; stop at the first failure")},
    {"json", 0, None, "", "*", GeneralGroup,
     QT_TRANSLATE_NOOP("CommandLine", "report on standard output, one JSON object per line")},
    {"quiet", 'q', None, "", "*", GeneralGroup, QT_TRANSLATE_NOOP("CommandLine", "print errors only")},
    {"verbose", 'v', None, "", "*", GeneralGroup,
     QT_TRANSLATE_NOOP("CommandLine", "print the full log, including the renderer")},
    {"help", 'h', None, "", "*", GeneralGroup, QT_TRANSLATE_NOOP("CommandLine", "show this help")},
    {"version", 0, None, "", "*", GeneralGroup, QT_TRANSLATE_NOOP("CommandLine", "show the version")},
};

const VerbSpec Verbs[] = {
    {"image", "tov image FILE... -o OUT [options]", true, QT_TRANSLATE_NOOP("CommandLine", "makes pictures of models")},
    {"video", "tov video FILE... -o OUT (--turntable | --trajectory FILE | ...) [options]", true,
     QT_TRANSLATE_NOOP("CommandLine", "makes videos of models")},
    {"run", "tov run [FILE...] (-c TEXT ... | SCRIPT.tov)", true,
     QT_TRANSLATE_NOOP("CommandLine", "runs command texts, e.g. grabimage filename=\"a.png\" width=4000")},
    {"info", "tov info FILE...", true, QT_TRANSLATE_NOOP("CommandLine", "shows what model files contain")},
    {"commands", "tov commands", false,
     QT_TRANSLATE_NOOP("CommandLine", "lists the commands with their parameters and defaults")},
    {"encoders", "tov encoders [--check FILE.so]", false, QT_TRANSLATE_NOOP("CommandLine", "lists the video formats")},
    {"modules", "tov modules", false,
     QT_TRANSLATE_NOOP("CommandLine", "lists modules, plug-ins, and what cannot be loaded")},
};

} // namespace

Table<OptionSpec> optionTable()
{
    return {Options, std::size(Options)};
}

Table<VerbSpec> verbTable()
{
    return {Verbs, std::size(Verbs)};
}

QString optionUsage(const OptionSpec& option)
{
    QString usage = option.shortName != 0 ? QStringLiteral("-%1, ").arg(QLatin1Char(option.shortName)) : QString();
    usage += QStringLiteral("--") + QLatin1String(option.name);
    if (option.value != OptionValue::None)
        usage += QLatin1Char(' ') + QLatin1String(option.placeholder);
    return usage;
}

bool isOptionOf(const OptionSpec& option, const QString& verb)
{
    const QString verbs = QLatin1String(option.verbs);
    return verbs == QLatin1String("*") || verbs.split(QLatin1Char(' ')).contains(verb);
}

const VerbSpec* findVerb(const QString& name)
{
    for (const VerbSpec& verb : Verbs)
        if (name == QLatin1String(verb.name))
            return &verb;
    return nullptr;
}

const OptionSpec* findOption(const QString& name)
{
    for (const OptionSpec& option : Options)
        if (name == QLatin1String(option.name))
            return &option;
    return nullptr;
}

const OptionSpec* findOption(QChar shortName)
{
    for (const OptionSpec& option : Options)
        if (option.shortName != 0 && shortName == QLatin1Char(option.shortName))
            return &option;
    return nullptr;
}

} // namespace tov::app
