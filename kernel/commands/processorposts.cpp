#include "kernel/commands/processorposts.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <map>
#include <mutex>

namespace tov::main {

namespace {

const QEvent::Type ReportsEvent = QEvent::Type(QEvent::registerEventType());

class Mailbox : public QObject
{
public:
    std::function<void(quint64, const ProcessorPosts::Report&)> receiver; ///< application thread only

protected:
    bool event(QEvent* event) override;
};

struct Shared
{
    std::mutex mutex;
    std::map<quint64, ProcessorPosts::Report> reports; ///< guarded by mutex
    Mailbox* mailbox = nullptr;                        ///< guarded by mutex, owned
    bool posted = false;                               ///< guarded by mutex
};

Shared& shared()
{
    static Shared* instance = new Shared;
    return *instance;
}

bool Mailbox::event(QEvent* event)
{
    if (event->type() != ReportsEvent)
        return QObject::event(event);
    Shared& s = shared();
    std::map<quint64, ProcessorPosts::Report> reports;
    {
        std::lock_guard<std::mutex> guard(s.mutex);
        reports.swap(s.reports);
        s.posted = false;
    }
    // A copy: the receiver may be replaced by what it calls.
    const auto call = receiver;
    for (const auto& [command, report] : reports)
        if (call)
            call(command, report);
    return true;
}

void post(quint64 command, const std::function<void(ProcessorPosts::Report&)>& fill)
{
    Shared& s = shared();
    std::lock_guard<std::mutex> guard(s.mutex);
    if (!s.mailbox)
        return;
    fill(s.reports[command]);
    if (!s.posted) {
        s.posted = true;
        QCoreApplication::postEvent(s.mailbox, new QEvent(ReportsEvent));
    }
}

} // namespace

void ProcessorPosts::enabledChanged(quint64 command, bool enabled)
{
    post(command, [enabled](Report& report) {
        report.hasEnabled = true;
        report.enabled = enabled;
    });
}

void ProcessorPosts::changed(quint64 command, int percent, const QString& text, bool hasText)
{
    post(command, [&](Report& report) {
        report.hasProgress = true;
        report.percent = percent;
        if (hasText) {
            report.hasText = true;
            report.text = text;
        }
    });
}

void ProcessorPosts::forget(quint64 command)
{
    Shared& s = shared();
    std::lock_guard<std::mutex> guard(s.mutex);
    s.reports.erase(command);
}

void ProcessorPosts::setReceiver(std::function<void(quint64, const Report&)> receiver)
{
    Shared& s = shared();
    Mailbox* old = nullptr;
    {
        std::lock_guard<std::mutex> guard(s.mutex);
        old = s.mailbox;
        s.mailbox = nullptr;
        s.reports.clear();
        s.posted = false;
        if (receiver) {
            s.mailbox = new Mailbox;
            s.mailbox->receiver = std::move(receiver);
        }
    }
    delete old;
}

} // namespace tov::main
