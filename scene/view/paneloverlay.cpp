#include "scene/view/paneloverlay.h"

#include "scene/view/viewer.h"

#include <GL/gl.h>

namespace tov::scene {

namespace {

std::shared_ptr<const PanelOverlay>& shownOverlay()
{
    static std::shared_ptr<const PanelOverlay> overlay;
    return overlay;
}

void setColor(PanelOverlay::Kind kind)
{
    if (kind == PanelOverlay::Kind::Path)
        glColor4ub(255, 150, 40, 255);
    else
        glColor4ub(90, 200, 255, 255);
}

} // namespace

void setPanelOverlay(std::shared_ptr<const PanelOverlay> overlay)
{
    shownOverlay() = std::move(overlay);
    Viewer::getInstance()->redraw();
}

std::shared_ptr<const PanelOverlay> getPanelOverlay()
{
    return shownOverlay();
}

void drawPanelOverlay(const PanelOverlay& overlay, const tov::math::Matrix4& matrix)
{
    glPushAttrib(GL_ENABLE_BIT | GL_LINE_BIT | GL_CURRENT_BIT);
    for (const GLenum what : {GL_LIGHTING, GL_CULL_FACE, GL_TEXTURE_2D})
        glDisable(what);
    glEnable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);
    // Smooth lines have pixels of other colours with some software drivers.
    glDisable(GL_LINE_SMOOTH);
    glLineWidth(2);
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadMatrixd(matrix.transposed().data());
    for (const PanelOverlay::Strip& strip : overlay.strips) {
        setColor(strip.kind);
        glBegin(GL_LINE_STRIP);
        for (const Vector3& point : strip.points)
            glVertex3dv(point.data());
        glEnd();
    }
    glPopMatrix();
    glPopAttrib();
}

} // namespace tov::scene
