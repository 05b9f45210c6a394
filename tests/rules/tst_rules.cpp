// Rules about the source tree and the built files that no compiler checks: which folders may include which, and which
// host operations the module may use.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

const fs::path Root = TOV_SOURCE_DIR;

/// Prefixes of the project headers that files in a folder may include, and of the other headers that they must not.
struct Rule
{
    std::string folder;
    std::vector<std::string> allowed;
    std::vector<std::string> forbidden;
};

// The longest matching folder applies.
const std::vector<Rule> Rules = {
    {"kernel/",
     {"kernel/commands/", "kernel/modules/", "kernel/workers/", "kernel/main/", "kernel/events/", "kernel/log/",
      "kernel/math/", "kernel/util/"},
     {"QOpenGL", "GL/", "QWidget", "QFileDialog", "QSlider"}},
    // The part of the kernel with widgets. Progress is reported to it from everywhere.
    {"kernel/gui/", {"kernel/"}, {"QOpenGL", "GL/"}},
    {"scene/", {"kernel/", "scene/"}, {"libav"}},
    {"trajectory/", {"kernel/", "scene/", "trajectory/"}, {"libav"}},
    // Of the host, the module includes only headers of its interface, each listed here: inline code of other headers
    // would make the module depend on this host's private parts.
    {"grab/video/",
     {"grab/video/", "kernel/log/logger.h", "kernel/main/export.h", "kernel/main/settings.h",
      "kernel/modules/informationobject.h", "kernel/modules/module.h", "kernel/modules/modulemanager.h",
      "kernel/workers/overseer.h"},
     {"GL/", "QOpenGL", "QWidget", "libav"}},
    {"grab/render/",
     {"grab/render/", "grab/video/", "kernel/math/matrix.h", "kernel/workers/overseer.h",
      "kernel/workers/workerdelegate.h", "scene/drawing/scenedrawer.h", "scene/drawing/sharedcontext.h"},
     {"QWidget", "libav"}},
    {"grab/videohandler",
     {"grab/videohandler.h", "grab/render/", "grab/video/", "kernel/log/logger.h", "kernel/main/export.h",
      "kernel/main/settings.h", "kernel/workers/overseer.h", "kernel/workers/workerdelegate.h",
      "scene/drawing/scenedrawer.h", "scene/drawing/sharedcontext.h", "scene/globalscene.h", "scene/scene.h",
      "scene/view/scenepanel.h", "scene/view/viewer.h", "trajectory/advancedtrajectoryinfo.h",
      "trajectory/trajectoryhandler.h", "trajectory/trajectoryinfo.h"},
     {"libav"}},
    {"grab/commands/",
     {"grab/commands/",
      "grab/module/modulegrab.h",
      "grab/render/",
      "grab/videohandler.h",
      "grab/video/",
      "kernel/commands/command.h",
      "kernel/commands/commandprocessor.h",
      "kernel/commands/functioncommand.h",
      "kernel/commands/settingscommand.h",
      "kernel/gui/fileparameterpanelfactory.h",
      "kernel/gui/sliderparameterpanelfactory.h",
      "kernel/gui/zprogressdialog.h",
      "kernel/log/console.h",
      "kernel/log/logger.h",
      "kernel/main/abstractparameter.h",
      "kernel/main/eventmanager.h",
      "kernel/main/export.h",
      "kernel/main/globalevents.h",
      "kernel/main/parameter.h",
      "kernel/main/parameterset.h",
      "kernel/main/settings.h",
      "kernel/math/matrix.h",
      "kernel/workers/overseer.h",
      "kernel/workers/workerdelegate.h",
      "scene/drawing/scenedrawer.h",
      "scene/drawing/sharedcontext.h",
      "scene/events.h",
      "scene/scene.h",
      "scene/scenelocker.h",
      "scene/view/scenepanel.h",
      "scene/view/viewer.h"},
     {"libav"}},
    {"grab/module/",
     {"grab/module/", "grab/video/", "kernel/events/eventhandler.h", "kernel/main/export.h",
      "kernel/modules/informationobject.h", "kernel/modules/module.h", "kernel/modules/modulefactory.h"},
     {"libav", "GL/"}},
    // Plug-ins describe themselves with the host's structure.
    {"plugins/imageformats/", {"plugins/imageformats/"}, {"libav", "GL/"}},
    {"sdk/",
     {"grab/video/", "kernel/log/", "kernel/modules/informationobject.h", "kernel/main/export.h", "kernel/util/",
      "sdk/"},
     {"libav", "GL/"}},
    {"plugins/video/",
     {"grab/video/", "plugins/video/common/", "kernel/log/", "kernel/modules/informationobject.h",
      "kernel/main/export.h", "kernel/util/"},
     {"QOpenGL", "GL/", "libav", "libsw"}},
    // Only the coders use FFmpeg. They are a library that the encoder plug-ins load.
    {"plugins/video/coders/",
     {"plugins/video/coders/", "plugins/video/common/", "kernel/log/", "kernel/main/export.h", "kernel/util/"},
     {"QOpenGL", "GL/"}},
    {"plugins/platform/", {"plugins/platform/"}, {"libav"}},
    {"app/", {"kernel/", "scene/", "trajectory/", "app/", "plugins/platform/select/"}, {"libav"}},
    {"app/common/", {"kernel/", "scene/", "trajectory/", "app/common/", "plugins/platform/select/"}, {"libav"}},
    {"app/viewer/",
     {"kernel/", "scene/", "trajectory/", "app/common/", "app/viewer/", "app/cli/options/options.h",
      "app/cli/reports/reporter.h", "app/cli/verbs.h", "plugins/platform/select/"},
     {"libav"}},
    {"app/cli/options/", {"kernel/", "app/common/", "app/cli/options/"}, {"libav"}},
    {"app/cli/outputs/", {"kernel/", "app/common/", "app/cli/options/", "app/cli/outputs/"}, {"libav"}},
    {"app/cli/reports/", {"kernel/", "scene/", "app/common/", "app/cli/options/", "app/cli/reports/"}, {"libav"}},
    {"app/cli/setup/",
     {"kernel/", "scene/", "trajectory/", "app/common/", "app/cli/options/", "app/cli/outputs/", "app/cli/setup/"},
     {"libav"}},
};

std::vector<fs::path> sources()
{
    std::vector<fs::path> found;
    for (const char* folder : {"kernel", "scene", "trajectory", "grab", "plugins", "app", "sdk"})
        for (const auto& entry : fs::recursive_directory_iterator(Root / folder))
            if (entry.path().extension() == ".cpp" || entry.path().extension() == ".h")
                found.push_back(fs::relative(entry.path(), Root));
    return found;
}

std::string contentOf(const fs::path& file)
{
    std::ifstream in(file);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<std::pair<int, std::string>> includesOf(const fs::path& file)
{
    static const std::regex form("^\\s*#\\s*include\\s*([<\"])([^>\"]+)[>\"]");
    std::ifstream in(Root / file);
    std::vector<std::pair<int, std::string>> result;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        std::smatch match;
        if (std::regex_search(line, match, form))
            result.emplace_back(number, match[1].str() + match[2].str());
    }
    return result;
}

std::string output(const std::string& command)
{
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string text;
    std::array<char, 4096> buffer;
    while (pipe && std::fgets(buffer.data(), int(buffer.size()), pipe.get()))
        text += buffer.data();
    return text;
}

} // namespace

TEST(Includes, FollowTheTableOfFolders)
{
    int checked = 0;
    for (const fs::path& file : sources()) {
        const Rule* rule = nullptr;
        for (const Rule& candidate : Rules)
            if (file.string().rfind(candidate.folder, 0) == 0 &&
                (!rule || candidate.folder.size() > rule->folder.size()))
                rule = &candidate;
        ASSERT_TRUE(rule) << file << " is not in a known folder";
        for (const auto& [line, name] : includesOf(file)) {
            ++checked;
            const std::string path = name.substr(1);
            EXPECT_EQ(path.find(".."), std::string::npos) << file << ":" << line;
            for (const std::string& forbidden : rule->forbidden)
                EXPECT_NE(path.rfind(forbidden, 0), 0u) << file << ":" << line << " includes " << path;
            // "name.moc" and resource headers are generated. Any other quoted name starts at the root.
            if (name[0] != '"' || path.find(".moc") != std::string::npos)
                continue;
            EXPECT_TRUE(fs::exists(Root / path)) << file << ":" << line << ": " << path << " is not at the root";
            bool allowed = false;
            for (const std::string& prefix : rule->allowed)
                allowed = allowed || path.rfind(prefix, 0) == 0;
            EXPECT_TRUE(allowed) << file << ":" << line << " must not include " << path;
        }
    }
    EXPECT_GT(checked, 300);
}

TEST(Includes, HaveNoParentFolders)
{
    int checked = 0;
    for (const char* folder :
         {"kernel", "scene", "trajectory", "grab", "plugins", "app", "tests", "benchmarks", "sdk", "docs"}) {
        if (!fs::exists(Root / folder))
            continue;
        for (const auto& entry : fs::recursive_directory_iterator(Root / folder)) {
            if (entry.path().extension() != ".cpp" && entry.path().extension() != ".h")
                continue;
            for (const auto& [line, name] : includesOf(fs::relative(entry.path(), Root))) {
                ++checked;
                EXPECT_EQ(name.find(".."), std::string::npos) << entry.path() << ":" << line;
            }
        }
    }
    EXPECT_GT(checked, 500);
}

TEST(Includes, TheSceneListComesFirst)
{
    for (const char* file : {"grab/commands/grabvideo.cpp", "grab/commands/grabimage.cpp"}) {
        int scene = 0, global = 0;
        for (const auto& [line, name] : includesOf(file)) {
            if (name == "\"scene/events.h")
                scene = line;
            if (name == "\"kernel/main/globalevents.h")
                global = line;
        }
        EXPECT_GT(scene, 0) << file;
        EXPECT_GT(global, scene) << file;
    }
}

TEST(Includes, EventListsAreForSourceFilesOfCommandsOnly)
{
    const std::set<std::string> allowed = {"grab/commands/grabvideo.cpp", "grab/commands/setvideosettings.cpp",
                                           "grab/commands/grabimage.cpp"};
    for (const fs::path& file : sources()) {
        bool lists = false;
        for (const auto& [line, name] : includesOf(file))
            lists = lists || name == "\"scene/events.h" || name == "\"kernel/main/globalevents.h";
        if (file.string().rfind("grab/", 0) == 0) {
            EXPECT_EQ(lists, allowed.count(file.string()) > 0) << file;
        } else if (file.extension() == ".h") {
            EXPECT_FALSE(lists) << file;
        }
    }
}

TEST(Guide, ShowsOnlyCodeThatIsBuiltAndRun)
{
    // Sources that tests build against an installed tree.
    std::string built;
    for (const char* folder : {"docs/examples", "sdk/template"})
        for (const auto& entry : fs::directory_iterator(Root / folder))
            built += contentOf(entry.path());
    std::ifstream guide(Root / "docs/encoder-plugins.md");
    std::string line, block;
    bool inside = false;
    int blocks = 0;
    while (std::getline(guide, line)) {
        if (line.rfind("```", 0) != 0) {
            if (inside)
                block += line + "\n";
            continue;
        }
        if (inside) {
            ++blocks;
            EXPECT_NE(built.find(block), std::string::npos) << "not in docs/examples or sdk/template:\n" << block;
        }
        block.clear();
        inside = !inside;
    }
    EXPECT_FALSE(inside);
    EXPECT_GE(blocks, 4);
}

TEST(Version, IsWrittenOnceAndHasAnEntryInTheChangeLog)
{
    const std::string version = TOV_VERSION;
    for (const fs::path& file : sources())
        EXPECT_EQ(contentOf(Root / file).find('"' + version + '"'), std::string::npos)
            << file << " repeats the version";
    const std::string log = contentOf(Root / "CHANGELOG.md");
    const std::size_t entry = log.find("\n## ");
    ASSERT_NE(entry, std::string::npos);
    const std::string newest = log.substr(entry + 4, log.find('\n', entry + 1) - entry - 4);
    EXPECT_TRUE(newest == version || newest == version + " (not released)") << newest;
}

TEST(Headers, AreGuardedAndDocumented)
{
    for (const fs::path& file : sources()) {
        if (file.extension() != ".h")
            continue;
        const std::string text = contentOf(Root / file);
        EXPECT_EQ(text.rfind("#pragma once", 0), 0u) << file;
        EXPECT_TRUE(text.find("///") != std::string::npos || text.find("\n// ") != std::string::npos)
            << file << " has no comment";
    }
}

TEST(Module, UsesOnlyTheHostFunctionsThatModulesMayUse)
{
    // By class: the allowed operations. "*" = only constructors, destructor, type information and virtual table.
    const std::vector<std::pair<std::string, std::set<std::string>>> interface = {
        {"tov::log::Logger", {"log"}},
        {"tov::events::EventHandler", {"getInstance", "addEvent", "registerEventTypes", "unregisterEventTypes"}},
        {"tov::main::EventManager",
         {"getInstance", "registerEventFunction", "unregisterAllEventFunctionsOf", "fireEvent"}},
        {"tov::main::ModuleFactory", {"registerPrimaryCommand", "createModule"}},
        {"tov::main::Module", {"registerCommand", "getGUIDescriptions", "getInformationObject"}},
        {"tov::main::InformationObject", {"getAdditionalInformations"}},
        {"tov::main::ModuleManager", {"getInstance", "getModule"}},
        {"tov::main::Command",
         {"setParameters",
          "getGUIWindow",
          "getCommandWidget",
          "clone",
          "abort",
          "execute",
          "disableCommand",
          "updateProcessed",
          "updateText",
          "addParameterSet",
          "getParameterSets",
          "getCurrentParameterSet",
          "getCurrentParameterSetId",
          "setCurrentParameterSetId",
          "getErrorState",
          "announcesChanges",
          "setInstanceMode",
          "setUndoable",
          "setRecordedInMacros",
          "setOneShot"}},
        {"tov::main::SettingsCommand", {}},
        {"tov::main::CommandDescriptor", {}},
        {"tov::main::CommandGUIDescriptor", {}},
        {"tov::main::CommandProcessor", {"processCommand"}},
        {"tov::main::CommandRun", {}},
        {"tov::main::FunctionCommand", {}},
        {"tov::main::Worker", {"setWait", "wait"}},
        {"tov::main::WorkerDelegate::InternalWorker", {"run"}},
        {"tov::main::Overseer",
         {"getInstance", "getApplicationThread", "transmitWorker", "getCommandProcessor", "getQSettings"}},
        {"tov::main::AbstractParameter", {}},
        {"tov::main::CastClass", {}},
        {"tov::main::CastClassManager", {"getInstance", "createCastClassForType"}},
        {"tov::main::ParameterSet", {"addParameter", "at"}},
        {"tov::main::TypeSolver", {"solve"}},
        {"tov::main::ParameterPanelFactory", {}},
        {"tov::main::FileParameterPanelFactory", {}},
        {"tov::main::SliderParameterPanelFactory", {}},
        {"tov::util::FunctionDelegate", {}},
        {"tov::util::DelegateBase", {}},
        {"tov::util::ZReferenced", {}},
        {"tov::util::ZProgressDialog", {"setValue"}},
        {"tov::scene::Viewer", {"getInstance", "getGlobalScene", "isFboAvailable"}},
        {"tov::scene::Scene", {"getRootNode", "lock", "unlock"}},
        {"tov::scene::SceneLocker", {"unlock"}},
        {"tov::scene::SceneDrawer", {"getBackgroundColor", "resize", "glDraw", "ZNEAR", "ZFAR"}},
        {"tov::scene::SharedContext", {"glContext", "lock", "unlock"}},
        {"tov::gui::ScenePanel", {"getScaledTransformMatrix", "width", "height"}},
        {"tov::trajectory::TrajectoryHandler",
         {"getInstance", "getSelectedMode", "getTrajectoryInfo", "getAdvancedTrajectoryInfo"}},
        {"tov::trajectory::TrajectoryInfo", {"getPoints", "getPosition", "setPosition"}},
        {"tov::trajectory::AdvancedTrajectoryInfo", {"getMatrixMapList", "getPosition", "setPosition"}},
    };
    const std::set<std::string> functions = {"tov::scene::_GlobalContext", "tov::scene::_GlobalScene",
                                             "tov::main::isSameType"};

    const std::string symbols = output("nm -DC --undefined-only " TOV_BINARY_DIR "/bin/modules/libgrab.so");
    std::istringstream lines(symbols);
    std::string line;
    int seen = 0;
    while (std::getline(lines, line)) {
        const auto at = line.find("tov::");
        if (at == std::string::npos || line.find("tovSettings") != std::string::npos)
            continue;
        ++seen;
        // "typeinfo for X", "vtable for X", "X::operation(arguments) const": the argument list may name classes too.
        const bool life =
            line.find("typeinfo for") != std::string::npos || line.find("vtable for") != std::string::npos;
        std::string name = line.substr(at);
        name = name.substr(0, name.find('('));
        if (name.find('[') != std::string::npos)
            name = name.substr(0, name.find('['));
        while (!name.empty() && (name.back() == ' '))
            name.pop_back();
        bool allowed = functions.count(name) > 0;
        for (const auto& [type, operations] : interface) {
            const std::string own = type.substr(type.rfind("::") + 2);
            if (life) {
                allowed = allowed || name == type;
                continue;
            }
            if (name.rfind(type + "::", 0) != 0)
                continue;
            const std::string operation = name.substr(type.size() + 2);
            allowed = allowed || operation == own || operation == "~" + own || operations.count(operation) > 0;
        }
        EXPECT_TRUE(allowed) << "the module must not use " << line.substr(at);
    }
    EXPECT_GT(seen, 40) << symbols;
}

TEST(Module, ExportsItsTwoEntryPoints)
{
    const std::string symbols = output("nm -D --defined-only " TOV_BINARY_DIR "/bin/modules/libgrab.so");
    EXPECT_NE(symbols.find(" T getFactory\n"), std::string::npos);
    EXPECT_NE(symbols.find(" T recycleFactory\n"), std::string::npos);
}

TEST(Module, ExportsMethodsOfItsClassesOnly)
{
    const std::vector<std::string> classes = {
        "tov::commands::grab::GrabImage", "tov::commands::grab::GrabVideo", "tov::commands::grab::SetVideoSettings",
        "tov::grab::ModuleGrab",          "tov::grab::VideoHandler",        "tov::grab::video::Encoder",
        "tov::grab::video::VideoEncoder"};
    // Plug-ins share the registry, so what they can call is listed completely.
    const std::string registry = "tov::grab::video::VideoEncoder::";
    const std::set<std::string> operations = {"VideoEncoder",  "~VideoEncoder",   "getInstance",      "refreshPlugins",
                                              "unloadPlugins", "registerEncoder", "getLoadableFiles", "getEncoder"};
    std::istringstream lines(output("nm -DC --defined-only " TOV_BINARY_DIR "/bin/modules/libgrab.so"));
    const std::regex form("^\\S+ T (?:non-virtual thunk to )?([^(]+)");
    std::string line;
    int seen = 0;
    for (std::smatch match; std::getline(lines, line);) {
        if (!std::regex_search(line, match, form) || match[1] == "getFactory" || match[1] == "recycleFactory")
            continue;
        ++seen;
        const std::string name = match[1];
        bool known = false;
        for (const std::string& type : classes)
            known = known || name.rfind(type + "::", 0) == 0;
        EXPECT_TRUE(known) << "the module must not export " << name;
        if (name.rfind(registry, 0) == 0) {
            EXPECT_TRUE(operations.count(name.substr(registry.size()))) << "plug-ins must not call " << name;
        }
    }
    EXPECT_GT(seen, 50);
}

TEST(Module, ItsResourcesAreOfFormatTwo)
{
    std::smatch match;
    const std::string source = contentOf(TOV_BINARY_DIR "/grab/qrc_grab.cpp");
    ASSERT_TRUE(std::regex_search(source, match, std::regex("int version = (\\d+);"))) << "no generated source";
    EXPECT_EQ(match[1].str(), "2");
}

TEST(Program, IsNotLinkedAgainstTheModule)
{
    const std::string needed = output("readelf -d " TOV_BINARY_DIR "/bin/tov");
    EXPECT_NE(needed.find("libtovkernel"), std::string::npos);
    EXPECT_EQ(needed.find("libgrab"), std::string::npos);
    EXPECT_EQ(needed.find("libav"), std::string::npos);
}

TEST(BuiltFiles, AreCompiledHardened)
{
    // One entry per source, one field per line.
    std::ifstream in(TOV_BINARY_DIR "/compile_commands.json");
    std::string line, command;
    std::set<std::string> folders;
    const std::string root = Root.string() + "/", built = TOV_BINARY_DIR "/";
    while (std::getline(in, line)) {
        if (line.find("\"command\":") != std::string::npos)
            command = line + " ";
        const std::size_t at = line.find("\"file\": \"" + root);
        if (at == std::string::npos || line.find("\"file\": \"" + built) != std::string::npos)
            continue;
        const std::string file = line.substr(line.find(root) + root.size());
        folders.insert(file.substr(0, file.find('/')));
        const auto has = [&command](const char* option) { return command.find(option) != std::string::npos; };
        EXPECT_TRUE(has(" -fstack-protector-strong ")) << file;
        EXPECT_TRUE(has(" -fPIC ") || has(" -fPIE ")) << file;
        // Builds with sanitizers have other checks, and fortification needs optimisation.
        if (!has(" -fsanitize=") && !has(" -O0 ") && has(" -O")) {
            EXPECT_TRUE(has(" -D_FORTIFY_SOURCE=2 ")) << file;
        }
    }
    for (const char* folder : {"app", "grab", "kernel", "plugins", "scene", "sdk", "trajectory"})
        EXPECT_EQ(folders.count(folder), 1u) << folder;
}

TEST(BuiltFiles, AreHardened)
{
    for (const char* file : {"bin/tov", "bin/modules/libgrab.so", "lib/libtovkernel.so", "lib/libtovscene.so",
                             "lib/libtovtrajectory.so", "lib/libtovcoders.so", "bin/plugins/video/ffmpeg.so"}) {
        const std::string path = std::string(TOV_BINARY_DIR "/") + file;
        const std::string headers = output("readelf -Wld " + path);
        EXPECT_NE(headers.find("GNU_RELRO"), std::string::npos) << file;
        EXPECT_NE(headers.find("BIND_NOW"), std::string::npos) << file;
        EXPECT_EQ(headers.find("GNU_STACK      0x000000 0x0000000000000000 0x0000000000000000 0x000000 0x000000 RWE"),
                  std::string::npos)
            << file;
        EXPECT_NE(headers.find("(RUNPATH)"), std::string::npos) << file;
    }
    EXPECT_NE(output("readelf -h " TOV_BINARY_DIR "/bin/tov").find("DYN ("), std::string::npos)
        << "position-independent";
}
