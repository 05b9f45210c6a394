#include "app/viewer/clipcontrols.h"

#include "scene/drawing/scenedrawer.h"
#include "scene/scene.h"
#include "scene/sceneview.h"
#include "scene/view/viewer.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QSignalBlocker>
#include <QSlider>

#include <algorithm>
#include <cmath>

namespace tov::viewer {

using tov::scene::ClipPlane;
using tov::scene::SceneDrawer;
using tov::scene::SceneLook;
using tov::scene::Viewer;

namespace {

constexpr int SliderSteps = 1000;
constexpr int NoAxis = -1;

} // namespace

ClipControls::ClipControls(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("ClipControls"));
    createFields();
    auto* form = new QFormLayout(this);
    form->setContentsMargins(0, 0, 0, 0);
    form->addRow(tr("Axis:"), mp_Axis);
    form->addRow(tr("Position:"), mp_Position);
    form->addRow(mp_Slider);
    form->addRow(QString(), mp_Flip);
    refresh();
}

void ClipControls::createFields()
{
    mp_Axis = new QComboBox(this);
    mp_Axis->setObjectName(QStringLiteral("ClipAxis"));
    mp_Axis->addItem(tr("Off"), NoAxis);
    for (int axis = 0; axis < 3; ++axis)
        mp_Axis->addItem(QString(QLatin1Char("XYZ"[axis])), axis);
    connect(mp_Axis, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &ClipControls::chooseAxis);
    mp_Slider = new QSlider(Qt::Horizontal, this);
    mp_Slider->setObjectName(QStringLiteral("ClipSlider"));
    mp_Slider->setAccessibleName(tr("Position of the clip plane"));
    mp_Slider->setRange(0, SliderSteps);
    mp_Slider->setSingleStep(5);
    mp_Slider->setPageStep(50);
    connect(mp_Slider, &QSlider::valueChanged, this, [this](int value) {
        const double position = m_Low + (m_High - m_Low) * value / SliderSteps;
        const QSignalBlocker blocker(mp_Position);
        mp_Position->setValue(position);
        apply(position);
    });
    mp_Position = new QDoubleSpinBox(this);
    mp_Position->setObjectName(QStringLiteral("ClipPosition"));
    connect(mp_Position, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, [this](double position) {
        showPosition(position);
        apply(position);
    });
    mp_Flip = new QCheckBox(tr("Other side"), this);
    mp_Flip->setObjectName(QStringLiteral("ClipFlip"));
    connect(mp_Flip, &QCheckBox::toggled, this, [this] { apply(mp_Position->value()); });
}

void ClipControls::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    refresh();
}

void ClipControls::refresh()
{
    const auto clip = SceneDrawer::getLook().clip;
    {
        const QSignalBlocker axis(mp_Axis), flip(mp_Flip);
        mp_Axis->setCurrentIndex(mp_Axis->findData(clip ? int(clip->axis) : NoAxis));
        mp_Flip->setChecked(clip && clip->isFlipped);
    }
    updateRange();
    showPosition(clip ? clip->position : (m_Low + m_High) / 2);
    for (QWidget* widget :
         {static_cast<QWidget*>(mp_Slider), static_cast<QWidget*>(mp_Position), static_cast<QWidget*>(mp_Flip)})
        widget->setEnabled(clip.has_value());
}

void ClipControls::updateRange()
{
    const int axis = mp_Axis->currentData().toInt();
    const auto scene = Viewer::getInstance()->getGlobalScene();
    scene->lock();
    const tov::scene::Box box = tov::scene::visibleBox(scene->getRootNode());
    scene->unlock();
    m_Low = 0;
    m_High = 1;
    if (axis != NoAxis && !box.isEmpty()) {
        m_Low = box.low[std::size_t(axis)];
        m_High = box.high[std::size_t(axis)];
    }
    const double size = std::max(m_High - m_Low, 1e-9);
    const QSignalBlocker blocker(mp_Position);
    // About four digits of the size.
    mp_Position->setDecimals(std::clamp(4 - int(std::floor(std::log10(size))), 0, 9));
    mp_Position->setRange(m_Low - size, m_High + size);
    mp_Position->setSingleStep(size / 100);
}

void ClipControls::showPosition(double position)
{
    const QSignalBlocker slider(mp_Slider), field(mp_Position);
    mp_Position->setValue(position);
    const double share = m_High > m_Low ? (position - m_Low) / (m_High - m_Low) : 0;
    mp_Slider->setValue(int(std::lround(std::clamp(share, 0.0, 1.0) * SliderSteps)));
}

void ClipControls::chooseAxis()
{
    updateRange();
    apply((m_Low + m_High) / 2);
    refresh();
}

void ClipControls::apply(double position)
{
    SceneLook look = SceneDrawer::getLook();
    const int axis = mp_Axis->currentData().toInt();
    look.clip.reset();
    if (axis != NoAxis)
        look.clip = ClipPlane{std::size_t(axis), position, mp_Flip->isChecked()};
    SceneDrawer::setLook(look);
    Viewer::getInstance()->redraw();
    emit changed();
}

} // namespace tov::viewer
