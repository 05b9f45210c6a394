#include "app/viewer/trajectorybar.h"

#include "app/viewer/glyphs.h"
#include "kernel/main/settings.h"
#include "scene/view/paneloverlay.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/animationmotion.h"
#include "trajectory/pathlines.h"
#include "trajectory/trajectoryhandler.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QLabel>
#include <QMenu>
#include <QProxyStyle>
#include <QSlider>
#include <QToolButton>

#include <algorithm>
#include <cmath>

namespace tov::viewer {

using tov::trajectory::TrajectoryHandler;

namespace {

constexpr double DefaultFps = 25;

/// A click next to the handle of a slider moves the handle there.
class JumpingSliderStyle : public QProxyStyle
{
public:
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* result) const override
    {
        return hint == SH_Slider_AbsoluteSetButtons ? int(Qt::LeftButton)
                                                    : QProxyStyle::styleHint(hint, option, widget, result);
    }
};

} // namespace

TrajectoryBar::TrajectoryBar(QWidget* parent) : QToolBar(tr("Trajectory"), parent)
{
    setObjectName(QStringLiteral("TrajectoryBar"));
    auto* open = addAction(glyphIcon(Glyph::Open), tr("Open trajectory ..."));
    connect(open, &QAction::triggered, this, &TrajectoryBar::chooseFile);
    auto* turntable = addAction(glyphIcon(Glyph::Turntable), tr("Turntable ..."));
    connect(turntable, &QAction::triggered, this, [this] {
        bool accepted = false;
        const int count =
            QInputDialog::getInt(this, tr("Turntable"), tr("Positions of one turn:"), 100, 1, 100000, 1, &accepted);
        QString error;
        if (accepted && !TrajectoryHandler::getInstance()->selectTurntable(count, &error))
            emit failed(error);
    });
    addAnimationMenu();
    addSeparator();
    mp_Back = addAction(glyphIcon(Glyph::Previous), tr("Previous position"));
    mp_Play = addAction(glyphIcon(Glyph::Play), tr("Play"));
    mp_Play->setCheckable(true);
    mp_Forward = addAction(glyphIcon(Glyph::Next), tr("Next position"));
    connect(mp_Back, &QAction::triggered, this, [this] { step(-1); });
    connect(mp_Forward, &QAction::triggered, this, [this] { step(1); });
    mp_Loop = addAction(glyphIcon(Glyph::Loop), tr("Loop"));
    mp_Loop->setCheckable(true);
    mp_Loop->setToolTip(tr("Start again at the first position after the last one"));
    mp_Slider = new QSlider(Qt::Horizontal, this);
    mp_Slider->setObjectName(QStringLiteral("TrajectorySlider"));
    mp_Slider->setMinimumWidth(160);
    mp_Slider->setSingleStep(1);
    mp_Slider->setPageStep(1);
    auto* style = new JumpingSliderStyle;
    style->setParent(mp_Slider);
    mp_Slider->setStyle(style);
    addWidget(mp_Slider);
    mp_Label = new QLabel(this);
    mp_Label->setMinimumWidth(100);
    mp_Label->setAlignment(Qt::AlignCenter);
    addWidget(mp_Label);
    mp_Follow = addAction(glyphIcon(Glyph::Camera), tr("Camera follows"));
    mp_Follow->setCheckable(true);
    mp_Follow->setToolTip(tr("Whether the trajectory's camera moves the active view"));
    connect(mp_Follow, &QAction::toggled, this, [](bool follows) {
        if (auto* panel = tov::scene::Viewer::getInstance()->getActivePanel())
            panel->setFollowsTrajectory(follows);
    });
    addPathToggle();

    auto* handler = TrajectoryHandler::getInstance();
    connect(handler, &TrajectoryHandler::trajectoryChanged, this, &TrajectoryBar::refresh);
    connect(handler, &TrajectoryHandler::positionChanged, this, &TrajectoryBar::refresh);
    connect(mp_Slider, &QSlider::valueChanged, this, [this](int value) {
        auto* trajectory = TrajectoryHandler::getInstance();
        if (trajectory->getPosition() != static_cast<unsigned long>(value))
            trajectory->setPosition(value);
        tov::scene::Viewer::getInstance()->redraw();
    });
    m_Clock.setTimerType(Qt::PreciseTimer);
    connect(&m_Clock, &QTimer::timeout, this, [this] {
        auto* trajectory = TrajectoryHandler::getInstance();
        if (trajectory->getPosition() + 1 < trajectory->getCount())
            step(1);
        else if (mp_Loop->isChecked() && trajectory->getCount() > 1)
            step(-static_cast<int>(trajectory->getPosition()));
        else
            mp_Play->setChecked(false);
    });
    connect(mp_Play, &QAction::toggled, this, [this](bool play) {
        auto* trajectory = TrajectoryHandler::getInstance();
        mp_Play->setIcon(glyphIcon(play ? Glyph::Pause : Glyph::Play));
        mp_Play->setText(play ? tr("Pause") : tr("Play"));
        if (play && trajectory->getPosition() + 1 >= trajectory->getCount())
            trajectory->setPosition(0);
        play ? m_Clock.start() : m_Clock.stop();
    });
    refresh();
}

void TrajectoryBar::addPathToggle()
{
    const QString key = QStringLiteral("window/showpath");
    mp_ShowPath = addAction(tr("Show path"));
    mp_ShowPath->setObjectName(QStringLiteral("ShowPathAction"));
    mp_ShowPath->setCheckable(true);
    mp_ShowPath->setChecked(tovSettings().value(key, true).toBool());
    mp_ShowPath->setToolTip(tr("Draw the path of the trajectory in the views, not in pictures and videos"));
    connect(mp_ShowPath, &QAction::toggled, this, [this, key](bool shown) {
        tovSettings().setValue(key, shown);
        showPath();
    });
    connect(TrajectoryHandler::getInstance(), &TrajectoryHandler::trajectoryChanged, this, &TrajectoryBar::showPath);
}

void TrajectoryBar::showPath()
{
    tov::scene::setPanelOverlay(mp_ShowPath->isChecked() ? tov::trajectory::pathLines() : nullptr);
}

void TrajectoryBar::addAnimationMenu()
{
    auto* animations = new QMenu(tr("Animations"), this);
    animations->setObjectName(QStringLiteral("AnimationMenu"));
    connect(animations, &QMenu::aboutToShow, this, [this, animations] { listAnimations(animations); });
    auto* choose = new QToolButton(this);
    choose->setText(tr("Animations"));
    choose->setToolTip(tr("Play an animation of the models in the scene"));
    choose->setMenu(animations);
    choose->setPopupMode(QToolButton::InstantPopup);
    addWidget(choose);
}

void TrajectoryBar::listAnimations(QMenu* menu)
{
    menu->clear();
    const QStringList names = TrajectoryHandler::getInstance()->getAnimationNames();
    for (const QString& name : names) {
        QString label = name.isEmpty() ? tr("Without a name") : name;
        label.replace(QLatin1Char('&'), QLatin1String("&&"));
        connect(menu->addAction(label), &QAction::triggered, this, [this, name] { playAnimation(name); });
    }
    if (names.isEmpty())
        menu->addAction(tr("No animations"))->setEnabled(false);
}

void TrajectoryBar::playAnimation(const QString& name)
{
    QString error;
    if (!TrajectoryHandler::getInstance()->selectAnimation(name, getPlayback(), &error)) {
        emit failed(error);
        return;
    }
    mp_Play->setChecked(true);
}

tov::trajectory::PlaybackOptions TrajectoryBar::getPlayback()
{
    tov::trajectory::PlaybackOptions options;
    const double fps = tovSettings().value(QStringLiteral("settings/grabvideofps"), DefaultFps).toDouble();
    options.fps = fps >= 1 ? fps : DefaultFps;
    return options;
}

void TrajectoryBar::play()
{
    TrajectoryHandler::getInstance()->setPosition(0);
    mp_Play->setChecked(true);
}

void TrajectoryBar::step(int by)
{
    auto* trajectory = TrajectoryHandler::getInstance();
    const long long target = static_cast<long long>(trajectory->getPosition()) + by;
    if (target >= 0 && target < static_cast<long long>(trajectory->getCount())) {
        trajectory->setPosition(static_cast<unsigned long>(target));
        tov::scene::Viewer::getInstance()->redraw();
    }
}

void TrajectoryBar::refresh()
{
    auto* trajectory = TrajectoryHandler::getInstance();
    const auto count = trajectory->getCount();
    const bool usable = count > 0;
    const double fps = trajectory->getFrameRate() > 0 ? trajectory->getFrameRate() : DefaultFps;
    m_Clock.setInterval(std::max(1, int(std::lround(1000 / fps))));
    const QSignalBlocker blocker(mp_Slider);
    mp_Slider->setRange(0, usable ? int(count - 1) : 0);
    mp_Slider->setValue(int(trajectory->getPosition()));
    for (QWidget* widget : {static_cast<QWidget*>(mp_Slider), static_cast<QWidget*>(mp_Label)})
        widget->setEnabled(usable);
    if (!usable)
        mp_Play->setChecked(false);
    for (QAction* action : {mp_Play, mp_Back, mp_Forward, mp_Loop})
        action->setEnabled(usable);
    mp_Label->setText(usable ? tr("%1 of %2").arg(trajectory->getPosition() + 1).arg(count) : tr("No trajectory"));
    const auto* panel = tov::scene::Viewer::getInstance()->getActivePanel();
    const QSignalBlocker followBlocker(mp_Follow);
    mp_Follow->setChecked(!panel || panel->followsTrajectory());
}

bool TrajectoryBar::openFile(const QString& fileName)
{
    QString error;
    if (TrajectoryHandler::getInstance()->openFile(fileName, getPlayback(), &error))
        return true;
    emit failed(error);
    return false;
}

void TrajectoryBar::chooseFile()
{
    const QString key = QStringLiteral("window/lasttrajectorydirectory");
    const QString fileName =
        QFileDialog::getOpenFileName(this, tr("Open trajectory"), tovSettings().value(key).toString(),
                                     tr("Trajectories (*.csv *.tum *.txt *.json);;All files (*)"));
    if (fileName.isEmpty())
        return;
    tovSettings().setValue(key, QFileInfo(fileName).absolutePath());
    openFile(fileName);
}

} // namespace tov::viewer
