// The share of a frame that skinning takes: 100000 vertices and 100 joints, all of them moving, drawn at 1280 x 720.
// Prints one row of a Markdown table.
//
//     bench_skinning

#include "plugins/platform/select/headless.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/drawing/sharedcontext.h"
#include "scene/geometryelement.h"
#include "scene/model.h"
#include "scene/scene.h"
#include "scene/scenelocker.h"
#include "scene/sceneview.h"
#include "scene/view/viewer.h"
#include "tests/scene/shapes.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>

#include <GL/gl.h>

#include <algorithm>
#include <cstdio>
#include <vector>

using tov::math::Matrix4;
using namespace tov::scene;

namespace {

constexpr std::size_t JointCount = 100;
constexpr int Width = 1280, Height = 720, Frames = 41;

/// A sphere that every vertex shares among four joints.
GeometryElement* skinnedSphere(const std::vector<SceneElement*>& joints)
{
    Geometry geometry = tov::test::sphere(223);
    auto skin = std::make_shared<Skin>();
    skin->joints = joints;
    skin->inverseBind.assign(joints.size(), Matrix4::identity());
    geometry.skin = skin;
    geometry.jointGroups = 1;
    for (std::size_t i = 0; i < geometry.positions.size() / 3; ++i)
        for (std::size_t k = 0; k < 4; ++k) {
            geometry.joints.push_back(std::uint16_t((i / 100 + k) % joints.size()));
            geometry.weights.push_back(0.25f);
        }
    return new GeometryElement(QStringLiteral("sphere"), std::move(geometry));
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

class Measurement
{
public:
    Measurement()
    {
        for (std::size_t i = 0; i < JointCount; ++i)
            m_Joints.push_back(new SceneElement(QStringLiteral("joint")));
        std::vector<SceneElement*> children(m_Joints);
        children.push_back(skinnedSphere(m_Joints));
        Viewer::getInstance()->getGlobalScene()->setRootNode(tov::test::rootOf(children));
    }
    /// Milliseconds of moving the joints; the shape follows when the edit ends.
    double move(int frame)
    {
        QElapsedTimer clock;
        clock.start();
        const auto scene = Viewer::getInstance()->getGlobalScene();
        {
            SceneEdit edit(scene.get(), SceneLocker::LockTransforms);
            for (std::size_t i = 0; i < JointCount; ++i)
                m_Joints[i]->setTransform(translation({0.001 * double(frame % 7), 0.0001 * double(i), 0}));
        }
        return double(clock.nsecsElapsed()) / 1e6;
    }
    double draw()
    {
        QElapsedTimer clock;
        clock.start();
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        Matrix4 view = Matrix4::identity();
        view(2, 3) = -3;
        m_Drawer.resize(Width, Height);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glFrustum(-0.76, 0.76, -0.4274, 0.4274, 1, 10000);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        m_Drawer.glDraw(Viewer::getInstance()->getGlobalScene()->getRootNode(), nullptr, view, 0.0, 3, 7);
        glReadPixels(0, 0, Width, Height, GL_BGRA, GL_UNSIGNED_BYTE, m_Pixels.data());
        return double(clock.nsecsElapsed()) / 1e6;
    }

private:
    std::vector<SceneElement*> m_Joints; ///< owned by the scene
    SceneDrawer m_Drawer{Viewer::getInstance()->getGlobalScene()};
    std::vector<unsigned char> m_Pixels = std::vector<unsigned char>(std::size_t(Width) * Height * 4);
};

} // namespace

int main(int argc, char** argv)
{
    tov::platform::setDefaultFormat();
    tov::platform::prepareHeadless(QStringLiteral(TOV_BINARY_DIR "/bin/plugins"));
    QApplication application(argc, argv);
    if (!Viewer::getInstance()->initialize())
        return 1;
    QOpenGLContext context;
    context.setShareContext(_GlobalContext()->glContext());
    QOffscreenSurface surface;
    surface.create();
    if (!context.create() || !context.makeCurrent(&surface))
        return 1;
    {
        QOpenGLFramebufferObject target(Width, Height, QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D,
                                        GL_RGBA8);
        target.bind();
        Measurement measurement;
        std::vector<double> moves, draws, shares;
        for (int frame = 0; frame < Frames; ++frame) {
            moves.push_back(measurement.move(frame));
            draws.push_back(measurement.draw());
            shares.push_back(moves.back() / (moves.back() + draws.back()));
        }
        std::printf(
            "| skinning of 100000 vertices with 100 joints, share of a frame | %.2f of %.2f ms | %.3f | at most "
            "0.15 | %s |\n",
            median(moves), median(moves) + median(draws), median(shares),
            median(shares) <= 0.15 ? "reached" : "missed");
        Viewer::getInstance()->getGlobalScene()->setRootNode(nullptr);
    }
    context.doneCurrent();
    return 0;
}
