#include "app/viewer/consolewidget.h"

#include "app/viewer/commandstarter.h"
#include "kernel/log/console.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/settings.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDateTime>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListView>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <mutex>

namespace tov::viewer {

using tov::log::LogRecord;

namespace {

constexpr std::size_t MaxRecords = 10000;
constexpr int MaxHistory = 200;

QString levelName(int level)
{
    if (level <= tov::log::LevelParameter)
        return ConsoleWidget::tr("Parameter");
    if (level <= tov::log::LevelError)
        return ConsoleWidget::tr("Error");
    if (level <= tov::log::LevelResult)
        return ConsoleWidget::tr("Result");
    return ConsoleWidget::tr("Information");
}

/// Colours that stay readable on the palette's base, dark or light.
QColor levelColor(int level, bool dark)
{
    if (level <= tov::log::LevelError)
        return dark ? QColor(255, 120, 110) : QColor(176, 32, 24);
    if (level <= tov::log::LevelResult)
        return dark ? QColor(120, 215, 130) : QColor(20, 110, 40);
    return QColor();
}

class LevelFilter : public QSortFilterProxyModel
{
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;
    void setHighestLevel(int level)
    {
        m_Highest = level;
        invalidateFilter();
    }

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override
    {
        const QModelIndex index = sourceModel()->index(row, 0, parent);
        return index.data(LogModel::LevelRole).toInt() <= m_Highest &&
               index.data(Qt::DisplayRole).toString().contains(filterRegularExpression());
    }

private:
    int m_Highest = 1000000;
};

} // namespace

/// Takes records on any thread and asks the model once to fetch them.
struct LogModel::Sink : tov::log::LogSink
{
    std::mutex mutex;
    std::vector<LogRecord> pending; ///< guarded by mutex
    LogModel* model = nullptr;      ///< guarded by mutex

    void write(const LogRecord& record) override
    {
        std::lock_guard<std::mutex> guard(mutex);
        if (!model)
            return;
        pending.push_back(record);
        if (pending.size() == 1)
            QMetaObject::invokeMethod(
                model, [model = model] { model->fetch(); }, Qt::QueuedConnection);
    }
};

LogModel::LogModel(QObject* parent) : QAbstractListModel(parent), mp_Sink(std::make_shared<Sink>())
{
    mp_Sink->model = this;
    tov::log::Logger::addSink(mp_Sink.get());
}

LogModel::~LogModel()
{
    tov::log::Logger::removeSink(mp_Sink.get());
}

int LogModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_Records.size());
}

QVariant LogModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= int(m_Records.size()))
        return QVariant();
    const LogRecord& record = m_Records[index.row()];
    switch (role) {
    case Qt::DisplayRole: {
        QString text = record.message;
        text.replace(QLatin1Char('\n'), QLatin1Char(' '));
        return QDateTime::fromMSecsSinceEpoch(record.timeMs).toString(QStringLiteral("hh:mm:ss  ")) + text;
    }
    case Qt::ForegroundRole: {
        const bool dark = qApp->palette().color(QPalette::Base).lightness() < 128;
        const QColor color = levelColor(record.level, dark);
        return color.isValid() ? QVariant(color) : QVariant();
    }
    case Qt::ToolTipRole:
    case DetailRole:
        return record.file.isEmpty() ? QVariant()
                                     : QVariant(QStringLiteral("%1 (%2)  %3:%4 %5")
                                                    .arg(levelName(record.level), QString::number(record.level),
                                                         record.file, QString::number(record.line), record.function));
    case LevelRole:
        return record.level;
    default:
        return QVariant();
    }
}

void LogModel::fetch()
{
    std::vector<LogRecord> records;
    {
        std::lock_guard<std::mutex> guard(mp_Sink->mutex);
        records.swap(mp_Sink->pending);
    }
    append(std::move(records));
}

void LogModel::append(std::vector<LogRecord> records)
{
    if (records.size() > MaxRecords)
        records.erase(records.begin(), records.end() - MaxRecords);
    const std::size_t total = m_Records.size() + records.size();
    if (total > MaxRecords) {
        const int surplus = int(total - MaxRecords);
        beginRemoveRows(QModelIndex(), 0, surplus - 1);
        m_Records.erase(m_Records.begin(), m_Records.begin() + surplus);
        endRemoveRows();
    }
    if (records.empty())
        return;
    beginInsertRows(QModelIndex(), rowCount(), rowCount() + int(records.size()) - 1);
    for (LogRecord& record : records)
        m_Records.push_back(std::move(record));
    endInsertRows();
}

void LogModel::addLine(const QString& line, int level)
{
    LogRecord record;
    record.level = level;
    record.message = line;
    record.timeMs = QDateTime::currentMSecsSinceEpoch();
    append({record});
}

void LogModel::clear()
{
    beginResetModel();
    m_Records.clear();
    endResetModel();
}

CommandLineEdit::CommandLineEdit(QWidget* parent) : QLineEdit(parent), mp_Candidates(new QLabel(this, Qt::ToolTip))
{
    mp_Candidates->setObjectName(QStringLiteral("CompletionList"));
    mp_Candidates->setFrameStyle(QFrame::Box);
    mp_Candidates->setMargin(3);
    connect(this, &QLineEdit::textEdited, this, [this] { showCandidates({}); });
    setPlaceholderText(tr("Type a command (Tab completes it), e.g. grabimage filename=\"picture.png\" width=4000"));
    setClearButtonEnabled(true);
    m_History = tovSettings().value(QStringLiteral("window/commandhistory")).toStringList();
    m_HistoryIndex = m_History.size();
    connect(this, &QLineEdit::returnPressed, this, [this] {
        const QString line = text().trimmed();
        if (line.isEmpty())
            return;
        m_History.removeAll(line);
        m_History.append(line);
        while (m_History.size() > MaxHistory)
            m_History.removeFirst();
        m_HistoryIndex = m_History.size();
        tovSettings().setValue(QStringLiteral("window/commandhistory"), m_History);
        clear();
        showCandidates({});
        emit submitted(line);
    });
}

bool CommandLineEdit::event(QEvent* event)
{
    // Tab would move the focus before keyPressEvent sees it.
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Tab &&
        !text().isEmpty()) {
        complete();
        return true;
    }
    return QLineEdit::event(event);
}

void CommandLineEdit::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down) {
        const int step = event->key() == Qt::Key_Up ? -1 : 1;
        const int index = std::clamp(m_HistoryIndex + step, 0, m_History.size());
        if (index != m_HistoryIndex) {
            m_HistoryIndex = index;
            setText(index < m_History.size() ? m_History[index] : QString());
        }
        return;
    }
    QLineEdit::keyPressEvent(event);
}

void CommandLineEdit::complete()
{
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    const QString before = text().left(cursorPosition());
    const int begin = before.lastIndexOf(QLatin1Char(' ')) + 1;
    const QString word = before.mid(begin);
    QStringList candidates;
    if (begin == 0) {
        for (auto* command : processor->getPrimaryCommands())
            candidates << command->getDescriptor()->getName() + QLatin1Char(' ');
    } else if (auto* command = processor->getPrimaryCommand(before.section(QLatin1Char(' '), 0, 0))) {
        if (auto* set = command->getCurrentParameterSet())
            for (auto* parameter : set->getParameters()) {
                const QString name = parameter->getName();
                candidates << (name.contains(QLatin1Char(' ')) ? QStringLiteral("\"%1\"=").arg(name)
                                                               : name + QLatin1Char('='));
            }
    }
    candidates.erase(
        std::remove_if(candidates.begin(), candidates.end(),
                       [&](const QString& candidate) { return !candidate.startsWith(word, Qt::CaseInsensitive); }),
        candidates.end());
    if (candidates.isEmpty())
        return;
    QString common = candidates.first();
    for (const QString& candidate : candidates)
        while (!candidate.startsWith(common, Qt::CaseInsensitive))
            common.chop(1);
    showCandidates(candidates.size() > 1 ? candidates : QStringList());
    const QString after = text().mid(cursorPosition());
    setText(before.left(begin) + common + after);
    setCursorPosition(begin + common.size());
}

void CommandLineEdit::showCandidates(const QStringList& candidates)
{
    if (candidates.isEmpty()) {
        mp_Candidates->hide();
        return;
    }
    mp_Candidates->setText(candidates.join(QLatin1String("   ")));
    mp_Candidates->adjustSize();
    mp_Candidates->move(mapToGlobal(QPoint(0, -mp_Candidates->height() - 2)));
    mp_Candidates->show();
}

void CommandLineEdit::focusOutEvent(QFocusEvent* event)
{
    showCandidates({});
    QLineEdit::focusOutEvent(event);
}

ConsoleWidget::ConsoleWidget(QWidget* parent)
    : QWidget(parent), mp_Model(new LogModel(this)), mp_Filter(new LevelFilter(this)), mp_View(new QListView(this)),
      mp_CommandLine(new CommandLineEdit(this))
{
    mp_Filter->setSourceModel(mp_Model);
    mp_View->setModel(mp_Filter);
    mp_View->setUniformItemSizes(true);
    mp_View->setSelectionMode(QAbstractItemView::ExtendedSelection);
    mp_View->setEditTriggers(QAbstractItemView::NoEditTriggers);
    mp_View->setObjectName(QStringLiteral("LogView"));
    mp_View->setContextMenuPolicy(Qt::ActionsContextMenu);
    auto* copy = new QAction(tr("Copy"), this);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, this, &ConsoleWidget::copySelected);
    auto* clear = new QAction(tr("Clear"), this);
    connect(clear, &QAction::triggered, mp_Model, &LogModel::clear);
    mp_View->addActions({copy, clear});
    // Follow the newest record unless the user has scrolled up.
    connect(mp_Filter, &QAbstractItemModel::rowsAboutToBeInserted, this, [this] {
        auto* bar = mp_View->verticalScrollBar();
        mp_View->setProperty("follow", bar->value() == bar->maximum());
    });
    connect(mp_Filter, &QAbstractItemModel::rowsInserted, this, [this] {
        if (mp_View->property("follow").toBool())
            mp_View->scrollToBottom();
    });

    auto* level = new QComboBox(this);
    level->setObjectName(QStringLiteral("LevelFilter"));
    level->addItem(tr("Everything"), 1000000);
    level->addItem(tr("Results and errors"), int(tov::log::LevelResult));
    level->addItem(tr("Errors"), int(tov::log::LevelError));
    connect(level, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this, level] { static_cast<LevelFilter*>(mp_Filter)->setHighestLevel(level->currentData().toInt()); });
    auto* search = new QLineEdit(this);
    search->setPlaceholderText(tr("Filter"));
    search->setClearButtonEnabled(true);
    connect(search, &QLineEdit::textChanged, this, [this](const QString& text) {
        mp_Filter->setFilterRegularExpression(
            QRegularExpression(QRegularExpression::escape(text), QRegularExpression::CaseInsensitiveOption));
    });

    auto* bar = new QHBoxLayout;
    bar->addWidget(level);
    bar->addWidget(search, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addLayout(bar);
    layout->addWidget(mp_View, 1);
    layout->addWidget(mp_CommandLine);

    connect(mp_CommandLine, &CommandLineEdit::submitted, this, &ConsoleWidget::submit);
    // Console lines may come from any thread.
    tov::log::setConsoleOutput([this](const QString& line) {
        QMetaObject::invokeMethod(
            mp_Model, [this, line] { mp_Model->addLine(line); }, Qt::QueuedConnection);
    });
}

ConsoleWidget::~ConsoleWidget()
{
    tov::log::setConsoleOutput({});
}

void ConsoleWidget::submit(const QString& text)
{
    mp_Model->addLine(QStringLiteral("> ") + text);
    QString error;
    if (!CommandStarter::startText(text, &error))
        mp_Model->addLine(error, tov::log::LevelError);
    mp_View->scrollToBottom();
}

void ConsoleWidget::copySelected()
{
    QModelIndexList rows = mp_View->selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end());
    QStringList lines;
    for (const QModelIndex& index : rows)
        lines << index.data().toString();
    QApplication::clipboard()->setText(lines.join(QLatin1Char('\n')));
}

} // namespace tov::viewer
