#include "scene/drawing/sharedcontext.h"
#include "scene/globalscene.h"
#include "scene/sceneview.h"
#include "scene/view/paneloverlay.h"
#include "scene/view/panelstate.h"
#include "scene/view/scenepanel.h"

#include <QOpenGLContext>
#include <QElapsedTimer>
#include <QPainter>
#include <QResizeEvent>

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

namespace tov::gui {

using tov::scene::PictureHalfHeight;
using tov::scene::SceneDrawer;

void ScenePanel::initializeGL()
{
    d->drawer = std::make_unique<SceneDrawer>(tov::scene::_GlobalScene());
    d->drawer->setInteractive(true);
}

void ScenePanel::resizeGL(int, int) {}

void ScenePanel::paintGL()
{
    drawScene();
    drawGuideFrame();
    emit drawn();
    if (isFlying()) {
        noteMove();
        update();
    }
}

void ScenePanel::drawScene()
{
    auto* shared = tov::scene::_GlobalContext();
    const auto scene = tov::scene::_GlobalScene();
    const tov::math::Matrix4 matrix = d->shownMatrix();
    const double ratio = devicePixelRatioF();
    const int pixelsWide = std::max(1, int(std::lround(QOpenGLWidget::width() * ratio)));
    const int pixelsHigh = std::max(1, int(std::lround(QOpenGLWidget::height() * ratio)));
    shared->lock();
    scene->lock();
    QElapsedTimer clock;
    clock.start();
    d->drawer->setSketching(d->isMoving && d->frameMs > d->sketchAfterMs);
    const QColor background = d->drawer->getBackgroundColor();
    glClearColor(float(background.redF()), float(background.greenF()), float(background.blueF()), 1.0f);
    glShadeModel(GL_SMOOTH);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_LIGHTING);
    glEnable(GL_COLOR_MATERIAL);
    d->drawer->resize(pixelsWide, pixelsHigh);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    const double top = SceneDrawer::ZNEAR * PictureHalfHeight;
    const double right = top * pixelsWide / pixelsHigh;
    glFrustum(-right, right, -top, top, SceneDrawer::ZNEAR, SceneDrawer::ZFAR);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glEnable(GL_LIGHT0);
    d->drawer->glDraw(scene->getRootNode(), nullptr, matrix, 0.0, SceneDrawer::LayersOfPanel,
                      SceneDrawer::AllPrimitives);
    const auto overlay = tov::scene::getPanelOverlay();
    if (overlay && !(overlay->isOfCamera && d->follows))
        tov::scene::drawPanelOverlay(*overlay, matrix);
    // Otherwise drivers that draw in software would do the work later.
    glFinish();
    if (!d->drawer->hasSketched())
        d->frameMs = double(clock.nsecsElapsed()) / 1e6;
    scene->unlock();
    shared->unlock();
}

void ScenePanel::drawGuideFrame()
{
    const QRectF whole(0, 0, width(), height());
    const QRectF frame = getGuideFrame();
    if (frame == whole)
        return;
    QPainter painter(this);
    const QColor dim(0, 0, 0, 110);
    painter.fillRect(QRectF(whole.topLeft(), frame.bottomLeft()), dim);
    painter.fillRect(QRectF(frame.topRight(), whole.bottomRight()), dim);
    painter.setPen(QColor(255, 255, 255, 160));
    painter.drawLine(frame.topLeft(), frame.bottomLeft());
    painter.drawLine(frame.topRight(), frame.bottomRight());
}

void ScenePanel::setGuideAspect(double aspect)
{
    d->guideAspect = aspect > 0 && std::isfinite(aspect) ? aspect : 0;
    update();
}

double ScenePanel::getGuideAspect() const
{
    return d->guideAspect;
}

QRectF ScenePanel::getGuideFrame() const
{
    // Every picture shows the panel's whole height.
    const double frameWidth = d->guideAspect > 0 ? std::min(d->guideAspect * height(), double(width())) : width();
    return QRectF((width() - frameWidth) / 2, 0, frameWidth, height());
}

void ScenePanel::resizeEvent(QResizeEvent* event)
{
    updateSize();
    QOpenGLWidget::resizeEvent(event);
}

} // namespace tov::gui
