#include "app/viewer/exportpreview.h"

#include "app/viewer/pictureexport.h"
#include "app/viewer/viewpicture.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"

#include <QPainter>

namespace tov::viewer {

namespace {

const QSize Room(360, 220);
constexpr int CheckEdge = 8;
/// Share of each edge that stays outside the safe area for titles.
constexpr double SafeMargin = 0.05;

/// Grey squares, the usual sign of transparency.
void paintChecks(QPainter& painter, const QRect& area)
{
    for (int y = area.top(); y <= area.bottom(); y += CheckEdge)
        for (int x = area.left(); x <= area.right(); x += CheckEdge) {
            const bool light = ((x - area.left()) / CheckEdge + (y - area.top()) / CheckEdge) % 2 == 0;
            painter.fillRect(QRect(x, y, CheckEdge, CheckEdge) & area, light ? QColor(204, 204, 204) : Qt::white);
        }
}

} // namespace

ExportPreview::ExportPreview(tov::gui::ScenePanel* view, std::function<Shot()> shot, QWidget* parent)
    : QLabel(parent), mp_View(view), m_Shot(std::move(shot))
{
    setObjectName(QStringLiteral("Preview"));
    setAccessibleName(tr("Preview"));
    setFixedSize(Room);
    setAlignment(Qt::AlignCenter);
}

void ExportPreview::refresh()
{
    if (m_IsPending) {
        m_IsOutdated = true;
        return;
    }
    const Shot shot = m_Shot();
    const QSize size = shot.size.scaled(Room, Qt::KeepAspectRatio).expandedTo(QSize(2, 2));
    m_IsPending = bool(ViewPicture::take(mp_View, shot.transform, size, this,
                                         [this, transparent = shot.isTransparent](const QImage& picture) {
                                             m_IsPending = false;
                                             if (!picture.isNull())
                                                 show(picture, transparent);
                                             emit drawn();
                                             if (std::exchange(m_IsOutdated, false))
                                                 refresh();
                                         }));
    if (!m_IsPending)
        emit drawn();
}

void ExportPreview::show(const QImage& picture, bool isTransparent)
{
    QPixmap shown(picture.size());
    QPainter painter(&shown);
    const QRect area(QPoint(), picture.size());
    if (isTransparent) {
        paintChecks(painter, area);
        const tov::scene::SceneDrawer drawer(tov::scene::Viewer::getInstance()->getGlobalScene());
        painter.drawImage(0, 0, withoutBackground(picture, drawer.getBackgroundColor()));
    } else {
        painter.drawImage(0, 0, picture.convertToFormat(QImage::Format_RGB32));
    }
    const int marginX = int(area.width() * SafeMargin), marginY = int(area.height() * SafeMargin);
    painter.setPen(QPen(QColor(128, 128, 128, 160), 1, Qt::DashLine));
    painter.drawRect(area.adjusted(marginX, marginY, -marginX - 1, -marginY - 1));
    painter.end();
    setPixmap(shown);
}

} // namespace tov::viewer
