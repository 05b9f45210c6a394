#include "grab/module/modulegrab.h"
#include "grab/video/videoencoder.h"

#include "grab/video/encoder.h"
#include "grab/video/pluginfile.h"
#include "kernel/modules/informationobject.h"
#include "kernel/modules/module.h"
#include "kernel/util/libraryfile.h"
#include "tests/support/logcapture.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLibrary>
#include <QVariantMap>

#include <gtest/gtest.h>

#include <memory>

using tov::grab::video::Encoder;
using tov::grab::video::VideoEncoder;
using tov::test::LogCapture;

namespace {

/// Replaces the module that owns the registry.
class GrabStandIn : public tov::main::Module
{
public:
    explicit GrabStandIn(tov::main::InformationObject* information) : Module(information) {}
    bool canBeLoaded() override { return true; }
    void initialize(const Progress&) override {}
    void finalize() override {}
};

class DummyEncoder : public Encoder
{
public:
    explicit DummyEncoder(void* data) : userData(data) {}
    void* userData;

protected:
    bool initEncoding(QIODevice*, bool) override { return true; }
    bool encodeChunk(QIODevice*, bool) override { return true; }
    void finishEncoding() override {}
};

Encoder* createDummy(void* userData)
{
    return new DummyEncoder(userData);
}

class RegistryTest : public testing::Test
{
protected:
    void SetUp() override
    {
        folder = QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/video/");
        QDir(QCoreApplication::applicationDirPath() + QStringLiteral("/plugins")).removeRecursively();
        ASSERT_TRUE(QDir().mkpath(folder));
        information = std::make_unique<tov::main::InformationObject>(QStringLiteral("d"), QStringLiteral("Grab"),
                                                                     QIcon(), QUrl(), QUrl());
        module = std::make_unique<GrabStandIn>(information.get());
    }
    void TearDown() override
    {
        module.reset();
        endRegistry();
        QDir(QCoreApplication::applicationDirPath() + QStringLiteral("/plugins")).removeRecursively();
    }
    /// Destroys the registry as the end of the module does.
    void endRegistry() { tov::grab::ModuleGrab grab(information.get()); }
    void lay(const char* plugin, const QString& as = QString())
    {
        const QString source = QStringLiteral(TOV_ZOO_DIR "/") + QLatin1String(plugin) + QStringLiteral(".so");
        const QString target = folder + (as.isEmpty() ? QLatin1String(plugin) + QStringLiteral(".so") : as);
        QFile::remove(target);
        ASSERT_TRUE(QFile::copy(source, target)) << source.toStdString();
    }
    QStringList recordNames() const
    {
        QStringList names;
        for (const auto& record : information->getAdditionalInformations())
            names << record.name;
        return names;
    }
    VideoEncoder& registry() { return *VideoEncoder::getInstance(); }
    QStringList keys()
    {
        QStringList result;
        for (const auto& [key, description] : registry().getLoadableFiles())
            result << key;
        return result;
    }

    QString folder;
    std::unique_ptr<tov::main::InformationObject> information;
    std::unique_ptr<GrabStandIn> module;
};

void expectRecord(const tov::log::LogRecord& record, const char* function, const QString& message)
{
    EXPECT_EQ(record.level, 2000);
    EXPECT_EQ(record.file, "video/videoencoder");
    EXPECT_EQ(record.function, QLatin1String(function));
    EXPECT_TRUE(record.category.isEmpty());
    EXPECT_EQ(record.message, message);
}

} // namespace

TEST_F(RegistryTest, TheFirstRegistrationOfAnExtensionStays)
{
    int one = 0, two = 0;
    LogCapture log;
    EXPECT_TRUE(registry().registerEncoder(createDummy, QStringLiteral("avi"), QStringLiteral("First"), &one));
    EXPECT_FALSE(registry().registerEncoder(createDummy, QStringLiteral("AVI"), QStringLiteral("Second"), &two));
    ASSERT_EQ(log.records().size(), 1u);
    expectRecord(log.records()[0], "registerEncoder",
                 QStringLiteral("You could not register the same file extension twice!"));
    EXPECT_EQ(registry().getLoadableFiles().at(QStringLiteral("AVI")), "First");
    std::unique_ptr<Encoder> encoder(registry().getEncoder(QStringLiteral("/tmp/out.Avi")));
    ASSERT_TRUE(encoder);
    EXPECT_EQ(static_cast<DummyEncoder*>(encoder.get())->userData, &one);
}

TEST_F(RegistryTest, TheCompleteSuffixChooses)
{
    registry().registerEncoder(createDummy, QStringLiteral("avi"), QString(), nullptr);
    registry().registerEncoder(createDummy, QStringLiteral("hq.mp4"), QString(), nullptr);
    const auto known = [this](const char* name) {
        return std::unique_ptr<Encoder>(registry().getEncoder(QString::fromLatin1(name))) != nullptr;
    };
    EXPECT_TRUE(known("clip.avi"));
    EXPECT_TRUE(known("clip.HQ.Mp4"));
    EXPECT_FALSE(known("clip.part1.avi"));
    EXPECT_FALSE(known("clip.mp4"));
    EXPECT_FALSE(known("my.video/clip"));
    EXPECT_FALSE(known("my.avi/clip"));
    EXPECT_FALSE(known("clip"));
    EXPECT_FALSE(known(""));
    EXPECT_TRUE(known("my.dir/clip.avi"));
}

TEST_F(RegistryTest, KeysAreUpperCaseInAscendingOrder)
{
    for (const char* extension : {"webm", "avi", "mp4"})
        registry().registerEncoder(createDummy, QString::fromLatin1(extension), QString(), nullptr);
    EXPECT_EQ(keys(), (QStringList{"AVI", "MP4", "WEBM"}));
}

TEST_F(RegistryTest, EmptyAndMissingFoldersGiveNothing)
{
    LogCapture log;
    registry().refreshPlugins();
    EXPECT_TRUE(keys().isEmpty());
    QDir(folder).removeRecursively();
    registry().refreshPlugins();
    EXPECT_TRUE(keys().isEmpty());
    EXPECT_TRUE(log.records().empty()) << log.text();
}

TEST_F(RegistryTest, AGoodPlugInIsLoadedRegisteredAndRecorded)
{
    lay("rawcopy");
    LogCapture log;
    registry().refreshPlugins();
    EXPECT_TRUE(log.records().empty()) << log.text();
    EXPECT_EQ(keys(), (QStringList{"RAW", "TWO.DOTS"}));
    EXPECT_EQ(registry().getLoadableFiles().at(QStringLiteral("RAW")), "Raw frames");
    ASSERT_EQ(information->getAdditionalInformations().size(), 1);
    const auto record = information->getAdditionalInformations().first();
    EXPECT_EQ(record.name, "rawcopy");
    EXPECT_EQ(record.description, "Copies frames");
    EXPECT_EQ(record.version, "1");
    EXPECT_EQ(record.author, "tests");
    std::unique_ptr<Encoder> encoder(registry().getEncoder(QStringLiteral("a.raw")));
    EXPECT_TRUE(encoder);
}

TEST_F(RegistryTest, ProgramModuleAndPlugInShareOneRegistry)
{
    lay("rawcopy");
    registry().refreshPlugins();
    QLibrary library(folder + QStringLiteral("rawcopy.so"));
    ASSERT_TRUE(library.load());
    const auto seen = reinterpret_cast<void* (*)()>(library.resolve("registrySeen"));
    ASSERT_TRUE(seen);
    EXPECT_EQ(seen(), VideoEncoder::getInstance());
    library.unload();
}

TEST_F(RegistryTest, RefreshingTwiceRegistersOnce)
{
    lay("rawcopy");
    LogCapture log;
    registry().refreshPlugins();
    registry().refreshPlugins();
    EXPECT_EQ(keys().size(), 2);
    EXPECT_EQ(recordNames(), QStringList{"rawcopy"});
    EXPECT_TRUE(log.records().empty()) << log.text();
}

TEST_F(RegistryTest, UnloadingForgetsEverythingAndEmptiesTheRecords)
{
    lay("rawcopy");
    registry().refreshPlugins();
    information->getAdditionalInformations().append({QStringLiteral("of another plug-in"), {}, {}, {}});
    registry().unloadPlugins();
    EXPECT_TRUE(keys().isEmpty());
    EXPECT_TRUE(recordNames().isEmpty()) << "all records go";
    EXPECT_EQ(registry().getEncoder(QStringLiteral("a.raw")), nullptr);
}

TEST_F(RegistryTest, RecordsOutliveTheirLibrary)
{
    lay("rawcopy");
    registry().refreshPlugins();
    const auto copies = information->getAdditionalInformations();
    const QString description = registry().getLoadableFiles().at(QStringLiteral("RAW"));
    registry().unloadPlugins();
    EXPECT_EQ(copies.first().description, "Copies frames");
    EXPECT_EQ(description, "Raw frames");
}

TEST_F(RegistryTest, LibrariesThatDoNotRegisterAreStillListed)
{
    lay("noregister");
    lay("refuses");
    lay("onlyinfos");
    LogCapture log;
    registry().refreshPlugins();
    EXPECT_TRUE(keys().isEmpty());
    EXPECT_EQ(recordNames(), (QStringList{"onlyinfos", "refuses"}));
    EXPECT_TRUE(log.records().empty()) << log.text();
    // They stay loaded for the rest of the process.
    registry().unloadPlugins();
    QFile maps(QStringLiteral("/proc/self/maps"));
    ASSERT_TRUE(maps.open(QIODevice::ReadOnly));
    const QByteArray loaded = maps.readAll();
    EXPECT_TRUE(loaded.contains("/refuses.so"));
    EXPECT_TRUE(loaded.contains("/onlyinfos.so"));
}

TEST_F(RegistryTest, TheSameExtensionInAnotherCaseIsRefusedToThePlugIn)
{
    lay("twice");
    LogCapture log;
    registry().refreshPlugins();
    EXPECT_EQ(keys(), QStringList{"TWICE"});
    EXPECT_EQ(registry().getLoadableFiles().at(QStringLiteral("TWICE")), "first");
    EXPECT_EQ(log.records().size(), 1u);
    EXPECT_EQ(registry().getEncoder(QStringLiteral("a.twice")), nullptr) << "its factory returns null";
}

TEST_F(RegistryTest, AMissingDependencyIsALoadFailure)
{
    lay("needsabsent");
    lay("rawcopy");
    LogCapture log;
    registry().refreshPlugins();
    ASSERT_EQ(log.records().size(), 1u);
    const QString message = log.records()[0].message;
    EXPECT_TRUE(
        message.startsWith(QStringLiteral("Loading of video encoder plugin: 'needsabsent' failed with error: ")))
        << message.toStdString();
    EXPECT_TRUE(message.contains(QStringLiteral("libabsent.so"))) << message.toStdString();
    expectRecord(log.records()[0], "refreshPlugins", message);
    EXPECT_EQ(keys().size(), 2) << "the good one is used nevertheless";
}

TEST_F(RegistryTest, FilesAreLoadedByNameCaseInsensitively)
{
    lay("onlyinfos", QStringLiteral("C.so"));
    lay("refuses", QStringLiteral("b.so"));
    lay("rawcopy", QStringLiteral("A.so"));
    registry().refreshPlugins();
    EXPECT_EQ(recordNames(), (QStringList{"rawcopy", "refuses", "onlyinfos"}));
}

TEST_F(RegistryTest, AFileIsNamedUpToItsFirstDot)
{
    QFile text(folder + QStringLiteral("many.dots.so"));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("this is no library\n");
    text.close();
    LogCapture log;
    registry().refreshPlugins();
    ASSERT_EQ(log.records().size(), 1u) << log.text();
    EXPECT_TRUE(log.records()[0].message.startsWith(
        QStringLiteral("Loading of video encoder plugin: 'many' failed with error: ")))
        << log.text();
}

TEST_F(RegistryTest, FilesThatAreNotCompleteLibrariesAreLoadFailures)
{
    QFile text(folder + QStringLiteral("text.so"));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("this is no library\n");
    text.close();
    QFile empty(folder + QStringLiteral("void.so"));
    ASSERT_TRUE(empty.open(QIODevice::WriteOnly));
    empty.close();
    ASSERT_TRUE(QDir(folder).mkdir(QStringLiteral("folder.so")));
    LogCapture log;
    registry().refreshPlugins();
    ASSERT_EQ(log.records().size(), 3u) << log.text();
    const char* const names[] = {"folder", "text", "void"};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_TRUE(log.records()[i].message.startsWith(
            QStringLiteral("Loading of video encoder plugin: '%1' failed with error: ").arg(QLatin1String(names[i]))))
            << log.text();
        EXPECT_EQ(log.records()[i].level, 2000);
    }
}

TEST_F(RegistryTest, ALibraryTruncatedAnywhereIsALoadFailure)
{
    QFile whole(QStringLiteral(TOV_ZOO_DIR "/rawcopy.so"));
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    const QByteArray bytes = whole.readAll();
    for (int part = 1; part < 24; ++part) {
        QFile cut(folder + QStringLiteral("cut.so"));
        ASSERT_TRUE(cut.open(QIODevice::WriteOnly | QIODevice::Truncate));
        cut.write(bytes.left(int(qint64(bytes.size()) * part / 24)));
        cut.close();
        LogCapture log;
        registry().refreshPlugins();
        ASSERT_EQ(log.records().size(), 1u) << part << "/24\n" << log.text();
        EXPECT_TRUE(log.records()[0].message.startsWith(
            QStringLiteral("Loading of video encoder plugin: 'cut' failed with error: ")));
        EXPECT_TRUE(keys().isEmpty());
    }
}

TEST_F(RegistryTest, APlugInThatTheProgramRefusesIsALoadFailure)
{
    EXPECT_STREQ(tov::grab::video::RefusedPlugins, tov::util::RefusedLibraries);
    lay("rawcopy");
    const QString file = QFileInfo(folder + QStringLiteral("rawcopy.so")).canonicalFilePath();
    QCoreApplication::instance()->setProperty(tov::util::RefusedLibraries,
                                              QVariantMap{{file, QStringLiteral("not wanted")}});
    LogCapture log;
    registry().refreshPlugins();
    QCoreApplication::instance()->setProperty(tov::util::RefusedLibraries, QVariant());
    ASSERT_EQ(log.records().size(), 1u) << log.text();
    EXPECT_EQ(log.records()[0].message,
              QStringLiteral("Loading of video encoder plugin: 'rawcopy' failed with error: %1: not wanted").arg(file));
    EXPECT_TRUE(keys().isEmpty());
    registry().refreshPlugins();
    EXPECT_FALSE(keys().isEmpty());
}

TEST_F(RegistryTest, LinksHiddenFilesAndSubdirectoriesAreSkipped)
{
    ASSERT_TRUE(QFile::link(QStringLiteral(TOV_ZOO_DIR "/rawcopy.so"), folder + QStringLiteral("link.so")));
    lay("twice", QStringLiteral(".hidden.so"));
    ASSERT_TRUE(QDir(folder).mkdir(QStringLiteral("sub")));
    lay("onlyinfos", QStringLiteral("sub/onlyinfos.so"));
    lay("throws", QStringLiteral("throws.txt"));
    LogCapture log;
    registry().refreshPlugins();
    EXPECT_TRUE(keys().isEmpty());
    EXPECT_TRUE(recordNames().isEmpty());
    EXPECT_TRUE(log.records().empty()) << log.text();
}

TEST_F(RegistryTest, ExceptionsOfAPlugInAreCaught)
{
    lay("throws");
    LogCapture log;
    registry().refreshPlugins();
    EXPECT_TRUE(log.contains(QStringLiteral("The video encoder plugin 'throws' threw an exception: in doRegister")))
        << log.text();
    EXPECT_TRUE(log.contains(QStringLiteral("The video encoder plugin 'throws' threw an exception"))) << log.text();
    EXPECT_EQ(registry().getEncoder(QStringLiteral("a.throws")), nullptr);
    EXPECT_TRUE(log.contains(QStringLiteral("The video encoder plugin 'throws' threw an exception: in the factory")))
        << log.text();
}

TEST_F(RegistryTest, WithoutTheModulePlugInsLoadAndItIsReported)
{
    lay("rawcopy");
    module.reset();
    LogCapture log;
    registry().refreshPlugins();
    EXPECT_EQ(keys().size(), 2);
    EXPECT_TRUE(recordNames().isEmpty());
    const QString message = QStringLiteral("Module 'Grab' not found by the modulemanager!");
    ASSERT_EQ(log.withMessage(message).size(), 2u) << "once for the list that is emptied, once for the one to fill";
    expectRecord(log.withMessage(message)[0], "unloadPlugins", message);
    expectRecord(log.withMessage(message)[1], "refreshPlugins", message);
}

TEST_F(RegistryTest, ANewRegistryComesAfterTheOldOne)
{
    VideoEncoder* old = VideoEncoder::getInstance();
    EXPECT_EQ(VideoEncoder::getInstance(), old);
    registry().registerEncoder([](void*) -> tov::grab::video::Encoder* { return nullptr; }, QStringLiteral("old"),
                               QString(), nullptr);
    endRegistry();
    EXPECT_TRUE(VideoEncoder::getInstance()->getLoadableFiles().empty());
}

TEST(RegistryDeathTest, CopyingEndsTheProcess)
{
    EXPECT_DEATH(
        {
            VideoEncoder original;
            VideoEncoder copy(original);
        },
        "Don't do this!");
}
