#include "app/viewer/splash.h"

#include "app/viewer/glyphs.h"
#include <QApplication>
#include <QLinearGradient>
#include <QPainter>

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
    paintApplicationIcon(painter, QRectF(Width - 190, 30, 140, 140));
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

void Splash::showStartMessage(const QString& message)
{
    m_Messages << message;
    showMessage(QStringLiteral("  ") + message, Qt::AlignLeft | Qt::AlignBottom, QColor(220, 228, 240));
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

} // namespace tov::viewer
