#include "kernel/gui/fileparameterpanelfactory.h"
#include "kernel/gui/parameterpanelfactory.h"
#include "kernel/gui/sliderparameterpanelfactory.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <QSlider>
#include <QToolButton>

#include <memory>

namespace tov::main {

namespace {

/// The format that a dialog proposes first, if it has it, because it plays everywhere.
const QString PreferredEnding = QStringLiteral(".mp4");

/// The endings in the name filters of a dialog, each with its dot; empty when every name is accepted.
QStringList endingsOf(const QFileDialog& dialog)
{
    static const QRegularExpression pattern(QStringLiteral("\\*(\\.[^\\s()*]+|\\B)"));
    QStringList endings;
    for (const QString& filter : dialog.nameFilters()) {
        auto match = pattern.globalMatch(filter.mid(filter.lastIndexOf(QLatin1Char('('))));
        while (match.hasNext()) {
            const QString ending = match.next().captured(1);
            if (ending.isEmpty())
                return QStringList();
            endings << ending.toLower();
        }
    }
    return endings;
}

class FilePanel : public ParameterPanel
{
public:
    FilePanel(const FileParameterPanelFactory* factory, QWidget* parent)
        : mp_Widget(new QWidget(parent)), mp_Edit(new QLineEdit(mp_Widget))
    {
        if (const std::unique_ptr<QFileDialog> dialog{factory->createDialog()}) {
            m_Endings = endingsOf(*dialog);
            m_DefaultEnding = QLatin1Char('.') + dialog->defaultSuffix().toLower();
            m_Saves = dialog->acceptMode() == QFileDialog::AcceptSave;
        }
        mp_Edit->setObjectName(QStringLiteral("FileName"));
        auto* button = new QToolButton(mp_Widget);
        button->setText(QStringLiteral("..."));
        button->setToolTip(QCoreApplication::translate("FilePanel", "Choose a file"));
        auto* layout = new QHBoxLayout(mp_Widget);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(mp_Edit, 1);
        layout->addWidget(button);
        mp_Widget->setFocusProxy(mp_Edit);
        QObject::connect(mp_Edit, &QLineEdit::textChanged, mp_Widget, [this] {
            if (onChanged)
                onChanged();
        });
        QObject::connect(button, &QToolButton::clicked, mp_Widget, [this, factory] {
            std::unique_ptr<QFileDialog> dialog(factory->createDialog());
            if (!dialog)
                return;
            // The dialog opens with the format of the current name, else with the proposed one.
            const QString ending = !endingOf(mp_Edit->text()).isEmpty()  ? endingOf(mp_Edit->text())
                                   : m_Endings.contains(PreferredEnding) ? PreferredEnding
                                                                         : m_DefaultEnding;
            const QStringList filters = dialog->nameFilters();
            for (const QString& filter : filters)
                if (filter.contains(QLatin1String("(*") + ending + QLatin1Char(')'), Qt::CaseInsensitive)) {
                    dialog->selectNameFilter(filter);
                    dialog->setDefaultSuffix(ending.mid(1));
                }
            // A name without an ending gets the ending of the selected format.
            static const QRegularExpression single(QStringLiteral("\\(\\*\\.([^\\s()*]+)\\)$"));
            QObject::connect(dialog.get(), &QFileDialog::filterSelected, dialog.get(),
                             [dialog = dialog.get()](const QString& filter) {
                                 const auto match = single.match(filter);
                                 if (match.hasMatch())
                                     dialog->setDefaultSuffix(match.captured(1));
                             });
            if (!mp_Edit->text().isEmpty())
                dialog->selectFile(mp_Edit->text());
            if (dialog->exec() == QDialog::Accepted && !dialog->selectedFiles().isEmpty()) {
                // The dialog has already asked whether to replace an existing file.
                m_Agreed = dialog->selectedFiles().first();
                mp_Edit->setText(m_Agreed);
            }
        });
    }
    QWidget* getWidget() override { return mp_Widget; }
    QString getText() const override { return mp_Edit->text(); }
    void setText(const QString& text) override { mp_Edit->setText(text); }
    QString getProblem() const override
    {
        const QString name = mp_Edit->text();
        if (name.isEmpty() || m_Endings.isEmpty() || !endingOf(name).isEmpty())
            return QString();
        const QString example = m_Endings.contains(m_DefaultEnding) ? m_DefaultEnding : m_Endings.first();
        return QCoreApplication::translate("FilePanel", "The ending selects the format, for instance %1.").arg(example);
    }
    bool isReplaceAgreed() const override { return m_Saves && !m_Agreed.isEmpty() && m_Agreed == mp_Edit->text(); }

private:
    /// The longest known ending of a name, with its dot; empty when the name has none, or is only an ending.
    QString endingOf(const QString& name) const
    {
        QString found;
        for (const QString& ending : m_Endings)
            if (ending.size() > found.size() && name.endsWith(ending, Qt::CaseInsensitive) &&
                QFileInfo(name).fileName().size() > ending.size())
                found = ending;
        return found;
    }

    QWidget* mp_Widget;    ///< owned by its parent widget
    QLineEdit* mp_Edit;    ///< child
    QStringList m_Endings; ///< with their dots
    QString m_DefaultEnding;
    QString m_Agreed; ///< the last name that the file dialog returned
    bool m_Saves = false;
};

class SliderPanel : public ParameterPanel
{
public:
    SliderPanel(QSlider* slider, QWidget* parent) : mp_Widget(new QWidget(parent)), mp_Slider(slider)
    {
        auto* value = new QLabel(mp_Widget);
        value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        value->setMinimumWidth(value->fontMetrics().horizontalAdvance(QString::number(slider->maximum())) + 4);
        auto* layout = new QHBoxLayout(mp_Widget);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(slider, 1);
        layout->addWidget(value);
        mp_Widget->setFocusProxy(slider);
        value->setNum(slider->value());
        QObject::connect(slider, &QSlider::valueChanged, mp_Widget, [this, value](int number) {
            value->setNum(number);
            if (onChanged)
                onChanged();
        });
    }
    QWidget* getWidget() override { return mp_Widget; }
    QString getText() const override { return QString::number(mp_Slider->value()); }
    void setText(const QString& text) override
    {
        bool ok = false;
        const int number = text.trimmed().toInt(&ok);
        if (ok)
            mp_Slider->setValue(number);
    }

private:
    QWidget* mp_Widget; ///< owned by its parent widget
    QSlider* mp_Slider; ///< child of the widget
};

} // namespace

ParameterPanel::~ParameterPanel() = default;
ParameterPanelFactory::~ParameterPanelFactory() = default;

FileParameterPanelFactory::FileParameterPanelFactory(const boost::function<QFileDialog*()>& createDialog)
    : m_CreateDialog(createDialog)
{}

FileParameterPanelFactory::~FileParameterPanelFactory() = default;

ParameterPanel* FileParameterPanelFactory::createPanel(const AbstractParameter&, QWidget* parent)
{
    return new FilePanel(this, parent);
}

QFileDialog* FileParameterPanelFactory::createDialog() const
{
    return m_CreateDialog();
}

std::vector<FileFormat> FileParameterPanelFactory::formats() const
{
    const std::unique_ptr<QFileDialog> dialog(createDialog());
    return dialog ? formatsOfNameFilters(dialog->nameFilters()) : std::vector<FileFormat>();
}

std::vector<FileFormat> formatsOfNameFilters(const QStringList& nameFilters)
{
    std::vector<FileFormat> formats;
    for (const QString& filter : nameFilters) {
        const int begin = filter.lastIndexOf(QLatin1Char('('));
        const int end = filter.indexOf(QLatin1Char(')'), begin);
        if (begin < 0 || end < 0)
            continue;
        const QString description = filter.left(begin).trimmed();
        for (const QString& pattern :
             filter.mid(begin + 1, end - begin - 1).split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            const QString extension = pattern.mid(2).toLower();
            if (pattern.startsWith(QLatin1String("*.")) && !extension.isEmpty() &&
                !extension.contains(QLatin1Char('*')))
                formats.push_back({extension, description});
        }
    }
    return formats;
}

SliderParameterPanelFactory::SliderParameterPanelFactory(const boost::function<QSlider*()>& createSlider)
    : m_CreateSlider(createSlider)
{}

SliderParameterPanelFactory::~SliderParameterPanelFactory() = default;

ParameterPanel* SliderParameterPanelFactory::createPanel(const AbstractParameter&, QWidget* parent)
{
    return new SliderPanel(m_CreateSlider(), parent);
}

QSlider* SliderParameterPanelFactory::createSlider() const
{
    return m_CreateSlider();
}

} // namespace tov::main
