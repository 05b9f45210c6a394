#include "app/viewer/panelframe.h"

#include "app/viewer/flights.h"
#include "app/viewer/gizmo.h"
#include "app/viewer/standardviews.h"
#include "scene/view/scenepanel.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>

#include <cmath>

namespace tov::viewer {

using tov::gui::ScenePanel;

/// Covers the view and passes every event on to it.
class PanelFrame::Guide : public QWidget
{
public:
    explicit Guide(ScenePanel* panel) : QWidget(panel), mp_Panel(panel)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setFocusPolicy(Qt::NoFocus);
        hide();
    }

    double aspect = 0;

    /// The part of the panel that a picture of this aspect contains; it has the height of the panel.
    QRect area() const
    {
        if (!(aspect > 0))
            return QRect();
        const int shown = int(std::lround(height() * aspect));
        return shown > width() ? QRect() : QRect((width() - shown) / 2, 0, shown, height());
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        const QRect inside = area();
        if (inside.isNull()) {
            const QString text =
                PanelFrame::tr("The guide is wider than this view: a picture of that shape shows more on both sides.");
            const QRect box = painter.fontMetrics().boundingRect(QRect(0, 0, width() - 24, height()),
                                                                 int(Qt::TextWordWrap) | int(Qt::AlignHCenter), text);
            const QRect place((width() - box.width()) / 2 - 8, height() - box.height() - 14, box.width() + 16,
                              box.height() + 8);
            painter.fillRect(place, QColor(0, 0, 0, 150));
            painter.setPen(Qt::white);
            painter.drawText(place, int(Qt::TextWordWrap) | int(Qt::AlignCenter), text);
            return;
        }
        const QColor shade(0, 0, 0, 110);
        painter.fillRect(QRect(0, 0, inside.left(), height()), shade);
        painter.fillRect(QRect(inside.right() + 1, 0, width() - inside.right() - 1, height()), shade);
        painter.setPen(QColor(255, 255, 255, 200));
        painter.drawRect(inside.adjusted(0, 0, -1, -1));
    }

private:
    ScenePanel* mp_Panel;
};

PanelFrame::PanelFrame(QWidget* parent) : QFrame(parent)
{
    setObjectName(QStringLiteral("PanelFrame"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    mp_Panel = new ScenePanel(this);
    mp_Panel->setFocusPolicy(Qt::StrongFocus);
    mp_Panel->setMinimumSize(64, 48);
    mp_Panel->installEventFilter(this);
    mp_Panel->setFlightDuration(flightDuration());
    layout->addWidget(mp_Panel);
    mp_Guide = new Guide(mp_Panel);
    createGizmo();
    connect(mp_Panel, &ScenePanel::fitted, this, [this] { m_FittedView = mp_Panel->getScaledTransformMatrix(); });
}

void PanelFrame::createGizmo()
{
    mp_Gizmo = new Gizmo(mp_Panel);
    connect(mp_Gizmo, &Gizmo::pressed, mp_Panel, [panel = mp_Panel] { panel->setFocus(); });
    connect(mp_Gizmo, &Gizmo::turned, mp_Panel, &ScenePanel::orbit);
    connect(mp_Gizmo, &Gizmo::sideChosen, this, &PanelFrame::showSide);
}

void PanelFrame::showSide(tov::scene::StandardView side)
{
    const bool fits = isFitted();
    mp_Panel->fly([panel = mp_Panel, side, fits] {
        if (fits) {
            panel->setStandardView(side);
            return;
        }
        auto camera = panel->getCamera();
        camera.rotation = tov::scene::standardRotation(side);
        panel->setCamera(camera);
    });
}

bool PanelFrame::isFitted() const
{
    return mp_Panel->getScaledTransformMatrix() == m_FittedView;
}

void PanelFrame::refit()
{
    m_RefitPosted = false;
    if (isFitted())
        mp_Panel->fitToView();
}

void PanelFrame::setMarked(bool marked)
{
    m_Marked = marked;
    update();
}

void PanelFrame::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(rect(), palette().color(m_Marked ? QPalette::Highlight : QPalette::Window));
}

void PanelFrame::setGuideAspect(double aspect)
{
    mp_Guide->aspect = aspect;
    mp_Guide->setGeometry(0, 0, mp_Panel->width(), mp_Panel->height());
    mp_Guide->setVisible(aspect > 0);
    mp_Guide->update();
}

QRect PanelFrame::getGuide() const
{
    return mp_Guide->area();
}

bool PanelFrame::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::Resize:
        mp_Guide->setGeometry(0, 0, mp_Panel->width(), mp_Panel->height());
        mp_Gizmo->place();
        // The view has its new size after this event.
        if (!m_RefitPosted) {
            m_RefitPosted = true;
            QMetaObject::invokeMethod(
                this, [this] { refit(); }, Qt::QueuedConnection);
        }
        break;
    case QEvent::MouseButtonPress:
        m_Pressed = static_cast<QMouseEvent*>(event)->globalPos();
        break;
    case QEvent::MouseButtonRelease: {
        // The right button pans; pressed and released in one place, it opens the menu.
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::RightButton &&
            (mouse->globalPos() - m_Pressed).manhattanLength() < QApplication::startDragDistance())
            showMenu(mouse->globalPos());
        break;
    }
    case QEvent::ContextMenu:
        // From the keyboard only: the mouse is handled above.
        if (static_cast<QContextMenuEvent*>(event)->reason() == QContextMenuEvent::Keyboard)
            showMenu(mp_Panel->mapToGlobal(mp_Panel->rect().center()));
        return true;
    default:
        break;
    }
    return QFrame::eventFilter(watched, event);
}

void PanelFrame::showMenu(const QPoint& position)
{
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setObjectName(QStringLiteral("PanelMenu"));
    if (m_PartMenu) {
        m_PartMenu(menu, mp_Panel->mapFromGlobal(position));
        menu->addSeparator();
    }
    menu->addAction(tr("Fit to view"), mp_Panel, [panel = mp_Panel] { panel->fly([panel] { panel->fitToView(); }); });
    menu->addSeparator();
    for (const auto& [name, view] : standardViews())
        menu->addAction(name, mp_Panel, [panel = mp_Panel, view = view] {
            panel->fly([panel, view] { panel->setStandardView(view); });
        });
    menu->addSeparator();
    auto* follow = menu->addAction(tr("Camera follows the trajectory"), mp_Panel,
                                   [panel = mp_Panel](bool follows) { panel->setFollowsTrajectory(follows); });
    follow->setCheckable(true);
    follow->setChecked(mp_Panel->followsTrajectory());
    menu->addSeparator();
    menu->addAction(tr("Close this view"), this, &PanelFrame::closeRequested)->setEnabled(m_Closable);
    menu->popup(position);
}

} // namespace tov::viewer
