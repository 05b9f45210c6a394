#include "app/viewer/parameterdialog.h"

#include "app/viewer/commandtexts.h"
#include "kernel/gui/parameterpanelfactory.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/settings.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include <limits>

namespace tov::viewer {

using tov::main::AbstractParameter;
using tov::main::ParameterPanel;

struct ParameterField
{
    AbstractParameter* parameter = nullptr; ///< owned by the command
    std::unique_ptr<ParameterPanel> panel;
    QLabel* message = nullptr; ///< child of the dialog
};

namespace {

/// Room for the text below an editor, in pixels, so that it usually wraps into two lines at most.
constexpr int HintWidth = 340;

class TextPanel : public ParameterPanel
{
public:
    explicit TextPanel(QWidget* parent) : mp_Edit(new QLineEdit(parent))
    {
        QObject::connect(mp_Edit, &QLineEdit::textChanged, mp_Edit, [this] {
            if (onChanged)
                onChanged();
        });
    }
    QWidget* getWidget() override { return mp_Edit; }
    QString getText() const override { return mp_Edit->text(); }
    void setText(const QString& text) override { mp_Edit->setText(text); }

private:
    QLineEdit* mp_Edit; ///< owned by its parent widget
};

class NumberPanel : public ParameterPanel
{
public:
    explicit NumberPanel(QWidget* parent) : mp_Box(new QSpinBox(parent))
    {
        mp_Box->setRange(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
        mp_Box->setAccelerated(true);
        mp_Box->setMaximumWidth(160);
        QObject::connect(mp_Box, QOverload<int>::of(&QSpinBox::valueChanged), mp_Box, [this] {
            if (onChanged)
                onChanged();
        });
    }
    QWidget* getWidget() override { return mp_Box; }
    QString getText() const override { return QString::number(mp_Box->value()); }
    void setText(const QString& text) override { mp_Box->setValue(text.trimmed().toInt()); }

private:
    QSpinBox* mp_Box; ///< owned by its parent widget
};

class FlagPanel : public ParameterPanel
{
public:
    explicit FlagPanel(QWidget* parent) : mp_Box(new QCheckBox(parent))
    {
        QObject::connect(mp_Box, &QCheckBox::toggled, mp_Box, [this] {
            if (onChanged)
                onChanged();
        });
    }
    QWidget* getWidget() override { return mp_Box; }
    QString getText() const override { return mp_Box->isChecked() ? QStringLiteral("1") : QStringLiteral("0"); }
    void setText(const QString& text) override
    {
        const QString word = text.trimmed().toLower();
        mp_Box->setChecked(word == QLatin1String("1") || word == QLatin1String("true") ||
                           word == QLatin1String("yes") || word == QLatin1String("on"));
    }

private:
    QCheckBox* mp_Box; ///< owned by its parent widget
};

std::unique_ptr<ParameterPanel> makePanel(const AbstractParameter& parameter, QWidget* parent)
{
    if (auto* factory = parameter.getParameterPanelFactory())
        return std::unique_ptr<ParameterPanel>(factory->createPanel(parameter, parent));
    if (tov::main::isSameType(parameter.getType(), typeid(int)))
        return std::make_unique<NumberPanel>(parent);
    if (tov::main::isSameType(parameter.getType(), typeid(bool)))
        return std::make_unique<FlagPanel>(parent);
    return std::make_unique<TextPanel>(parent);
}

QString keyOf(const tov::main::Command& command, const AbstractParameter& parameter)
{
    QString name = parameter.getName();
    name.replace(QLatin1Char('/'), QLatin1Char('_'));
    return QStringLiteral("dialogs/%1/%2").arg(command.getDescriptor()->getName(), name);
}

bool isSetting(const tov::main::Command& command)
{
    const auto* gui = command.getGUIDescriptor();
    return gui && gui->getFlag() == tov::main::CommandGUIDescriptor::Setting;
}

QString labelOf(const AbstractParameter& parameter)
{
    QString name = commandText(parameter.getName());
    if (!name.isEmpty())
        name[0] = name[0].toUpper();
    return name + QLatin1Char(':');
}

} // namespace

ParameterDialog::ParameterDialog(tov::main::Command* prototype, QWidget* parent)
    : QDialog(parent), mp_Prototype(prototype)
{
    const auto* gui = prototype->getGUIDescriptor();
    setObjectName(QStringLiteral("ParameterDialog"));
    setWindowTitle(gui ? gui->getLabel() : prototype->getDescriptor()->getName());

    auto* layout = new QVBoxLayout(this);
    auto* heading = new QLabel(commandText(prototype->getDescriptor()->getDescription()), this);
    heading->setWordWrap(true);
    layout->addWidget(heading);

    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    layout->addLayout(form);
    if (const auto* set = prototype->getCurrentParameterSet()) {
        for (AbstractParameter* parameter : set->getParameters()) {
            auto field = std::make_unique<ParameterField>();
            field->parameter = parameter;
            field->panel = makePanel(*parameter, this);
            QWidget* editor = field->panel->getWidget();
            editor->setObjectName(parameter->getName());
            editor->setToolTip(parameter->getDescription());
            editor->setAccessibleName(parameter->getName());
            editor->setAccessibleDescription(parameter->getDescription());

            QString initial = parameter->getDefaultParameterForDefaultGUI();
            if (!isSetting(*prototype))
                initial = tovSettings().value(keyOf(*prototype, *parameter), initial).toString();
            if (!initial.isNull())
                field->panel->setText(initial);

            auto* column = new QVBoxLayout;
            column->setSpacing(2);
            // An editor of minimum width does not narrow the text below it.
            column->addWidget(editor, 0, editor->maximumWidth() < QWIDGETSIZE_MAX ? Qt::AlignLeft : Qt::Alignment());
            auto* hint = new QLabel(parameter->getDescription(), this);
            hint->setWordWrap(true);
            hint->setMinimumWidth(HintWidth);
            hint->setForegroundRole(QPalette::Text);
            QFont small = hint->font();
            small.setPointSizeF(small.pointSizeF() * 0.9);
            hint->setFont(small);
            field->message = hint;
            column->addWidget(hint);
            auto* label = new QLabel(labelOf(*parameter), this);
            // The label is centred on its editor, not on editor and hint together.
            label->setMaximumHeight(editor->sizeHint().height());
            label->setBuddy(editor->focusProxy() ? editor->focusProxy() : editor);
            form->addRow(label, column);

            field->panel->onChanged = [this] { validate(); };
            m_Fields.push_back(std::move(field));
        }
    }
    mp_Buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    mp_AdviceLabel = new QLabel(this);
    mp_AdviceLabel->setObjectName(QStringLiteral("Advice"));
    mp_AdviceLabel->setWordWrap(true);
    mp_AdviceLabel->hide();
    layout->addStretch(1);
    layout->addWidget(mp_AdviceLabel);
    layout->addWidget(mp_Buttons);
    connect(mp_Buttons, &QDialogButtonBox::accepted, this, [this] {
        if (!isComplete())
            return;
        remember();
        accept();
    });
    connect(mp_Buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    setMinimumWidth(460);
    validate();
}

ParameterDialog::~ParameterDialog()
{
    // The widgets outlive the panels here and may still report changes while they are destroyed.
    for (auto& field : m_Fields)
        field->panel->onChanged = nullptr;
}

tov::main::CommandArguments ParameterDialog::getArguments() const
{
    tov::main::CommandArguments arguments;
    for (const auto& field : m_Fields)
        arguments.named.emplace_back(field->parameter->getName(), field->panel->getText());
    return arguments;
}

ParameterPanel* ParameterDialog::getPanel(const QString& parameterName) const
{
    for (const auto& field : m_Fields)
        if (field->parameter->getName() == parameterName)
            return field->panel.get();
    return nullptr;
}

QString ParameterDialog::problemOf(const ParameterField& field) const
{
    const QString text = field.panel->getText();
    if (text.isEmpty())
        return field.parameter->isMandatory() ? tr("A value is needed here.") : QString();
    QString problem = field.panel->getProblem();
    if (!problem.isEmpty())
        return problem;
    if (auto cast = field.parameter->getCastClass()) {
        try {
            cast->deleteValue(cast->fromString(text));
        } catch (const std::exception&) {
            return tr("\"%1\" cannot be used here.").arg(text);
        }
    }
    return QString();
}

bool ParameterDialog::isComplete() const
{
    for (const auto& field : m_Fields)
        if (!problemOf(*field).isEmpty())
            return false;
    return true;
}

void ParameterDialog::validate()
{
    const bool dark = palette().color(QPalette::Window).lightness() < 128;
    const QString red = dark ? QStringLiteral("#ff9b91") : QStringLiteral("#b02018");
    bool complete = true;
    for (const auto& field : m_Fields) {
        const QString problem = problemOf(*field);
        const bool wrong = !problem.isEmpty();
        // An empty field is not an error yet: it disables OK, but only wrong input is marked in red.
        const bool marked = wrong && !field->panel->getText().isEmpty();
        field->message->setText(wrong ? problem : field->parameter->getDescription());
        field->message->setStyleSheet(marked ? QStringLiteral("color: %1;").arg(red) : QString());
        complete = complete && !wrong;
    }
    mp_Buttons->button(QDialogButtonBox::Ok)->setEnabled(complete);
    const QString advice = m_Advice ? m_Advice(*this) : QString();
    mp_AdviceLabel->setText(advice);
    mp_AdviceLabel->setVisible(!advice.isEmpty());
}

void ParameterDialog::setAdvice(std::function<QString(const ParameterDialog&)> advice)
{
    m_Advice = std::move(advice);
    validate();
}

QString ParameterDialog::getText(const QString& parameterName) const
{
    const auto* panel = getPanel(parameterName);
    return panel ? panel->getText() : QString();
}

void ParameterDialog::remember() const
{
    if (isSetting(*mp_Prototype))
        return;
    for (const auto& field : m_Fields)
        tovSettings().setValue(keyOf(*mp_Prototype, *field->parameter), field->panel->getText());
}

} // namespace tov::viewer
