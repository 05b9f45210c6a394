#include "tests/grab/videofixture.h"

#include "grab/video/videoencoder.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/settings.h"
#include "scene/geometryelement.h"
#include "scene/scene.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/view/viewer.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/trajectoryhandler.h"
#include "trajectory/trajectoryinfo.h"

#include <QDir>
#include <QFile>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>

#include <GL/gl.h>
#include <GL/glu.h>

#include <sched.h>

namespace tov::test {

using tov::scene::Geometry;
using tov::scene::GeometryElement;
using tov::scene::SceneDrawer;
using tov::scene::SceneElement;
using tov::scene::Viewer;
using tov::trajectory::TrajectoryHandler;

namespace {

GeometryElement* box(const QString& name, float x, float y, float z, float half, const QColor& color)
{
    Geometry geometry;
    geometry.material = tov::scene::makeMaterial(color);
    const float corners[8][3] = {{-1, -1, -1}, {1, -1, -1}, {1, 1, -1}, {-1, 1, -1},
                                 {-1, -1, 1},  {1, -1, 1},  {1, 1, 1},  {-1, 1, 1}};
    for (const auto& corner : corners) {
        geometry.positions.push_back(x + half * corner[0]);
        geometry.positions.push_back(y + half * corner[1]);
        geometry.positions.push_back(z + half * corner[2]);
    }
    geometry.indices = {0, 2, 1, 0, 3, 2, 4, 5, 6, 4, 6, 7, 0, 1, 5, 0, 5, 4,
                        2, 3, 7, 2, 7, 6, 1, 2, 6, 1, 6, 5, 0, 4, 7, 0, 7, 3};
    return new GeometryElement(name, std::move(geometry));
}

} // namespace

void VideoFixture::SetUp()
{
    faults::clear();
    ASSERT_TRUE(Viewer::getInstance()->initialize()) << m_Log.text();
    qputenv("TMPDIR", m_Temporary.path().toLocal8Bit());
    // Red at the top, blue at the bottom right; the carrier is green.
    auto* root = new SceneElement(QStringLiteral("root"));
    root->addChild(box(QStringLiteral("top"), 0, 2, 0, 1, QColor(200, 30, 20)));
    root->addChild(box(QStringLiteral("right"), 2, -2, 0, 0.7f, QColor(20, 30, 200)));
    root->addChild(box(QStringLiteral("Carrier"), 0, 0, 0, 0.5f, QColor(20, 200, 40)));
    Viewer::getInstance()->getGlobalScene()->setRootNode(root);
    SceneDrawer::setBackgroundColor(QColor(12, 34, 56));
    auto* registry = tov::grab::video::VideoEncoder::getInstance();
    ASSERT_TRUE(registry->registerEncoder(CollectingEncoder::create, QStringLiteral("raw"),
                                          QStringLiteral("Raw frames"), &m_Journal));
}

void VideoFixture::TearDown()
{
    faults::clear();
    while (!Viewer::getInstance()->getPanels().empty())
        Viewer::getInstance()->closePanel(Viewer::getInstance()->getPanels().back());
    TrajectoryHandler::getInstance()->selectMode(TrajectoryHandler::ModeNone);
    Viewer::getInstance()->getGlobalScene()->setRootNode(nullptr);
    tov::grab::video::VideoEncoder::getInstance()->unloadPlugins();
    qunsetenv("TMPDIR");
    EXPECT_EQ(m_Journal.living, 0) << "an encoder was left behind";
    EXPECT_EQ(entryCount(m_Temporary.path()), 0) << "a temporary file was left behind";
}

tov::gui::ScenePanel* VideoFixture::newPanel(int width, int height)
{
    auto* panel = new tov::gui::ScenePanel;
    panel->resize(width, height);
    panel->setStandardView(tov::gui::ScenePanel::StandardView::Front);
    return panel;
}

void VideoFixture::selectPoints(unsigned long count)
{
    std::vector<tov::trajectory::Point> points;
    for (unsigned long i = 0; i < count; ++i)
        points.push_back({-1.0 + 0.1 * double(i % 20), 0.0, 0.5});
    auto* handler = TrajectoryHandler::getInstance();
    handler->getTrajectoryInfo()->setPoints(std::move(points));
    handler->getTrajectoryInfo()->setPosition(0);
    handler->selectMode(TrajectoryHandler::ModePlain);
}

void VideoFixture::setChunks(int megabytes, bool memory)
{
    tovSettings().setValue(QStringLiteral("settings/grabvideotempfilesize"), megabytes);
    tovSettings().setValue(QStringLiteral("settings/grabvideousememoryasbuffer"), memory);
}

std::set<std::string> threadNames()
{
    std::set<std::string> names;
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile comm(tasks.filePath(task + QStringLiteral("/comm")));
        if (comm.open(QIODevice::ReadOnly))
            names.insert(comm.readAll().trimmed().toStdString());
    }
    return names;
}

std::size_t threadCount()
{
    return std::size_t(entryCount(QStringLiteral("/proc/self/task")));
}

std::size_t descriptorCount()
{
    return std::size_t(entryCount(QStringLiteral("/proc/self/fd")));
}

int schedulingPolicy(const std::string& threadName)
{
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile stat(tasks.filePath(task + QStringLiteral("/stat")));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        const QByteArray line = stat.readAll();
        const int open = line.indexOf('('), close = line.lastIndexOf(')');
        if (open < 0 || close < open || line.mid(open + 1, close - open - 1).toStdString() != threadName)
            continue;
        // The state, after the name, is the third field; the policy is the 41st.
        const QList<QByteArray> fields = line.mid(close + 2).split(' ');
        return fields.size() > 38 ? fields[38].toInt() : -1;
    }
    return -1;
}

int entryCount(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot).size();
}

QByteArray renderedFrame(const tov::math::Matrix<double, 4u, 4u>& view, int width, int height)
{
    QByteArray frame(width * height * 4, '\0');
    auto* shared = tov::scene::_GlobalContext();
    QOpenGLContext context;
    context.setShareContext(shared->glContext());
    QOffscreenSurface surface;
    surface.setFormat(shared->glContext()->format());
    surface.create();
    if (!context.create() || !context.makeCurrent(&surface))
        return QByteArray();
    {
        QOpenGLFramebufferObject target(width, height, QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D,
                                        GL_RGBA8);
        const auto scene = Viewer::getInstance()->getGlobalScene();
        SceneDrawer drawer(scene);
        scene->lock();
        target.bind();
        const QColor background = drawer.getBackgroundColor();
        glClearColor(float(background.redF()), float(background.greenF()), float(background.blueF()), 0.0f);
        glShadeModel(GL_SMOOTH);
        glEnable(GL_DEPTH_TEST);
        glEnable(GL_LIGHTING);
        glEnable(GL_COLOR_MATERIAL);
        glViewport(0, 0, width, height);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        gluPerspective(45.0, double(width) / double(height), SceneDrawer::ZNEAR, SceneDrawer::ZFAR);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glEnable(GL_LIGHT0);
        drawer.glDraw(scene->getRootNode(), nullptr, view, 0.0, 65535, 7);
        glFinish();
        QByteArray upsideDown(frame.size(), '\0');
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(0, 0, width, height, GL_BGRA, GL_UNSIGNED_BYTE, upsideDown.data());
        for (int row = 0; row < height; ++row)
            memcpy(frame.data() + row * width * 4, upsideDown.constData() + (height - 1 - row) * width * 4,
                   std::size_t(width) * 4);
        target.release();
        scene->unlock();
    }
    context.doneCurrent();
    return frame;
}

} // namespace tov::test
