#include "app/viewer/runsbar.h"

#include "app/common/picturecommand.h"
#include "app/common/runoutcome.h"
#include "app/viewer/saferuns.h"
#include "kernel/workers/overseer.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace tov::viewer {

using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;

namespace {

constexpr int ShowAfterMs = 200;
constexpr qint64 StopPatienceMs = 10000;

} // namespace

struct RunsBar::Row
{
    QWidget* widget = nullptr;
    QLabel* text = nullptr;
    QProgressBar* bar = nullptr;
    QLabel* left = nullptr;
    QLabel* hint = nullptr;
    QPushButton* stop = nullptr;
    QElapsedTimer clock;
    int percent = -1;
    qint64 percentSince = 0;
    quint64 dialog = 0; ///< the progress dialog shown in this row; 0 = none
    bool hasDialog = false;
    qint64 stoppedAt = -1; ///< ms on the clock; -1 = not stopped
    bool complained = false;

    ~Row() { delete widget; }
};

QString durationText(qint64 seconds)
{
    if (seconds < 60)
        return RunsBar::tr("%1 s").arg(seconds);
    if (seconds < 3600)
        return RunsBar::tr("%1 min %2 s").arg(seconds / 60).arg(seconds % 60);
    return RunsBar::tr("%1 h %2 min").arg(seconds / 3600).arg(seconds % 3600 / 60);
}

RunsBar::RunsBar(const SafeRuns* outputs, QWidget* parent) : QWidget(parent), mp_Outputs(outputs)
{
    mp_Layout = new QVBoxLayout(this);
    mp_Layout->setContentsMargins(8, 4, 8, 4);
    mp_Layout->setSpacing(4);
    hide();

    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    connect(processor, &CommandProcessor::runStarted, this, [this](const CommandRunPointer& run) {
        std::weak_ptr<tov::main::CommandRun> weak = run;
        Row* row = addRow(run->getCommandName(), [weak] {
            if (auto strong = weak.lock())
                strong->stop();
        });
        m_Rows[run->getId()].reset(row);
        updateRow(*row, describe(*run), run->getProcessed());
    });
    connect(processor, &CommandProcessor::runChanged, this, [this](const CommandRunPointer& run) {
        const auto found = m_Rows.find(run->getId());
        if (found == m_Rows.end())
            return;
        Row& row = *found->second;
        updateRow(row, describe(*run), row.hasDialog ? row.percent : run->getProcessed());
        row.text->setToolTip(run->getText());
    });
    connect(processor, &CommandProcessor::runFinished, this, [this](const CommandRunPointer& run) {
        m_Rows.erase(run->getId());
        updateVisibility();
    });
    tov::util::ZProgressDialog::setPresenter(
        [this](const tov::util::ZProgressDialog::Update& update) { present(update); });
    m_Clock.setInterval(1000);
    connect(&m_Clock, &QTimer::timeout, this, [this] {
        for (auto* rows : {&m_Rows, &m_TaskRows})
            for (auto& [id, row] : *rows)
                updateRow(*row, row->text->text(), row->percent);
        for (auto& [id, row] : m_Rows)
            if (row->stoppedAt >= 0 && !row->complained && row->clock.elapsed() - row->stoppedAt > StopPatienceMs) {
                row->complained = true;
                emit stopIgnored(row->text->text());
            }
    });
}

RunsBar::~RunsBar()
{
    tov::util::ZProgressDialog::setPresenter({});
    m_Rows.clear();
    m_TaskRows.clear();
}

/// Description of a run: its output file, or else the command's status text.
QString RunsBar::describe(const tov::main::CommandRun& run) const
{
    const QString fileName = QFileInfo(mp_Outputs->fileNameOf(run)).fileName();
    if (!fileName.isEmpty())
        return tov::app::RunWatcher::isRecording(run) ? tr("Video %1").arg(fileName) : tr("Picture %1").arg(fileName);
    // The preview of an export, or a copy of a view.
    if (run.getCommandName() == QLatin1String(tov::app::PictureCommand))
        return tr("Picture");
    return run.getText().isEmpty() ? run.getCommandName() : run.getText();
}

int RunsBar::getRowCount() const
{
    return int(m_Rows.size() + m_TaskRows.size());
}

RunsBar::Row* RunsBar::addRow(const QString& text, std::function<void()> stop)
{
    auto* row = new Row;
    row->widget = new QWidget(this);
    auto* layout = new QHBoxLayout(row->widget);
    layout->setContentsMargins(0, 0, 0, 0);
    row->text = new QLabel(text, row->widget);
    row->text->setMinimumWidth(220);
    row->bar = new QProgressBar(row->widget);
    row->bar->setRange(0, 0);
    row->bar->setTextVisible(true);
    row->left = new QLabel(row->widget);
    row->left->setMinimumWidth(80);
    row->hint = new QLabel(row->widget);
    row->hint->setObjectName(QStringLiteral("RoomLabel"));
    row->hint->setMinimumWidth(100);
    row->hint->setToolTip(tr("Free space on the disk of the output, and approximate amount of data to be encoded"));
    row->stop = new QPushButton(tr("Stop"), row->widget);
    row->stop->setObjectName(QStringLiteral("StopButton"));
    row->stop->setAutoDefault(false);
    layout->addWidget(row->text);
    layout->addWidget(row->bar, 1);
    layout->addWidget(row->left);
    layout->addWidget(row->hint);
    layout->addWidget(row->stop);
    connect(row->stop, &QPushButton::clicked, row->stop, [row, button = row->stop, stop = std::move(stop)] {
        row->stoppedAt = row->clock.elapsed();
        button->setEnabled(false);
        button->setText(tr("Stopping ..."));
        if (stop)
            stop();
    });
    row->clock.start();
    mp_Layout->addWidget(row->widget);
    row->widget->hide();
    QTimer::singleShot(ShowAfterMs, row->widget, [this, widget = row->widget] {
        widget->show();
        show();
    });
    if (!m_Clock.isActive())
        m_Clock.start();
    return row;
}

void RunsBar::setHint(quint64 run, const QString& hint)
{
    const auto found = m_Rows.find(run);
    if (found != m_Rows.end())
        found->second->hint->setText(hint);
}

void RunsBar::updateVisibility()
{
    if (getRowCount() > 0)
        return;
    hide();
    m_Clock.stop();
}

void RunsBar::present(const tov::util::ZProgressDialog::Update& update)
{
    for (auto& [id, row] : m_Rows)
        if (row->hasDialog && row->dialog == update.id) {
            if (update.finished)
                row->hasDialog = false;
            updateRow(*row, row->text->text(), update.finished ? -1 : update.percent);
            return;
        }
    if (update.finished)
        return;
    // A dialog does not name its run: the oldest run without a dialog gets it.
    for (auto& [id, row] : m_Rows)
        if (!row->hasDialog && row->percent < 0) {
            row->hasDialog = true;
            row->dialog = update.id;
            updateRow(*row, row->text->text(), update.percent);
            return;
        }
}

void RunsBar::updateRow(Row& row, const QString& text, int percent)
{
    row.text->setText(text);
    if (percent < 0) {
        row.bar->setRange(0, 0);
        row.left->setText(durationText(row.clock.elapsed() / 1000));
        row.left->setToolTip(tr("Running for"));
    } else {
        if (row.percent < 0 || percent < row.percent) {
            row.percentSince = row.clock.elapsed();
        }
        row.bar->setRange(0, 100);
        row.bar->setValue(percent);
        const qint64 spent = row.clock.elapsed() - row.percentSince;
        if (percent >= 3 && spent > 500)
            row.left->setText(tr("%1 left").arg(durationText((spent * (100 - percent) / percent + 999) / 1000)));
        else
            row.left->clear();
        row.left->setToolTip(tr("Time left"));
    }
    row.percent = percent;
}

quint64 RunsBar::addTask(const QString& text, std::function<void()> stop)
{
    const quint64 task = m_NextTask++;
    m_TaskRows[task].reset(addRow(text, std::move(stop)));
    return task;
}

void RunsBar::updateTask(quint64 task, const QString& text, int percent)
{
    const auto found = m_TaskRows.find(task);
    if (found != m_TaskRows.end())
        updateRow(*found->second, text, percent);
}

void RunsBar::removeTask(quint64 task)
{
    m_TaskRows.erase(task);
    updateVisibility();
}

} // namespace tov::viewer
