#include "grab/commands/grabimage.h"

#include "kernel/events/eventhandler.h"
#include "kernel/gui/fileparameterpanelfactory.h"
#include "kernel/gui/zprogressdialog.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/main/event.h"
#include "kernel/main/eventmanager.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/settings.h"
#include "scene/view/scenepanel.h"
#include "tests/grab/scenes.h"
#include "tests/support/logcapture.h"
#include "tests/support/markingtranslator.h"
#include "tests/support/temporarysettings.h"
#include "tests/support/threads.h"

#include <QDir>
#include <QFileDialog>
#include <QGuiApplication>
#include <QImageReader>
#include <QImageWriter>
#include <QTemporaryDir>

#include <atomic>
#include <memory>
#include <thread>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tov::main;
using namespace tov::test;
using tov::commands::grab::GrabImage;
using tov::gui::ScenePanel;
using tov::scene::Viewer;

namespace {

class GrabImageTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Viewer::getInstance()->initialize());
        useScene(makeBox(1));
        panel = new ScenePanel;
        panel->resize(640, 480);
        panel->fitToView();
        Viewer::getInstance()->setActivePanel(panel);
        command = new GrabImage;
        processor->drain();
        Viewer::getInstance()->announceActivePanel();
    }
    void TearDown() override
    {
        processor->destroyCommand(command);
        if (panel)
            Viewer::getInstance()->closePanel(panel);
        useScene(nullptr);
    }
    /// Sets the parameters (null: no value) and runs the command on a command thread, as the processor does.
    void run(const QString& fileName, const QString& width)
    {
        ParameterSet* set = command->getCurrentParameterSet();
        for (int i = 0; i < 2; ++i) {
            const QString text = i == 0 ? fileName : width;
            set->at(std::size_t(i))->deleteValue();
            if (!text.isNull()) {
                ASSERT_TRUE(set->at(std::size_t(i))->castString(text));
            }
        }
        ASSERT_TRUE(processor->processCommand(command, 1, true)->succeeded());
    }
    QString path(const char* name) const { return folder.filePath(QString::fromUtf8(name)); }
    QVariant remembered() const { return tovSettings().value(QStringLiteral("lastGrabImageDirectory")); }

    CommandProcessor* processor = Overseer::getInstance()->getCommandProcessor();
    TemporarySettings settings;
    QTemporaryDir folder;
    ScenePanel* panel = nullptr;
    GrabImage* command = nullptr;
};

void expectRecord(const LogCapture& log, int level, const QString& message)
{
    const auto found = log.withMessage(message);
    ASSERT_EQ(found.size(), 1u) << log.text();
    EXPECT_EQ(found[0].level, level);
    EXPECT_EQ(found[0].file, "commands/grabimage");
    EXPECT_EQ(found[0].function, "execute");
    EXPECT_TRUE(found[0].category.isEmpty());
}

} // namespace

TEST_F(GrabImageTest, DescribesItself)
{
    EXPECT_STREQ(GrabImage::CommandName, "grabimage");
    EXPECT_TRUE(GrabImage::m_Registered);
    EXPECT_EQ(command->getDescriptor()->getName(), "grabimage");
    EXPECT_EQ(command->getDescriptor()->getDescription(), "Grabs an image of the scene");
    const auto* gui = command->getGUIDescriptor();
    ASSERT_TRUE(gui);
    EXPECT_EQ(gui->getFlag(), 1);
    EXPECT_EQ(gui->getGroup(), "Grab");
    EXPECT_EQ(gui->getPosition().value(), 10);
    EXPECT_EQ(gui->getCommandName(), "grabimage");
    EXPECT_EQ(gui->getLabel(), "Image");
    ASSERT_TRUE(gui->getIcon());
    const QImage icon = gui->getIcon()->pixmap(512, 512).toImage();
    EXPECT_FALSE(icon.isNull());
    EXPECT_EQ(icon, QIcon(QStringLiteral(":/module_grab/image/grabscene.png")).pixmap(512, 512).toImage());
    EXPECT_NE(icon, QIcon(QStringLiteral(":/module_grab/image/grabvideo.png")).pixmap(512, 512).toImage());
    EXPECT_EQ(command->getInstanceMode(), 3);
    EXPECT_FALSE(command->isUndoable());
    EXPECT_FALSE(command->isRecordedInMacros());
    ASSERT_EQ(command->getParameterSets().size(), 1u);
    const ParameterSet* set = command->getParameterSets()[0];
    EXPECT_EQ(set->getId(), 1);
    EXPECT_EQ(set->getTitle(), "");
    ASSERT_EQ(set->size(), 2u);
    EXPECT_EQ(set->at(0)->getName(), "filename");
    EXPECT_EQ(set->at(0)->getDescription(), "Imagefilename to save grab");
    EXPECT_TRUE(set->at(0)->getDefaultParameterForDefaultGUI().isNull());
    EXPECT_TRUE(dynamic_cast<FileParameterPanelFactory*>(set->at(0)->getParameterPanelFactory()));
    EXPECT_EQ(*set->at(0)->getType(), typeid(QString));
    EXPECT_EQ(set->at(1)->getName(), "width");
    EXPECT_EQ(set->at(1)->getDescription(), "Width of the grabbed image");
    EXPECT_EQ(set->at(1)->getDefaultParameterForDefaultGUI(), "10000");
    EXPECT_EQ(*set->at(1)->getType(), typeid(int));
}

TEST_F(GrabImageTest, IsEnabledExactlyWhileAPanelIsAnnounced)
{
    EXPECT_FALSE(command->isDisabled());
    Viewer::getInstance()->setActivePanel(nullptr);
    EXPECT_TRUE(command->isDisabled());
    Viewer::getInstance()->setActivePanel(panel);
    EXPECT_FALSE(command->isDisabled());
    Viewer::getInstance()->setActivePanel(nullptr);
    GrabImage* late = new GrabImage;
    EXPECT_TRUE(late->isDisabled()) << "until a panel is announced";
    processor->drain();
    EXPECT_TRUE(late->isDisabled());
    Viewer::getInstance()->setActivePanel(panel);
    EXPECT_FALSE(late->isDisabled());
    processor->destroyCommand(late);
}

TEST_F(GrabImageTest, SavesEveryFormatReadablyAndInTheRightSize)
{
    for (const char* name : {"a.png", "b.jpg", "c.bmp", "d.tiff", "e.webp", "f.ppm", "G.PNG"}) {
        LogCapture log;
        run(path(name), QStringLiteral("300"));
        expectRecord(log, 4000, QStringLiteral("Image saved to '%1'").arg(path(name)));
        QImageReader reader(path(name));
        EXPECT_EQ(reader.read().size(), QSize(300, 225)) << name << ": " << reader.errorString().toStdString();
    }
    EXPECT_EQ(remembered().toString(), folder.path());
}

TEST_F(GrabImageTest, TheHeightFollowsFromThePanelAndIsTruncated)
{
    run(path("a.png"), QStringLiteral("1000"));
    EXPECT_EQ(QImageReader(path("a.png")).size(), QSize(1000, 750));
    panel->resize(641, 480);
    run(path("b.png"), QStringLiteral("101"));
    EXPECT_EQ(QImageReader(path("b.png")).size(), QSize(101, 75)) << "75.63 truncated";
    panel->resize(100, 29);
    run(path("c.png"), QStringLiteral("100"));
    EXPECT_EQ(QImageReader(path("c.png")).size(), QSize(100, 28)) << "the quotient comes first: 0.29 * 100 < 29";
}

TEST_F(GrabImageTest, ReportsItsProgressUnderTheWaitCursor)
{
    QStringList texts;
    QList<int> cursors;
    tov::util::ZProgressDialog::setPresenter([&](const tov::util::ZProgressDialog::Update& update) {
        if (update.finished)
            return;
        texts << command->getText();
        cursors << (QGuiApplication::overrideCursor() ? int(QGuiApplication::overrideCursor()->shape()) : -1);
    });
    command->updateProcessed(50);
    run(path("a.png"), QStringLiteral("64"));
    tov::util::ZProgressDialog::setPresenter({});
    ASSERT_FALSE(texts.isEmpty());
    // The command continues while its progress is shown.
    EXPECT_TRUE(texts.first() == "Building tiles" || texts.first() == "Saving image") << texts.first().toStdString();
    EXPECT_EQ(cursors.first(), int(Qt::WaitCursor));
    EXPECT_EQ(command->getText(), "Saving image");
    EXPECT_EQ(command->getProcessed(), -1);
    Overseer::getInstance()->processWorkers();
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(GrabImageTest, VirtualFunctionsStartWithDestructorsParametersAndWidgetThenCloneAbortExecute)
{
    void** table = *reinterpret_cast<void***>(static_cast<Command*>(command));
    const auto symbol = [table](int slot) {
        Dl_info info{};
        return dladdr(table[slot], &info) && info.dli_sname ? std::string(info.dli_sname) : std::string();
    };
    EXPECT_NE(symbol(0).find("GrabImageD"), std::string::npos);
    EXPECT_NE(symbol(1).find("GrabImageD0"), std::string::npos) << "the deleting destructor";
    EXPECT_NE(symbol(7).find("GrabImage7execute"), std::string::npos);
    // Compared by address: compilers merge equal functions under either name.
    const std::pair<int, const char*> inherited[] = {{3, "_ZN3tov4main7Command12getGUIWindowEv"},
                                                     {4, "_ZN3tov4main7Command16getCommandWidgetEv"},
                                                     {5, "_ZNK3tov4main7Command5cloneEv"},
                                                     {6, "_ZN3tov4main7Command5abortEv"}};
    EXPECT_NE(symbol(2).find("7Command13setParameters"), std::string::npos);
    for (const auto& [slot, name] : inherited) {
        ASSERT_TRUE(dlsym(RTLD_DEFAULT, name)) << name;
        EXPECT_EQ(table[slot], dlsym(RTLD_DEFAULT, name)) << name;
    }
}

TEST_F(GrabImageTest, FilesWithoutAKnownExtensionAreRefused)
{
    for (const char* name : {"a.xyz", "a", "png", "a.png.txt"}) {
        LogCapture log;
        run(path(name), QStringLiteral("64"));
        expectRecord(log, 2000, QStringLiteral("No valid image file extension selected"));
        EXPECT_FALSE(QFile::exists(path(name)));
    }
    EXPECT_FALSE(remembered().isValid());
}

TEST_F(GrabImageTest, TooSmallPicturesAreRefusedAndTheDirectoryIsNotStored)
{
    const std::pair<const char*, const char*> rows[] = {
        {"1", "Target picture (1 x 0) size is to small!"},
        {"2", "Target picture (2 x 1) size is to small!"},
        {"0", "Target picture (0 x 0) size is to small!"},
        {"-7", "Target picture (-7 x -5) size is to small!"},
        {"-2147483648", "Target picture (-2147483648 x -1610612736) size is to small!"},
    };
    for (const auto& [width, message] : rows) {
        LogCapture log;
        run(path("a.png"), QString::fromLatin1(width));
        expectRecord(log, 2000, QString::fromLatin1(message));
    }
    panel->resize(1000, 10);
    LogCapture log;
    run(path("a.png"), QStringLiteral("199"));
    expectRecord(log, 2000, QStringLiteral("Target picture (199 x 1) size is to small!"));
    EXPECT_FALSE(remembered().isValid());
    EXPECT_FALSE(QFile::exists(path("a.png")));
}

TEST_F(GrabImageTest, APictureThatCannotBeAllocatedIsReportedAndTheDirectoryStored)
{
    LogCapture log;
    run(path("a.png"), QStringLiteral("2147483647"));
    expectRecord(log, 2000, QStringLiteral("Couldn't create image buffer with size (2147483647 x 1610612735)"));
    EXPECT_EQ(remembered().toString(), folder.path());
    Overseer::getInstance()->processWorkers();
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(GrabImageTest, AHeightOutOfRangeIsTheLargestInt)
{
    panel->resize(100, 400);
    LogCapture log;
    run(path("a.png"), QStringLiteral("2147483647"));
    expectRecord(log, 2000, QStringLiteral("Couldn't create image buffer with size (2147483647 x 2147483647)"));
}

TEST_F(GrabImageTest, ThePanelIsQueriedInTurnWithOtherWorkers)
{
    ParameterSet* set = command->getCurrentParameterSet();
    ASSERT_TRUE(set->at(0)->castString(path("a.png")));
    ASSERT_TRUE(set->at(1)->castString(QStringLiteral("100")));
    std::atomic<int> id{0};
    std::atomic<bool> done{false};
    // Earlier workers run first, even slow ones; here the one that resizes the panel.
    std::thread thread([&] {
        id = threadId();
        Overseer::getInstance()->post([&] {
            while (!done && threadState(id) != 'S')
                std::this_thread::yield();
            panel->resize(200, 400);
        });
        command->execute();
        done = true;
    });
    EXPECT_TRUE(processUntil([&] { return done.load(); }));
    thread.join();
    EXPECT_EQ(QImageReader(path("a.png")).size(), QSize(100, 200));
}

TEST_F(GrabImageTest, APipeWithoutAReaderIsRefusedAtOnce)
{
    LogCapture log;
    const QString name = path("pipe.png");
    ASSERT_EQ(mkfifo(QFile::encodeName(name).constData(), 0600), 0);
    run(name, QStringLiteral("64"));
    expectRecord(log, 2000, QStringLiteral("Couldn't save image '%1'!").arg(name));
}

TEST_F(GrabImageTest, APipeWithAReaderIsWritten)
{
    LogCapture log;
    const QString name = path("read.png");
    ASSERT_EQ(mkfifo(QFile::encodeName(name).constData(), 0600), 0);
    const int reader = ::open(QFile::encodeName(name).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    // Small enough for the buffer of the pipe.
    run(name, QStringLiteral("64"));
    expectRecord(log, 4000, QStringLiteral("Image saved to '%1'").arg(name));
    QByteArray bytes(65536, '\0');
    const auto count = ::read(reader, bytes.data(), std::size_t(bytes.size()));
    ::close(reader);
    ASSERT_GT(count, 0);
    EXPECT_EQ(QImage::fromData(bytes.left(int(count))).size(), QSize(64, 48));
}

TEST_F(GrabImageTest, TextsForTheUserAreTranslatedAndRecordsAreNot)
{
    const MarkingTranslator marker;
    {
        GrabImage translated;
        EXPECT_EQ(translated.getGUIDescriptor()->getGroup(), "tr:Grab");
        EXPECT_EQ(translated.getGUIDescriptor()->getLabel(), "tr:Image");
        EXPECT_EQ(translated.getDescriptor()->getDescription(), "Grabs an image of the scene");
        const ParameterSet* set = translated.getCurrentParameterSet();
        EXPECT_EQ(set->at(0)->getDescription(), "tr:Imagefilename to save grab");
        EXPECT_EQ(set->at(1)->getDescription(), "tr:Width of the grabbed image");
        std::unique_ptr<QFileDialog> dialog(translated.createSaveDialog());
        EXPECT_EQ(dialog->windowTitle(), "tr:Save Image");
        EXPECT_TRUE(dialog->nameFilters().contains(QStringLiteral("PNG-File (*.png)")));
        processor->drain();
    }
    LogCapture log;
    run(path("a.png"), QStringLiteral("64"));
    EXPECT_EQ(command->getText(), "tr:Saving image");
    expectRecord(log, 4000, QStringLiteral("Image saved to '%1'").arg(path("a.png")));
    run(path("a.none"), QStringLiteral("64"));
    expectRecord(log, 2000, QStringLiteral("No valid image file extension selected"));
    run(path("a.png"), QStringLiteral("1"));
    expectRecord(log, 2000, QStringLiteral("Target picture (1 x 0) size is to small!"));
}

TEST_F(GrabImageTest, AFileThatCannotBeSavedIsReportedAndTheDirectoryStored)
{
    LogCapture log;
    const QString name = path("missing/B\xc3\xa4r.png");
    run(name, QStringLiteral("64"));
    expectRecord(log, 2000, QStringLiteral("Couldn't save image '%1'!").arg(name));
    EXPECT_EQ(remembered().toString(), path("missing"));
    Overseer::getInstance()->processWorkers();
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(GrabImageTest, ParametersThatCannotBeResolved)
{
    LogCapture log;
    ConsoleCapture console;
    run(QString(), QStringLiteral("64"));
    EXPECT_EQ(console.lines(), QStringList{"Parameter failure"});
    EXPECT_TRUE(log.records().empty()) << log.text();
    run(path("a.png"), QString());
    expectRecord(log, 4000, QStringLiteral("Parameter failure"));
    EXPECT_EQ(console.lines().size(), 1);
}

TEST_F(GrabImageTest, AClosedPanelEndsTheCommandWithoutARecord)
{
    Viewer::getInstance()->closePanel(panel);
    panel = nullptr;
    LogCapture log;
    run(path("a.png"), QStringLiteral("64"));
    EXPECT_TRUE(log.records().empty()) << log.text();
    EXPECT_FALSE(QFile::exists(path("a.png")));
}

TEST_F(GrabImageTest, OtherParameterSetsDoNothing)
{
    command->setCurrentParameterSetId(5);
    LogCapture log;
    ASSERT_TRUE(processor->processCommand(command, 1, true)->succeeded());
    EXPECT_TRUE(log.records().empty());
}

TEST_F(GrabImageTest, ASetWithoutParametersDoesNothing)
{
    auto& parameters = const_cast<std::vector<AbstractParameter*>&>(command->getCurrentParameterSet()->getParameters());
    std::vector<AbstractParameter*> kept;
    kept.swap(parameters);
    LogCapture log;
    ConsoleCapture console;
    EXPECT_TRUE(processor->processCommand(command, 1, true)->succeeded());
    EXPECT_TRUE(log.records().empty()) << log.text();
    EXPECT_TRUE(console.lines().isEmpty());
    kept.swap(parameters);
}

TEST_F(GrabImageTest, TheProposedWidthOnAPanelOf4To3Is10000By7500)
{
    useScene(nullptr); // only the size matters
    const QString width = command->getCurrentParameterSet()->at(1)->getDefaultParameterForDefaultGUI();
    run(path("large.png"), width);
    EXPECT_EQ(QImageReader(path("large.png")).size(), QSize(10000, 7500));
}

TEST_F(GrabImageTest, NoEventIsFiredWhenAPictureIsDone)
{
    int fired = 0;
    const void* key = &fired;
    EventManager::getInstance()->registerEventFunction(
        tov::events::EventHandler::getInstance()->addEvent("Grab", "PICTURE_GRABBED"),
        [&fired](const Event*) { ++fired; }, key);
    run(path("a.png"), QStringLiteral("64"));
    QImage image(32, 24, QImage::Format_ARGB32);
    const auto transform = panel->getScaledTransformMatrix();
    processor->processCommand(new GrabImage(&image, &transform, panel), 1, true);
    EventManager::getInstance()->unregisterAllEventFunctionsOf(key);
    EXPECT_TRUE(QFile::exists(path("a.png")));
    EXPECT_EQ(fired, 0);
}

TEST_F(GrabImageTest, ABlankPictureIsSavedAsWell)
{
    useScene(nullptr);
    LogCapture log;
    run(path("a.png"), QStringLiteral("64"));
    expectRecord(log, 4000, QStringLiteral("Image saved to '%1'").arg(path("a.png")));
    EXPECT_EQ(QImage(path("a.png")).pixel(5, 5), 0u);
}

TEST_F(GrabImageTest, TheDialogOffersEveryFormatAndTheLastDirectory)
{
    tovSettings().setValue(QStringLiteral("lastGrabImageDirectory"), folder.path());
    const std::unique_ptr<QFileDialog> dialog(command->createSaveDialog());
    QStringList expected;
    for (const QByteArray& format : QImageWriter::supportedImageFormats())
        expected << QString::fromLatin1(format.toUpper() + "-File (*." + format.toLower() + ")");
    EXPECT_EQ(dialog->nameFilters(), expected);
    EXPECT_TRUE(expected.contains(QStringLiteral("PNG-File (*.png)")));
    EXPECT_EQ(dialog->windowTitle(), "Save Image");
    EXPECT_EQ(dialog->acceptMode(), QFileDialog::AcceptSave);
    EXPECT_EQ(dialog->fileMode(), QFileDialog::AnyFile);
    EXPECT_EQ(dialog->defaultSuffix(), "png");
    EXPECT_EQ(dialog->directory().absolutePath(), folder.path());
    EXPECT_EQ(dialog->parent(), nullptr);
    // The editor of the parameter creates the same dialog.
    auto* factory =
        dynamic_cast<FileParameterPanelFactory*>(command->getCurrentParameterSet()->at(0)->getParameterPanelFactory());
    const std::unique_ptr<QFileDialog> other(factory->createDialog());
    EXPECT_EQ(other->windowTitle(), "Save Image");
}

TEST_F(GrabImageTest, TheProgrammaticFormFillsTheCallersImage)
{
    QImage image(320, 200, QImage::Format_ARGB32);
    image.fill(0);
    image.setDotsPerMeterX(11811); // 300 dots per inch
    const auto transform = panel->getScaledTransformMatrix();
    auto* programmatic = new GrabImage(&image, &transform, panel);
    EXPECT_EQ(programmatic->getCurrentParameterSetId(), 10000);
    EXPECT_EQ(programmatic->getInstanceMode(), 0);
    EXPECT_TRUE(programmatic->isOneShot());
    EXPECT_FALSE(programmatic->isUndoable());
    EXPECT_FALSE(programmatic->isRecordedInMacros());
    EXPECT_FALSE(programmatic->isDisabled());
    EXPECT_EQ(programmatic->getGUIDescriptor(), nullptr);
    EXPECT_EQ(programmatic->getDescriptor()->getName(), "grabimage");
    EXPECT_EQ(programmatic->getDescriptor()->getDescription(), "Grabs an image of the scene");
    ASSERT_EQ(programmatic->getParameterSets().size(), 1u);
    const ParameterSet* set = programmatic->getParameterSets().at(0);
    EXPECT_EQ(set->getId(), 10000);
    EXPECT_EQ(set->getTitle(), "");
    ASSERT_EQ(set->size(), 3u);
    const std::type_info* const types[] = {&typeid(QImage), &typeid(tov::math::Matrix4), &typeid(ScenePanel)};
    const char* const names[] = {"image", "transform", "scenepanel"};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(set->at(i)->getName(), QLatin1String(names[i]));
        EXPECT_EQ(set->at(i)->getDescription(), "noDesc");
        EXPECT_TRUE(set->at(i)->getDefaultText().isEmpty());
        EXPECT_TRUE(set->at(i)->getDefaultParameterForDefaultGUI().isNull());
        EXPECT_EQ(set->at(i)->getParameterPanelFactory(), nullptr);
        EXPECT_TRUE(*set->at(i)->getType() == *types[i]);
        EXPECT_FALSE(set->at(i)->deletesOnSet()) << "it does not own the value";
    }
    EXPECT_EQ(set->at(0)->getValuePointer(), &image);
    EXPECT_EQ(set->at(1)->getValuePointer(), &transform);
    EXPECT_EQ(set->at(2)->getValuePointer(), panel);
    LogCapture log;
    bool cursorChanged = false;
    tov::util::ZProgressDialog::setPresenter([&cursorChanged](const tov::util::ZProgressDialog::Update&) {
        cursorChanged = cursorChanged || QGuiApplication::overrideCursor();
    });
    programmatic->updateProcessed(50);
    const auto run = processor->processCommand(programmatic, 1, true);
    tov::util::ZProgressDialog::setPresenter({});
    EXPECT_FALSE(cursorChanged);
    EXPECT_TRUE(run->succeeded());
    EXPECT_EQ(run->getText(), "Grabbing image with 299 dpi");
    EXPECT_EQ(run->getProcessed(), -1);
    EXPECT_TRUE(log.records().empty()) << log.text();
    EXPECT_EQ(qAlpha(image.pixel(160, 100)), 255);
    EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0);
    EXPECT_TRUE(QDir(folder.path()).isEmpty());
}

TEST_F(GrabImageTest, BothFormsGiveTheSamePicture)
{
    run(path("a.png"), QStringLiteral("640"));
    QImage image(640, 480, QImage::Format_ARGB32);
    const auto transform = panel->getScaledTransformMatrix();
    processor->processCommand(new GrabImage(&image, &transform, panel), 1, true);
    const QImage saved(path("a.png"));
    ASSERT_EQ(saved.size(), image.size());
    for (int y = 0; y < 480; ++y)
        for (int x = 0; x < 640; ++x)
            ASSERT_EQ(saved.pixel(x, y), image.pixel(x, y));
}

TEST_F(GrabImageTest, TheDestructorUnsubscribes)
{
    auto* other = new GrabImage;
    processor->drain();
    processor->destroyCommand(other);
    Viewer::getInstance()->announceActivePanel(); // the sanitizers would detect a call of a deleted command
    EXPECT_FALSE(command->isDisabled());
}

namespace {

QStringList criticalMessages;

void keepCritical(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtCriticalMsg)
        criticalMessages << message;
}

} // namespace

TEST_F(GrabImageTest, ValuesOfTheWrongTypeAreIgnored)
{
    QImage image(32, 24, QImage::Format_ARGB32);
    const auto transform = panel->getScaledTransformMatrix();
    for (const int wrong : {0, 1, 2}) {
        image.fill(0x01020304);
        auto* programmatic = new GrabImage(&image, &transform, panel);
        // The last set is used.
        auto* set = new ParameterSet(10000);
        for (int i = 0; i < 3; ++i) {
            AbstractParameter* parameter = nullptr;
            if (i == wrong)
                parameter = new Parameter<int>(QStringLiteral("wrong"), QString());
            else if (i == 0)
                parameter = new Parameter<QImage>(QStringLiteral("image"), QString());
            else if (i == 1)
                parameter = new Parameter<tov::math::Matrix4>(QStringLiteral("transform"), QString());
            else
                parameter = new Parameter<ScenePanel>(QStringLiteral("scenepanel"), QString());
            parameter->disableDeleteOnSet(true);
            if (i != wrong)
                parameter->setValuePointer(i == 0   ? static_cast<void*>(&image)
                                           : i == 1 ? const_cast<tov::math::Matrix4*>(&transform)
                                                    : static_cast<void*>(panel));
            set->addParameter(parameter);
        }
        programmatic->addParameterSet(set);
        criticalMessages.clear();
        const auto before = qInstallMessageHandler(keepCritical);
        const auto run = processor->processCommand(programmatic, 1, true);
        qInstallMessageHandler(before);
        EXPECT_TRUE(run->succeeded());
        EXPECT_EQ(criticalMessages, QStringList{"Invalid type!"}) << wrong;
        // The picture does not need the panel.
        EXPECT_EQ(image.pixel(16, 12) != 0x01020304u, wrong == 2) << wrong;
    }
}

TEST_F(GrabImageTest, TheProgrammaticFormWithoutImageOrViewDoesNothing)
{
    QImage image(32, 24, QImage::Format_ARGB32);
    image.fill(0x01020304);
    const auto transform = panel->getScaledTransformMatrix();
    EXPECT_TRUE(processor->processCommand(new GrabImage(nullptr, &transform, panel), 1, true)->succeeded());
    EXPECT_TRUE(processor->processCommand(new GrabImage(&image, nullptr, panel), 1, true)->succeeded());
    EXPECT_EQ(image.pixel(16, 12), 0x01020304u);
}
