#include "app/viewer/lookpanel.h"

#include "kernel/main/settings.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/drawing/scenelook.h"
#include "scene/import/environmentfile.h"
#include "scene/view/viewer.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace tov::viewer {

using tov::scene::SceneDrawer;
using tov::scene::SceneLook;
using tov::scene::Viewer;

namespace {

const QString BackgroundKey = QStringLiteral("settings/background");
const QString SamplesKey = QStringLiteral("settings/multisampling");

QColor background()
{
    return SceneDrawer(Viewer::getInstance()->getGlobalScene()).getBackgroundColor();
}

template <typename Value>
void select(QComboBox* box, Value value)
{
    const QSignalBlocker blocker(box);
    box->setCurrentIndex(box->findData(int(value)));
}

/// The value of a percentage field as a share; `current` if the field shows it, because the field rounds.
double shareIn(const QDoubleSpinBox* box, double current)
{
    return qFuzzyCompare(box->value(), QString::number(current * 100, 'f', box->decimals()).toDouble())
               ? current
               : box->value() / 100;
}

void showColor(QPushButton* button, const QColor& color)
{
    QPixmap swatch(32, 16);
    swatch.fill(color);
    button->setIcon(QIcon(swatch));
    button->setIconSize(swatch.size());
    button->setText(color.name());
}

} // namespace

LookPanel::LookPanel(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("LookPanel"));
    createFields();
    arrange();
    refresh();
}

void LookPanel::createFields()
{
    mp_Light = new QComboBox(this);
    mp_Light->setObjectName(QStringLiteral("Light"));
    mp_Light->addItem(tr("Studio"), int(SceneLook::Light::Studio));
    mp_Light->addItem(tr("Headlight"), int(SceneLook::Light::Headlight));
    mp_Light->addItem(tr("None, plain colours"), int(SceneLook::Light::None));
    mp_Light->addItem(tr("Environment picture ..."), int(SceneLook::Light::Environment));
    connect(mp_Light, QOverload<int>::of(&QComboBox::activated), this, &LookPanel::chooseLight);
    mp_Exposure = new QDoubleSpinBox(this);
    mp_Exposure->setObjectName(QStringLiteral("Exposure"));
    mp_Exposure->setRange(0.1, 10);
    mp_Exposure->setSingleStep(0.1);
    connect(mp_Exposure, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, &LookPanel::apply);
    mp_Show = new QComboBox(this);
    mp_Show->setObjectName(QStringLiteral("Show"));
    mp_Show->addItem(tr("Surface"), int(SceneLook::Show::Surface));
    mp_Show->addItem(tr("Surface with edges"), int(SceneLook::Show::SurfaceWithEdges));
    mp_Show->addItem(tr("Wireframe"), int(SceneLook::Show::Wireframe));
    mp_Show->addItem(tr("Points"), int(SceneLook::Show::Points));
    mp_Edges = new QCheckBox(tr("Sharp and open edges"), this);
    mp_Edges->setObjectName(QStringLiteral("FeatureEdges"));
    mp_Flat = new QCheckBox(tr("Flat triangles"), this);
    mp_Flat->setObjectName(QStringLiteral("Flat"));
    for (QCheckBox* box : {mp_Edges, mp_Flat})
        connect(box, &QCheckBox::toggled, this, &LookPanel::apply);
    mp_PointSize = createShare(QStringLiteral("PointSize"));
    mp_LineWidth = createShare(QStringLiteral("LineWidth"));
    mp_IsOneColor = new QCheckBox(tr("One colour for everything"), this);
    mp_IsOneColor->setObjectName(QStringLiteral("IsOneColor"));
    connect(mp_IsOneColor, &QCheckBox::toggled, this, &LookPanel::apply);
    mp_Color = new QPushButton(this);
    mp_Color->setObjectName(QStringLiteral("Color"));
    connect(mp_Color, &QPushButton::clicked, this, &LookPanel::chooseColor);
    mp_Background = new QPushButton(this);
    mp_Background->setObjectName(QStringLiteral("Background"));
    connect(mp_Background, &QPushButton::clicked, this, &LookPanel::chooseBackground);
    mp_Samples = new QComboBox(this);
    mp_Samples->setObjectName(QStringLiteral("LookSamples"));
    for (int count : {0, 2, 4, 8})
        mp_Samples->addItem(count == 0 ? tr("Off") : tr("%1 samples").arg(count), count);
    for (QComboBox* box : {mp_Show, mp_Samples})
        connect(box, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &LookPanel::apply);
}

/// A field for a percentage of the picture's height.
QDoubleSpinBox* LookPanel::createShare(const QString& name)
{
    auto* box = new QDoubleSpinBox(this);
    box->setObjectName(name);
    box->setRange(0.05, 20);
    box->setDecimals(2);
    box->setSingleStep(0.05);
    box->setSuffix(tr(" % of the height"));
    connect(box, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, &LookPanel::apply);
    return box;
}

void LookPanel::arrange()
{
    auto* form = new QFormLayout;
    form->addRow(tr("Light:"), mp_Light);
    form->addRow(tr("Exposure:"), mp_Exposure);
    form->addRow(tr("Show:"), mp_Show);
    form->addRow(QString(), mp_Edges);
    form->addRow(QString(), mp_Flat);
    form->addRow(tr("Points:"), mp_PointSize);
    form->addRow(tr("Lines:"), mp_LineWidth);
    form->addRow(QString(), mp_IsOneColor);
    form->addRow(tr("Colour:"), mp_Color);
    form->addRow(tr("Background:"), mp_Background);
    form->addRow(tr("Anti-aliasing:"), mp_Samples);
    auto* standard = new QPushButton(tr("Reset"), this);
    standard->setObjectName(QStringLiteral("ResetLook"));
    connect(standard, &QPushButton::clicked, this, &LookPanel::reset);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(standard, 0, Qt::AlignRight);
    layout->addStretch(1);
}

void LookPanel::refresh()
{
    const SceneLook look = SceneDrawer::getLook();
    select(mp_Light, look.light);
    select(mp_Show, look.show);
    select(mp_Samples, look.samples);
    const QSignalBlocker exposure(mp_Exposure), edges(mp_Edges), flat(mp_Flat), points(mp_PointSize),
        lines(mp_LineWidth), oneColor(mp_IsOneColor);
    mp_Exposure->setValue(look.exposure);
    mp_Exposure->setEnabled(look.light != SceneLook::Light::None);
    mp_Edges->setChecked(look.hasFeatureEdges);
    mp_Flat->setChecked(look.isFlat);
    mp_PointSize->setValue(look.pointSize * 100);
    mp_LineWidth->setValue(look.lineWidth * 100);
    mp_IsOneColor->setChecked(look.color.has_value());
    if (look.color)
        m_OneColor = *look.color;
    mp_Color->setEnabled(look.color.has_value());
    showColor(mp_Color, m_OneColor);
    showColor(mp_Background, background());
}

void LookPanel::apply()
{
    SceneLook look = SceneDrawer::getLook();
    look.exposure = mp_Exposure->value();
    look.show = SceneLook::Show(mp_Show->currentData().toInt());
    look.hasFeatureEdges = mp_Edges->isChecked();
    look.isFlat = mp_Flat->isChecked();
    look.samples = mp_Samples->currentData().toInt();
    look.pointSize = shareIn(mp_PointSize, look.pointSize);
    look.lineWidth = shareIn(mp_LineWidth, look.lineWidth);
    look.color = mp_IsOneColor->isChecked() ? std::optional<QColor>(m_OneColor) : std::nullopt;
    mp_Color->setEnabled(mp_IsOneColor->isChecked());
    SceneDrawer::setLook(look);
    tovSettings().setValue(SamplesKey, look.samples);
    Viewer::getInstance()->redraw();
    emit changed();
}

void LookPanel::chooseLight(int index)
{
    SceneLook look = SceneDrawer::getLook();
    look.light = SceneLook::Light(mp_Light->itemData(index).toInt());
    if (look.light == SceneLook::Light::Environment) {
        const QString fileName =
            QFileDialog::getOpenFileName(this, tr("Environment picture"), QString(), tr("Radiance pictures (*.hdr)"));
        QString error;
        if (!fileName.isEmpty())
            look.environment = tov::scene::readEnvironment(fileName, &error);
        look.environmentFile = QFileInfo(fileName).absoluteFilePath();
        if (!error.isEmpty())
            emit failed(error);
        if (fileName.isEmpty() || !error.isEmpty()) {
            refresh();
            return;
        }
    }
    SceneDrawer::setLook(look);
    refresh();
    Viewer::getInstance()->redraw();
    emit changed();
}

void LookPanel::chooseBackground()
{
    const QColor color = QColorDialog::getColor(background(), this, tr("Background"));
    if (!color.isValid())
        return;
    SceneDrawer::setBackgroundColor(color);
    tovSettings().setValue(BackgroundKey, color.name());
    refresh();
    Viewer::getInstance()->redraw();
    emit changed();
}

void LookPanel::chooseColor()
{
    const QColor color = QColorDialog::getColor(m_OneColor, this, tr("Colour"));
    if (!color.isValid())
        return;
    m_OneColor = color;
    showColor(mp_Color, color);
    apply();
}

void LookPanel::reset()
{
    SceneLook look;
    // These are set elsewhere.
    look.samples = SceneDrawer::getLook().samples;
    look.clip = SceneDrawer::getLook().clip;
    SceneDrawer::setLook(look);
    refresh();
    Viewer::getInstance()->redraw();
    emit changed();
}

} // namespace tov::viewer
