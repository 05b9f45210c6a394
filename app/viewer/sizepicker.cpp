#include "app/viewer/sizepicker.h"

#include "scene/view/scenepanel.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSpinBox>

#include <cmath>

namespace tov::viewer {

namespace {

/// The width of an A4 page's text, in inches (16 cm).
constexpr double PageWidthInches = 16 / 2.54;

} // namespace

QSize SizePicker::pixelsOf(const tov::gui::ScenePanel& view)
{
    const double ratio = view.devicePixelRatioF();
    return QSize(int(std::lround(view.width() * ratio)), int(std::lround(view.height() * ratio)));
}

std::vector<SizePicker::Preset> SizePicker::picturePresets(const QSize& viewSize, int dpi)
{
    const int pageWidth = int(std::lround(PageWidthInches * dpi));
    const int pageHeight = viewSize.width() > 0 ? pageWidth * viewSize.height() / viewSize.width() : pageWidth;
    return {{tr("1080p"), QSize(1920, 1080)},
            {tr("4K"), QSize(3840, 2160)},
            {tr("Square"), QSize(2048, 2048)},
            {tr("Page width, %1 dpi").arg(dpi), QSize(pageWidth, pageHeight)},
            {tr("As the view"), viewSize}};
}

std::vector<SizePicker::Preset> SizePicker::videoPresets(const QSize& viewSize)
{
    return {
        {tr("1080p"), QSize(1920, 1080)},   {tr("720p"), QSize(1280, 720)},
        {tr("4K"), QSize(3840, 2160)},      {tr("Square"), QSize(1080, 1080)},
        {tr("Upright"), QSize(1080, 1920)}, {tr("As the view"), QSize(viewSize.width() & ~1, viewSize.height() & ~1)}};
}

SizePicker::SizePicker(const std::vector<Preset>& presets, int step, int largest, QWidget* parent)
    : QWidget(parent), m_Presets(presets), mp_Preset(new QComboBox(this)), mp_Width(new QSpinBox(this)),
      mp_Height(new QSpinBox(this))
{
    mp_Preset->setObjectName(QStringLiteral("SizePreset"));
    for (const Preset& preset : m_Presets)
        mp_Preset->addItem(preset.name);
    mp_Preset->addItem(tr("Other"));
    mp_Width->setObjectName(QStringLiteral("Width"));
    mp_Width->setAccessibleName(tr("Width"));
    mp_Height->setObjectName(QStringLiteral("Height"));
    mp_Height->setAccessibleName(tr("Height"));
    for (QSpinBox* box : {mp_Width, mp_Height}) {
        box->setRange(16, largest);
        box->setSingleStep(step);
        connect(box, QOverload<int>::of(&QSpinBox::valueChanged), this, [this] {
            showMatchingPreset();
            emit sizeChanged(getSize());
        });
        if (step > 1)
            connect(box, &QSpinBox::editingFinished, box, [box, step] { box->setValue(box->value() / step * step); });
    }
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mp_Preset, 1);
    layout->addWidget(mp_Width);
    layout->addWidget(new QLabel(QString(QChar(0xD7)), this));
    layout->addWidget(mp_Height);
    setFocusProxy(mp_Preset);
    connect(mp_Preset, QOverload<int>::of(&QComboBox::activated), this, [this](int index) {
        if (index < int(m_Presets.size()))
            setSize(m_Presets[index].size);
    });
    setSize(m_Presets.front().size);
}

QSize SizePicker::getSize() const
{
    return QSize(mp_Width->value(), mp_Height->value());
}

void SizePicker::setSize(const QSize& size)
{
    {
        const QSignalBlocker width(mp_Width), height(mp_Height);
        mp_Width->setValue(size.width());
        mp_Height->setValue(size.height());
    }
    showMatchingPreset();
    emit sizeChanged(getSize());
}

void SizePicker::setPresets(const std::vector<Preset>& presets)
{
    const int chosen = mp_Preset->currentIndex();
    m_Presets = presets;
    for (int i = 0; i < int(m_Presets.size()); ++i)
        mp_Preset->setItemText(i, m_Presets[std::size_t(i)].name);
    if (chosen >= 0 && chosen < int(m_Presets.size()))
        setSize(m_Presets[std::size_t(chosen)].size);
}

void SizePicker::showMatchingPreset()
{
    int index = int(m_Presets.size());
    for (int i = int(m_Presets.size()) - 1; i >= 0; --i)
        if (m_Presets[i].size == getSize())
            index = i;
    mp_Preset->setCurrentIndex(index);
}

} // namespace tov::viewer
