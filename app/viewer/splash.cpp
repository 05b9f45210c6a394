#include "app/viewer/splash.h"

#include <QApplication>
#include <QLinearGradient>
#include <QPainter>

#include <cmath>

namespace tov::viewer {

namespace {

constexpr int Width = 460;
constexpr int Height = 220;

QPixmap picture(qreal ratio)
{
    QPixmap pixmap(QSize(Width, Height) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, Height);
    sky.setColorAt(0, QColor(38, 52, 74));
    sky.setColorAt(1, QColor(20, 26, 38));
    painter.fillRect(0, 0, Width, Height, sky);
    // A cube in isometric projection: its six corners lie 60 degrees apart, the seventh in the middle.
    const QPointF middle(Width - 110, 100);
    const double edge = 62;
    const auto corner = [&](double degrees) {
        const double angle = degrees * 3.14159265358979323846 / 180;
        return middle + QPointF(edge * std::cos(angle), -edge * std::sin(angle));
    };
    const auto face = [&](double first, const QColor& color) {
        painter.setPen(QPen(color.darker(130), 1));
        painter.setBrush(color);
        painter.drawPolygon(QPolygonF({middle, corner(first), corner(first + 60), corner(first + 120)}));
    };
    face(30, QColor(122, 186, 255));
    face(150, QColor(64, 128, 214));
    face(270, QColor(40, 88, 160));
    painter.setPen(Qt::white);
    QFont font = QApplication::font();
    font.setPixelSize(58);
    font.setBold(true);
    painter.setFont(font);
    painter.drawText(QPointF(28, 96), QStringLiteral("tov"));
    font.setPixelSize(14);
    font.setBold(false);
    painter.setFont(font);
    painter.setPen(QColor(200, 212, 230));
    painter.drawText(QPointF(30, 124), QCoreApplication::applicationVersion());
    painter.drawText(QPointF(30, 148), Splash::tr("3D scenes, pictures and videos"));
    return pixmap;
}

} // namespace

Splash::Splash() : QSplashScreen(picture(qApp->devicePixelRatio())) {}

void Splash::say(const QString& message)
{
    m_Messages << message;
    showMessage(QStringLiteral("  ") + message, Qt::AlignLeft | Qt::AlignBottom, QColor(220, 228, 240));
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

} // namespace tov::viewer
