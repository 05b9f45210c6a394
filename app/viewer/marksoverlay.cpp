#include "app/viewer/marksoverlay.h"

#include "app/viewer/measurecontrols.h"
#include "app/viewer/viewmarks.h"
#include "scene/sceneview.h"
#include "scene/view/scenepanel.h"

#include <QEvent>
#include <QLocale>
#include <QPainter>

#include <cmath>

namespace tov::viewer {

using tov::gui::ScenePanel;
using tov::scene::Box;
using tov::scene::Vector3;

namespace {

const QColor BoxColor(255, 176, 32);
const QColor MeasureColor(255, 255, 255);
const QColor OutlineColor(0, 0, 0, 150);
const QColor AxisColors[3] = {QColor(240, 90, 100), QColor(130, 190, 60), QColor(90, 160, 250)};
const char* const AxisNames[3] = {"X", "Y", "Z"};
constexpr double PointRadius = 4;

/// A corner by its number from 0 to 7: bit 0 is x, bit 1 y, bit 2 z.
Vector3 cornerOf(const Box& box, unsigned int corner)
{
    Vector3 point;
    for (std::size_t axis = 0; axis < 3; ++axis)
        point[axis] = (corner >> axis & 1u ? box.high : box.low)[axis];
    return point;
}

/// The corner that all other corners of the box hide: its three edges are on the far side.
unsigned int farthestCorner(const Box& box, const tov::scene::Camera& camera)
{
    unsigned int farthest = 0;
    double least = 1e300;
    for (unsigned int corner = 0; corner < 8; ++corner) {
        const Vector3 point = cornerOf(box, corner);
        double nearness = 0;
        for (unsigned int axis = 0; axis < 3; ++axis)
            nearness += camera.rotation(2, axis) * point[axis];
        if (nearness < least) {
            least = nearness;
            farthest = corner;
        }
    }
    return farthest;
}

QString number(double value)
{
    return QLocale().toString(value, 'g', 4);
}

} // namespace

MarksOverlay::MarksOverlay(ScenePanel* panel, const ViewMarks* marks) : QWidget(panel), mp_Panel(panel), mp_Marks(marks)
{
    setObjectName(QStringLiteral("MarksOverlay"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    panel->installEventFilter(this);
    connect(panel, &ScenePanel::drawn, this, [this] {
        if (isVisible())
            update();
    });
    connect(marks, &ViewMarks::changed, this, &MarksOverlay::refresh);
    lower();
    refresh();
}

void MarksOverlay::refresh()
{
    setGeometry(0, 0, mp_Panel->QWidget::width(), mp_Panel->QWidget::height());
    setVisible(!mp_Marks->isEmpty());
    update();
}

bool MarksOverlay::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize)
        setGeometry(0, 0, mp_Panel->QWidget::width(), mp_Panel->QWidget::height());
    return QWidget::eventFilter(watched, event);
}

void MarksOverlay::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!mp_Marks->getBox().isEmpty()) {
        drawBox(painter);
        drawBoxSizes(painter);
    }
    if (mp_Marks->getFrom())
        drawMeasurement(painter);
}

void MarksOverlay::drawLine(QPainter& painter, const Vector3& from, const Vector3& to) const
{
    if (const auto line = mp_Panel->lineAt(from, to))
        painter.drawLine(*line);
}

void MarksOverlay::drawPoint(QPainter& painter, const Vector3& point) const
{
    if (const auto line = mp_Panel->lineAt(point, point))
        painter.drawEllipse(line->p1(), PointRadius, PointRadius);
}

void MarksOverlay::drawLabel(QPainter& painter, const QPointF& position, const QString& text) const
{
    QRectF box = painter.fontMetrics().boundingRect(text);
    box.adjust(-5, -2, 5, 2);
    box.moveCenter(position);
    // Labels of points near the edge stay readable.
    const QRectF room = QRectF(rect()).adjusted(2, 2, -2, -2);
    box.moveLeft(std::max(room.left(), std::min(box.left(), room.right() - box.width())));
    box.moveTop(std::max(room.top(), std::min(box.top(), room.bottom() - box.height())));
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(20, 22, 26, 200));
    painter.drawRoundedRect(box, 3, 3);
    painter.setPen(Qt::white);
    painter.drawText(box, Qt::AlignCenter, text);
}

void MarksOverlay::drawBox(QPainter& painter) const
{
    const Box& box = mp_Marks->getBox();
    const unsigned int hidden = farthestCorner(box, mp_Panel->getShownCamera());
    for (unsigned int corner = 0; corner < 8; ++corner)
        for (unsigned int axis = 0; axis < 3; ++axis) {
            const unsigned int other = corner ^ (1u << axis);
            if (other < corner)
                continue;
            const bool isBehind = corner == hidden || other == hidden;
            QColor color = BoxColor;
            color.setAlpha(isBehind ? 130 : 255);
            painter.setPen(QPen(color, isBehind ? 1 : 1.5, isBehind ? Qt::DotLine : Qt::SolidLine));
            drawLine(painter, cornerOf(box, corner), cornerOf(box, other));
        }
}

/// The size along each axis, at the edge that is farthest outside.
void MarksOverlay::drawBoxSizes(QPainter& painter) const
{
    const Box& box = mp_Marks->getBox();
    const auto centre = tov::scene::centreOf(box);
    const auto middle = mp_Panel->lineAt(centre, centre);
    if (!middle)
        return;
    const unsigned int hidden = farthestCorner(box, mp_Panel->getShownCamera());
    for (unsigned int axis = 0; axis < 3; ++axis) {
        double farthest = -1;
        QPointF position;
        for (unsigned int corner = 0; corner < 8; ++corner) {
            const unsigned int other = corner ^ (1u << axis);
            if (other < corner || corner == hidden || other == hidden)
                continue;
            const auto line = mp_Panel->lineAt(cornerOf(box, corner), cornerOf(box, other));
            if (!line)
                continue;
            const double distance = QLineF(middle->p1(), line->center()).length();
            if (distance > farthest) {
                farthest = distance;
                position = line->center();
            }
        }
        if (farthest >= 0)
            drawLabel(painter, position,
                      QLatin1String(AxisNames[axis]) + QLatin1Char(' ') + number(box.high[axis] - box.low[axis]));
    }
}

void MarksOverlay::drawMeasurement(QPainter& painter) const
{
    const Vector3 from = *mp_Marks->getFrom();
    if (mp_Marks->getTo()) {
        const Vector3 to = *mp_Marks->getTo();
        Vector3 step = from;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            Vector3 next = step;
            next[axis] = to[axis];
            painter.setPen(QPen(AxisColors[axis], 1, Qt::DashLine));
            drawLine(painter, step, next);
            step = next;
        }
        painter.setPen(QPen(OutlineColor, 4));
        drawLine(painter, from, to);
        painter.setPen(QPen(MeasureColor, 2));
        drawLine(painter, from, to);
    }
    painter.setPen(QPen(OutlineColor, 1.5));
    painter.setBrush(MeasureColor);
    drawPoint(painter, from);
    if (!mp_Marks->getTo())
        return;
    drawPoint(painter, *mp_Marks->getTo());
    if (const auto line = mp_Panel->lineAt(from, *mp_Marks->getTo()))
        drawLabel(painter, line->center(), number(distanceBetween(from, *mp_Marks->getTo())));
}

} // namespace tov::viewer
