#include "kernel/gui/fileparameterpanelfactory.h"
#include "kernel/gui/sliderparameterpanelfactory.h"
#include "kernel/main/parameter.h"

#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QToolButton>

#include <gtest/gtest.h>

#include <memory>

using namespace tov::main;

namespace {

/// The editor of a dialog with these filters, with its widget.
struct FileEditor
{
    explicit FileEditor(const QStringList& filters, const QString& suffix = QString())
        : factory([filters, suffix] {
              auto* dialog = new QFileDialog;
              dialog->setAcceptMode(QFileDialog::AcceptSave);
              dialog->setNameFilters(filters);
              dialog->setDefaultSuffix(suffix);
              return dialog;
          }),
          parameter(QStringLiteral("filename"), QString()), panel(factory.createPanel(parameter, &parent))
    {}
    /// True when the editor accepts the name.
    bool takes(const QString& name)
    {
        panel->setText(name);
        EXPECT_EQ(panel->getText(), name);
        return panel->getProblem().isEmpty();
    }

    QWidget parent;
    FileParameterPanelFactory factory;
    Parameter<QString> parameter;
    std::unique_ptr<ParameterPanel> panel;
};

} // namespace

TEST(FileParameterPanel, NamesNeedAnExtensionOfTheDialog)
{
    FileEditor editor({"Film (old) (*.mp4)", "Film, fine (*.hq.mp4)", "Pictures (*.JPG *.jpeg)"},
                      QStringLiteral("mp4"));
    for (const char* name : {"", "a.mp4", "/tmp/A.MP4", "a.hq.mp4", "b.jpg", "b.Jpeg", "v1.2.mp4"})
        EXPECT_TRUE(editor.takes(QString::fromLatin1(name))) << name;
    for (const char* name : {"a", "a.", "mp4", ".mp4", "/tmp/.hq.mp4x", "a.mp", "a.png", "a.mp4/b"})
        EXPECT_FALSE(editor.takes(QString::fromLatin1(name))) << name;
    EXPECT_EQ(editor.panel->getProblem(), "The ending selects the format, for instance .mp4.");
}

TEST(FileParameterPanel, WithoutADefaultTheExampleIsTheFirstExtension)
{
    FileEditor editor({"Old films (*.avi)", "Raw (*.raw)"});
    EXPECT_FALSE(editor.takes(QStringLiteral("a")));
    EXPECT_EQ(editor.panel->getProblem(), "The ending selects the format, for instance .avi.");
}

TEST(FileParameterPanel, ADialogForAllFilesAcceptsAnyName)
{
    for (const QStringList& filters : {QStringList{"Pictures (*.png)", "All files (*)"}, QStringList{}}) {
        FileEditor editor(filters);
        for (const char* name : {"a", "a.xyz", ".png"})
            EXPECT_TRUE(editor.takes(QString::fromLatin1(name))) << name;
    }
}

TEST(FileParameterPanel, ChangesAreReportedAndTypingDoesNotAgreeToReplaceAFile)
{
    FileEditor editor({"Pictures (*.png)"}, QStringLiteral("png"));
    int changes = 0;
    editor.panel->onChanged = [&changes] { ++changes; };
    auto* line = editor.parent.findChild<QLineEdit*>(QStringLiteral("FileName"));
    ASSERT_TRUE(line);
    line->setText(QStringLiteral("a.png"));
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(editor.panel->getText(), "a.png");
    EXPECT_FALSE(editor.panel->isReplaceAgreed());
    EXPECT_EQ(editor.panel->getWidget()->parentWidget(), &editor.parent);
}

TEST(FileParameterPanel, WithoutADialogAnyNameIsAccepted)
{
    QWidget parent;
    FileParameterPanelFactory factory([]() -> QFileDialog* { return nullptr; });
    Parameter<QString> parameter(QStringLiteral("filename"), QString());
    const std::unique_ptr<ParameterPanel> panel(factory.createPanel(parameter, &parent));
    panel->setText(QStringLiteral("a"));
    EXPECT_TRUE(panel->getProblem().isEmpty());
    auto* button = parent.findChild<QToolButton*>();
    ASSERT_TRUE(button);
    button->click();
    EXPECT_EQ(panel->getText(), "a");
}

TEST(SliderParameterPanel, ShowsItsValueAndStaysInItsRange)
{
    QWidget parent;
    SliderParameterPanelFactory factory([] {
        auto* slider = new QSlider(Qt::Horizontal);
        slider->setRange(10, 200);
        slider->setValue(50);
        return slider;
    });
    Parameter<int> parameter(QStringLiteral("size"), QString());
    const std::unique_ptr<ParameterPanel> panel(factory.createPanel(parameter, &parent));
    int changes = 0;
    panel->onChanged = [&changes] { ++changes; };
    auto* label = parent.findChild<QLabel*>();
    ASSERT_TRUE(label);
    EXPECT_EQ(label->text(), "50");
    const std::pair<const char*, const char*> rows[] = {{"120", "120"}, {" 60 ", "60"}, {"9999", "200"},
                                                        {"-1", "10"},   {"x", "10"},    {"", "10"}};
    for (const auto& [typed, shown] : rows) {
        panel->setText(QString::fromLatin1(typed));
        EXPECT_EQ(panel->getText(), shown) << typed;
        EXPECT_EQ(label->text(), shown) << typed;
    }
    EXPECT_EQ(changes, 4);
    EXPECT_TRUE(panel->getProblem().isEmpty());
    EXPECT_FALSE(panel->isReplaceAgreed());
    const std::unique_ptr<QSlider> other(factory.createSlider());
    EXPECT_EQ(other->maximum(), 200);
    EXPECT_EQ(other->parent(), nullptr);
}

TEST(FileParameterPanelFactory, ListsTheFormatsOfTheDialog)
{
    const FileEditor editor({"PNG-File (*.png)", "Film (old) (*.MP4)", "Film, fine (*.hq.mp4)",
                             "Pictures (*.jpg *.jpeg)", "100 %1 (*.raw)", "All files (*)", "Any (*.*)", "Broken (*.a",
                             "nothing"});
    const std::vector<FileFormat> expected = {
        {QStringLiteral("png"), QStringLiteral("PNG-File")},      {QStringLiteral("mp4"), QStringLiteral("Film (old)")},
        {QStringLiteral("hq.mp4"), QStringLiteral("Film, fine")}, {QStringLiteral("jpg"), QStringLiteral("Pictures")},
        {QStringLiteral("jpeg"), QStringLiteral("Pictures")},     {QStringLiteral("raw"), QStringLiteral("100 %1")}};
    EXPECT_EQ(editor.factory.formats(), expected);
    const FileParameterPanelFactory none([]() -> QFileDialog* { return nullptr; });
    EXPECT_TRUE(none.formats().empty());
}
