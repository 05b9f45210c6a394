#include "app/viewer/quitguard.h"

#include "app/viewer/fileopener.h"
#include "app/viewer/pictureexport.h"
#include "app/viewer/saferuns.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/main/settings.h"
#include "kernel/workers/overseer.h"

#include <QApplication>
#include <QFileInfo>
#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QSessionManager>
#include <QStatusBar>
#include <QTimer>

#include <cstdlib>

namespace tov::viewer {

using tov::main::CommandProcessor;
using tov::main::Overseer;

namespace {

/// How long quitting waits for runs before it offers to quit without them.
constexpr int QuitPatienceMs = 15000;

} // namespace

QuitGuard::QuitGuard(QMainWindow* window, const Work& work, std::function<void()> saveLayout)
    : QObject(window), mp_Window(window), m_Work(work), m_SaveLayout(std::move(saveLayout))
{
    connect(Overseer::getInstance()->getCommandProcessor(), &CommandProcessor::runFinished, this,
            &QuitGuard::closeIfDone);
    connect(m_Work.opener, &FileOpener::finished, this, &QuitGuard::closeIfDone);
    connect(m_Work.outputs, &SafeRuns::idle, this, &QuitGuard::closeIfDone);
    connect(m_Work.pictures, &PictureExport::saved, this, &QuitGuard::closeIfDone);
    connect(m_Work.pictures, &PictureExport::failed, this, &QuitGuard::closeIfDone);
    connect(
        qApp, &QGuiApplication::commitDataRequest, this, [this](QSessionManager&) { quitWithoutAsking(); },
        Qt::DirectConnection);
}

bool QuitGuard::isAnythingRunning() const
{
    return m_Work.opener->isOpening() || m_Work.outputs->isBusy() || m_Work.pictures->isBusy() ||
           !Overseer::getInstance()->getCommandProcessor()->getRuns().empty();
}

bool QuitGuard::mayClose()
{
    if (!isAnythingRunning())
        return true;
    if (m_Closing || (m_MayAsk && !askUser()))
        return false;
    stopAll();
    return !isAnythingRunning();
}

void QuitGuard::quitWithoutAsking()
{
    m_MayAsk = false;
    // A question that is open now would never be answered.
    while (QWidget* dialog = QApplication::activeModalWidget()) {
        dialog->close();
        if (QApplication::activeModalWidget() == dialog)
            break;
    }
    QMetaObject::invokeMethod(mp_Window, &QWidget::close, Qt::QueuedConnection);
}

void QuitGuard::stayOpen()
{
    if (!m_Closing)
        return;
    m_Closing = false;
    mp_Window->statusBar()->clearMessage();
}

/// Descriptions of the work that still runs, for the user.
QStringList QuitGuard::describeWork() const
{
    QStringList texts;
    for (const QString& fileName : m_Work.outputs->getFileNames() + m_Work.pictures->getFileNames())
        texts << QFileInfo(fileName).fileName();
    for (const auto& run : Overseer::getInstance()->getCommandProcessor()->getRuns()) {
        const QString fileName = QFileInfo(m_Work.outputs->fileNameOf(*run)).fileName();
        texts << (fileName.isEmpty() ? run->getCommandName() : fileName);
    }
    texts.removeDuplicates();
    if (m_Work.opener->isOpening())
        texts << tr("Opening files");
    return texts;
}

bool QuitGuard::askUser()
{
    QMessageBox question(QMessageBox::Question, tr("Quit"),
                         tr("Still running:\n%1\n\nRecordings are stopped and keep what they have captured; pictures "
                            "are finished. Then the window closes.")
                             .arg(describeWork().join(QLatin1Char('\n'))),
                         QMessageBox::Cancel, mp_Window);
    auto* quit = question.addButton(tr("Finish and quit"), QMessageBox::AcceptRole);
    question.setObjectName(QStringLiteral("QuitQuestion"));
    question.exec();
    return question.clickedButton() == static_cast<QAbstractButton*>(quit);
}

void QuitGuard::stopAll()
{
    m_Closing = true;
    Overseer::getInstance()->getCommandProcessor()->stopAll();
    m_Work.opener->cancel();
    mp_Window->statusBar()->showMessage(tr("Finishing running work ..."));
    QTimer::singleShot(QuitPatienceMs, this, &QuitGuard::offerToLeave);
}

void QuitGuard::closeIfDone()
{
    if (m_Closing && !isAnythingRunning())
        QMetaObject::invokeMethod(mp_Window, &QWidget::close, Qt::QueuedConnection);
}

void QuitGuard::offerToLeave()
{
    // The work may be over while the user is asked about unsaved changes.
    if (!m_Closing || mp_Window->isHidden() || (m_MayAsk && !isAnythingRunning()))
        return;
    if (!m_MayAsk) {
        m_SaveLayout();
        tovSettings().sync();
        std::_Exit(1);
    }
    auto* question =
        new QMessageBox(QMessageBox::Warning, tr("Quit"),
                        tr("Some work does not end. Wait for it, or quit anyway? Unsaved results are lost."),
                        QMessageBox::NoButton, mp_Window);
    question->setObjectName(QStringLiteral("LeaveQuestion"));
    question->setAttribute(Qt::WA_DeleteOnClose);
    auto* wait = question->addButton(tr("Wait"), QMessageBox::RejectRole);
    auto* leave = question->addButton(tr("Quit anyway"), QMessageBox::DestructiveRole);
    question->setDefaultButton(wait);
    connect(question, &QMessageBox::finished, this, [this, question, leave] {
        if (question->clickedButton() != static_cast<QAbstractButton*>(leave)) {
            QTimer::singleShot(QuitPatienceMs, this, &QuitGuard::offerToLeave);
            return;
        }
        m_SaveLayout();
        tovSettings().sync();
        // A thread that never returns cannot be waited for, and what it uses must stay alive.
        std::_Exit(1);
    });
    question->open();
}

} // namespace tov::viewer
