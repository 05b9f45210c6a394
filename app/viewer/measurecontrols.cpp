#include "app/viewer/measurecontrols.h"

#include "app/viewer/viewmarks.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QToolButton>

#include <algorithm>
#include <cmath>

namespace tov::viewer {

using tov::scene::Vector3;

namespace {

QString number(double value)
{
    return QLocale().toString(value, 'g', 7);
}

/// The points lie on surfaces in single precision; smaller differences are rounding.
double withoutNoise(double difference, const Vector3& from, const Vector3& to)
{
    double largest = 0;
    for (std::size_t axis = 0; axis < 3; ++axis)
        largest = std::max({largest, std::fabs(from[axis]), std::fabs(to[axis])});
    return std::fabs(difference) > 1e-7 * largest ? difference : 0;
}

QToolButton* buttonFor(QAction* action)
{
    auto* button = new QToolButton;
    button->setDefaultAction(action);
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

} // namespace

double distanceBetween(const Vector3& from, const Vector3& to)
{
    return std::hypot(to[0] - from[0], to[1] - from[1], to[2] - from[2]);
}

MeasureControls::MeasureControls(const ViewMarks* marks, QAction* measure, QAction* box, QWidget* parent)
    : QWidget(parent), mp_Marks(marks), mp_Hint(new QLabel(tr("Click two points of a surface; Esc ends."), this))
{
    setObjectName(QStringLiteral("MeasureControls"));
    auto* form = new QFormLayout(this);
    form->setContentsMargins(0, 0, 0, 0);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(buttonFor(box));
    buttons->addWidget(buttonFor(measure));
    buttons->addStretch(1);
    form->addRow(buttons);
    mp_Hint->setWordWrap(true);
    mp_Hint->hide();
    form->addRow(mp_Hint);
    connect(measure, &QAction::toggled, mp_Hint, &QWidget::setVisible);
    const auto addRow = [this, form](const QString& label, const char* name) {
        auto* value = new QLabel(this);
        value->setObjectName(QLatin1String(name));
        value->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        form->addRow(label, value);
        return value;
    };
    mp_Distance = addRow(tr("Distance:"), "MeasuredDistance");
    mp_Parts[0] = addRow(QStringLiteral("dx:"), "MeasuredX");
    mp_Parts[1] = addRow(QStringLiteral("dy:"), "MeasuredY");
    mp_Parts[2] = addRow(QStringLiteral("dz:"), "MeasuredZ");
    auto* copyButton = new QPushButton(tr("Copy"), this);
    copyButton->setObjectName(QStringLiteral("CopyMeasurement"));
    connect(copyButton, &QPushButton::clicked, this, &MeasureControls::copy);
    mp_Copy = copyButton;
    form->addRow(QString(), mp_Copy);
    connect(marks, &ViewMarks::changed, this, &MeasureControls::refresh);
    refresh();
}

void MeasureControls::refresh()
{
    const auto& from = mp_Marks->getFrom();
    const auto& to = mp_Marks->getTo();
    const bool isComplete = from && to;
    mp_Distance->setText(isComplete ? number(distanceBetween(*from, *to)) : QString());
    for (std::size_t axis = 0; axis < 3; ++axis)
        mp_Parts[axis]->setText(isComplete ? number(withoutNoise((*to)[axis] - (*from)[axis], *from, *to)) : QString());
    mp_Copy->setEnabled(isComplete);
}

void MeasureControls::copy() const
{
    QStringList values = {mp_Distance->text()};
    for (const QLabel* part : mp_Parts)
        values << part->text();
    QApplication::clipboard()->setText(values.join(QLatin1Char('\t')));
}

} // namespace tov::viewer
