#pragma once

#include "kernel/log/logger.h"

#include <QAbstractListModel>
#include <QLineEdit>
#include <QSortFilterProxyModel>
#include <QWidget>

#include <deque>
#include <memory>

class QComboBox;
class QLabel;
class QListView;

namespace tov::viewer {

/// The log as a list model: the last 10000 records. Records come from any thread and are added on the application
/// thread, in batches. Thread: application.
class LogModel : public QAbstractListModel
{
    Q_OBJECT
public:
    enum Role
    {
        LevelRole = Qt::UserRole,
        DetailRole,
    };
    explicit LogModel(QObject* parent = nullptr);
    ~LogModel() override;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    /// Adds a line of the console (not of the log).
    void addLine(const QString& line, int level = tov::log::LevelInformation);
    /// Adds records that were kept before the model existed.
    void addRecords(const std::vector<tov::log::LogRecord>& records) { append(records); }
    void clear();

private:
    struct Sink;
    void fetch();
    void append(std::vector<tov::log::LogRecord> records);

    std::shared_ptr<Sink> mp_Sink;
    std::deque<tov::log::LogRecord> m_Records;
};

/// A line for command texts with completion of command and parameter names and a history.
class CommandLineEdit : public QLineEdit
{
    Q_OBJECT
public:
    explicit CommandLineEdit(QWidget* parent = nullptr);

signals:
    void submitted(const QString& text);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void complete();
    void showCandidates(const QStringList& candidates);
    QLabel* mp_Candidates; ///< child; shown above the line
    QStringList m_History;
    int m_HistoryIndex = 0;
};

/// The console: log with level colours, filter and copy, and a command line under it.
class ConsoleWidget : public QWidget
{
    Q_OBJECT
public:
    explicit ConsoleWidget(QWidget* parent = nullptr);
    ~ConsoleWidget() override;
    CommandLineEdit* getCommandLine() const { return mp_CommandLine; }
    LogModel* getModel() const { return mp_Model; }

public slots:
    /// Runs a command text as if it had been typed.
    void submit(const QString& text);

private:
    void copySelected();
    LogModel* mp_Model;
    QSortFilterProxyModel* mp_Filter;
    QListView* mp_View;
    CommandLineEdit* mp_CommandLine;
};

} // namespace tov::viewer
