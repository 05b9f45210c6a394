#pragma once

#include "app/viewer/mainwindow.h"
#include "kernel/commands/commandprocessor.h"
#include "tests/support/logcapture.h"

#include <QAction>
#include <QApplication>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace tov::test {

/// A window as at the first start, shown and active; it and the scene are removed afterwards.
class WindowTest : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    tov::viewer::MainWindow& window() { return *mp_Window; }
    /// Closes the window and makes a new one, as the next start would.
    void restart();
    /// Opens a file of samples/ and waits until it is shown.
    void openSample(const QString& name = QStringLiteral("crane.obj"));
    /// A file name in this test's own folder.
    QString file(const QString& name) const { return m_Folder.filePath(name); }

    /// The action of a command, found in the menus by its text.
    QAction* menuAction(const QString& menu, const QString& text) const;
    /// Triggers an action from the event loop, then calls `inDialog` with the modal dialog of that object name or class
    /// name that opens. Returns after the dialog has closed.
    void triggerWithDialog(QAction* action, const QString& dialog, const std::function<void(QWidget*)>& inDialog);
    /// Calls `inDialog` with the next modal dialog of that name as soon as it is open.
    void onDialog(const QString& dialog, const std::function<void(QWidget*)>& inDialog);
    /// Types into a dialog's field, found by object name.
    static void type(QWidget* dialog, const QString& field, const QString& text);
    static QPushButton* button(QWidget* dialog, const QString& text);
    /// Whether a picture shows anything in front of its background.
    static bool showsSomething(const QImage& image);

    /// Drags within a widget with a button held down.
    static void drag(QWidget* widget, Qt::MouseButton button, QPoint from, QPoint to);

    static std::vector<tov::main::CommandRunPointer> runs();
    /// Starts a recording of the active panel from the console; true once frames have reached the encoder.
    bool record(const QString& fileName, const QString& rest = QStringLiteral(" width=160 height=120 sync=0"));
    /// Until no run is left, and the window's own files have their names.
    bool waitForNoRuns(int limitMs = 60000);
    bool noticeContains(const QString& text) const;
    /// Frames that ffprobe decodes; -1 when the file cannot be read.
    static int countFrames(const QString& fileName);

private:
    QTemporaryDir m_Folder;
    std::unique_ptr<tov::viewer::MainWindow> mp_Window;
    int m_OpenDialogWaits = 0;
};

} // namespace tov::test
