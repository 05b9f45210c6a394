#include "app/viewer/gizmo.h"

#include "scene/view/scenepanel.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace tov::viewer {

using tov::gui::ScenePanel;
using tov::scene::StandardView;

namespace {

constexpr int Edge = 92;
constexpr int Distance = 6; ///< from the edges of the view
constexpr double Reach = 32;
constexpr double EndRadius = 9;
/// Views smaller than this have no room for it.
constexpr int LeastPanelEdge = 180;
/// A drag across the gizmo turns the view by this much.
constexpr double DragDegrees = 180;
constexpr int ClickReach = 4;
/// An end that is nearer than this points to the viewer.
constexpr double Facing = 0.9999;

const QColor AxisColors[3] = {QColor(226, 70, 82), QColor(110, 168, 36), QColor(54, 130, 232)};
const char* const AxisNames[3] = {"X", "Y", "Z"};

/// From where each end is seen, negative and positive.
const StandardView Sides[3][2] = {{StandardView::Left, StandardView::Right},
                                  {StandardView::Bottom, StandardView::Top},
                                  {StandardView::Back, StandardView::Front}};

} // namespace

Gizmo::Gizmo(ScenePanel* panel) : QWidget(panel), mp_Panel(panel)
{
    setObjectName(QStringLiteral("Gizmo"));
    setAccessibleName(tr("Axes of the scene"));
    setToolTip(tr("Click an end of an axis for the view from there; drag to turn the view"));
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_NoMousePropagation);
    resize(Edge, Edge);
    connect(panel, &ScenePanel::drawn, this, &Gizmo::follow);
    place();
}

void Gizmo::setWanted(bool wanted)
{
    m_Wanted = wanted;
    place();
}

void Gizmo::place()
{
    move(mp_Panel->QWidget::width() - Edge - Distance, Distance);
    setVisible(m_Wanted && std::min(mp_Panel->QWidget::width(), mp_Panel->QWidget::height()) >= LeastPanelEdge);
}

void Gizmo::follow()
{
    const auto rotation = mp_Panel->getShownCamera().rotation;
    if (rotation == m_Rotation)
        return;
    m_Rotation = rotation;
    update();
}

std::array<Gizmo::End, 6> Gizmo::getEnds() const
{
    std::array<End, 6> ends;
    for (std::size_t i = 0; i < ends.size(); ++i) {
        const std::size_t axis = i / 2;
        const double sign = i % 2 == 1 ? 1 : -1;
        const auto column = static_cast<unsigned int>(axis);
        ends[i] = {Sides[axis][i % 2], axis, i % 2 == 1,
                   QPointF(Edge / 2.0 + sign * Reach * m_Rotation(0, column),
                           Edge / 2.0 - sign * Reach * m_Rotation(1, column)),
                   sign * m_Rotation(2, column)};
    }
    std::stable_sort(ends.begin(), ends.end(), [](const End& a, const End& b) { return a.depth < b.depth; });
    return ends;
}

std::optional<Gizmo::End> Gizmo::endAt(const QPointF& position) const
{
    const auto ends = getEnds();
    for (auto end = ends.rbegin(); end != ends.rend(); ++end)
        if (std::hypot(position.x() - end->position.x(), position.y() - end->position.y()) <= EndRadius + 1)
            return *end;
    return std::nullopt;
}

void Gizmo::choose(const QPointF& position)
{
    const auto end = endAt(position);
    if (!end)
        return;
    // A click on the end that points to the viewer shows the opposite side.
    emit sideChosen(end->depth > Facing ? Sides[end->axis][end->isPositive ? 0 : 1] : end->side);
}

void Gizmo::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPointF middle(Edge / 2.0, Edge / 2.0);
    if (underMouse()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(128, 128, 128, 70));
        painter.drawEllipse(middle, Edge / 2.0, Edge / 2.0);
    }
    QFont font = painter.font();
    font.setPixelSize(11);
    font.setBold(true);
    painter.setFont(font);
    for (const End& end : getEnds()) {
        QColor color = AxisColors[end.axis];
        if (end.depth < -0.1)
            color = color.darker(140);
        const QRectF circle(end.position - QPointF(EndRadius, EndRadius), QSizeF(2 * EndRadius, 2 * EndRadius));
        painter.setPen(QPen(color, 2));
        if (end.isPositive) {
            painter.drawLine(middle, end.position);
            painter.setBrush(color);
            painter.drawEllipse(circle.adjusted(1, 1, -1, -1));
            painter.setPen(Qt::white);
            painter.drawText(circle, Qt::AlignCenter, QLatin1String(AxisNames[end.axis]));
        } else {
            const bool isInFront = end.depth > Facing;
            QColor filling = color;
            filling.setAlpha(isInFront ? 255 : 90);
            painter.setBrush(filling);
            painter.drawEllipse(circle.adjusted(2, 2, -2, -2));
            if (isInFront) {
                painter.setPen(Qt::white);
                painter.drawText(circle, Qt::AlignCenter, QLatin1Char('-') + QLatin1String(AxisNames[end.axis]));
            }
        }
    }
}

void Gizmo::mousePressEvent(QMouseEvent* event)
{
    m_Pressed = m_Last = event->pos();
    m_IsDragged = false;
    emit pressed();
}

void Gizmo::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton))
        return;
    if (!m_IsDragged && (event->pos() - m_Pressed).manhattanLength() < ClickReach)
        return;
    m_IsDragged = true;
    const QPointF by = event->pos() - m_Last;
    m_Last = event->pos();
    emit turned(by.x() * DragDegrees / Edge, by.y() * DragDegrees / Edge);
}

void Gizmo::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && !m_IsDragged)
        choose(event->localPos());
}

void Gizmo::enterEvent(QEvent* event)
{
    update();
    QWidget::enterEvent(event);
}

void Gizmo::leaveEvent(QEvent* event)
{
    update();
    QWidget::leaveEvent(event);
}

} // namespace tov::viewer
