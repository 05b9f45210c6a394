#include "app/viewer/glyphs.h"

#include <QApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>

#include <cmath>

namespace tov::viewer {

namespace {

constexpr double Pi = 3.14159265358979323846;

/// Glyphs are drawn on a grid of 24 by 24.
constexpr double Grid = 24;

QPolygonF triangle(double left, double right)
{
    return QPolygonF({QPointF(left, 5), QPointF(right, 12), QPointF(left, 19)});
}

void arrowHead(QPainter& painter, const QPointF& tip, double degrees, double length)
{
    const double angle = degrees * Pi / 180;
    const auto turned = [&](double x, double y) {
        return tip + QPointF(x * std::cos(angle) - y * std::sin(angle), x * std::sin(angle) + y * std::cos(angle));
    };
    painter.drawPolygon(QPolygonF({tip, turned(-length, -length * 0.6), turned(-length, length * 0.6)}));
}

/// The glyphs of pictures and videos, with the same pen as the others.
void paintCaptureGlyph(QPainter& painter, Glyph glyph, const QColor& color)
{
    switch (glyph) {
    case Glyph::Record:
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(224, 40, 40, color.alpha()));
        painter.drawEllipse(QPointF(12, 12), 7, 7);
        break;
    case Glyph::Snapshot:
        painter.drawRoundedRect(QRectF(2.5, 7, 19, 12.5), 2, 2);
        painter.drawPolyline(QPolygonF({QPointF(8, 7), QPointF(9.5, 4.5), QPointF(14.5, 4.5), QPointF(16, 7)}));
        painter.drawEllipse(QPointF(12, 13), 3.6, 3.6);
        break;
    case Glyph::ExportPicture:
        painter.drawRoundedRect(QRectF(3, 4.5, 18, 15), 1.5, 1.5);
        painter.drawPolyline(
            QPolygonF({QPointF(4, 18), QPointF(9.5, 11), QPointF(13, 15), QPointF(16, 12.5), QPointF(20, 17)}));
        painter.drawEllipse(QPointF(16, 8.5), 1.3, 1.3);
        break;
    case Glyph::ExportVideo:
        painter.drawRoundedRect(QRectF(3, 4.5, 18, 15), 1.5, 1.5);
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        painter.drawPolygon(QPolygonF({QPointF(10, 8.5), QPointF(16, 12), QPointF(10, 15.5)}));
        break;
    default:
        break;
    }
}

void paintGlyph(QPainter& painter, Glyph glyph, const QColor& color)
{
    QPen pen(color, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    const auto filled = [&] {
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
    };
    switch (glyph) {
    case Glyph::Open: {
        QPainterPath folder;
        folder.moveTo(3, 19);
        folder.lineTo(3, 5);
        folder.lineTo(9, 5);
        folder.lineTo(11, 7.5);
        folder.lineTo(20, 7.5);
        folder.lineTo(20, 10.5);
        painter.drawPath(folder);
        painter.drawPolygon(QPolygonF({QPointF(3, 19), QPointF(6, 10.5), QPointF(22, 10.5), QPointF(19, 19)}));
        break;
    }
    case Glyph::Turntable:
        painter.drawArc(QRectF(3, 9, 18, 9), 30 * 16, 300 * 16);
        filled();
        arrowHead(painter, QPointF(18.6, 10.2), 215, 5.5);
        painter.drawEllipse(QPointF(12, 6.5), 3, 3);
        break;
    case Glyph::Previous:
        filled();
        painter.drawPolygon(QPolygonF({QPointF(18, 5), QPointF(8, 12), QPointF(18, 19)}));
        painter.drawRect(QRectF(5, 5, 2.4, 14));
        break;
    case Glyph::Next:
        filled();
        painter.drawPolygon(triangle(6, 16));
        painter.drawRect(QRectF(16.6, 5, 2.4, 14));
        break;
    case Glyph::Play:
        filled();
        painter.drawPolygon(triangle(7, 19));
        break;
    case Glyph::Pause:
        filled();
        painter.drawRect(QRectF(6.5, 5, 4, 14));
        painter.drawRect(QRectF(13.5, 5, 4, 14));
        break;
    case Glyph::Loop:
        painter.drawArc(QRectF(4, 5, 16, 14), 60 * 16, 270 * 16);
        filled();
        arrowHead(painter, QPointF(19.2, 8.6), 70, 6);
        break;
    case Glyph::Camera:
        painter.drawRoundedRect(QRectF(2.5, 7, 12.5, 10.5), 2, 2);
        painter.drawPolygon(QPolygonF({QPointF(15.5, 12), QPointF(21.5, 8), QPointF(21.5, 16.5)}));
        break;
    case Glyph::Close:
        painter.drawLine(QPointF(6.5, 6.5), QPointF(17.5, 17.5));
        painter.drawLine(QPointF(17.5, 6.5), QPointF(6.5, 17.5));
        break;
    case Glyph::Warning:
        painter.drawPolygon(QPolygonF({QPointF(12, 3.5), QPointF(21.5, 20), QPointF(2.5, 20)}));
        painter.drawLine(QPointF(12, 9.5), QPointF(12, 14.5));
        painter.drawPoint(QPointF(12, 17.3));
        break;
    case Glyph::Done:
        painter.drawPolyline(QPolygonF({QPointF(4.5, 12.5), QPointF(9.8, 18), QPointF(19.5, 6.5)}));
        break;
    default:
        paintCaptureGlyph(painter, glyph, color);
    }
}

class GlyphEngine : public QIconEngine
{
public:
    explicit GlyphEngine(Glyph glyph) : m_Glyph(glyph) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const auto role = mode == QIcon::Selected ? QPalette::HighlightedText : QPalette::ButtonText;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const double edge = std::min(rect.width(), rect.height());
        painter->translate(rect.x() + (rect.width() - edge) / 2, rect.y() + (rect.height() - edge) / 2);
        painter->scale(edge / Grid, edge / Grid);
        paintGlyph(*painter, m_Glyph, QApplication::palette().color(group, role));
        painter->restore();
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }
    QIconEngine* clone() const override { return new GlyphEngine(m_Glyph); }

private:
    Glyph m_Glyph;
};

} // namespace

QIcon glyphIcon(Glyph glyph)
{
    return QIcon(new GlyphEngine(glyph));
}

void paintApplicationIcon(QPainter& painter, const QRectF& square)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    // A cube in isometric projection: six corners 60 degrees apart, the seventh in the middle.
    const QPointF middle = square.center();
    const double edge = square.height() * 0.46;
    const auto corner = [&](double degrees) {
        const double angle = degrees * Pi / 180;
        return middle + QPointF(edge * std::cos(angle), -edge * std::sin(angle));
    };
    const auto face = [&](double first, const QColor& color) {
        painter.setPen(QPen(color.darker(130), square.height() / 100));
        painter.setBrush(color);
        painter.drawPolygon(QPolygonF({middle, corner(first), corner(first + 60), corner(first + 120)}));
    };
    face(30, QColor(122, 186, 255));
    face(150, QColor(64, 128, 214));
    face(270, QColor(40, 88, 160));
    painter.restore();
}

QIcon applicationIcon()
{
    QIcon icon;
    for (int edge : {16, 24, 32, 48, 64, 128, 256}) {
        QPixmap pixmap(edge, edge);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paintApplicationIcon(painter, QRectF(0, 0, edge, edge));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace tov::viewer
