#pragma once

#include <QObject>

#include <deque>
#include <functional>

namespace tov::viewer {

/// Edits of the scene's structure that the user makes in the window. While a picture locks the scene, an edit would
/// block the whole window; here it is queued instead. Thread: application.
class EditQueue : public QObject
{
    Q_OBJECT
public:
    explicit EditQueue(QObject* parent = nullptr);
    ~EditQueue() override;

    /// Runs `edit` under a `SceneEdit` of the structure: at once, or in order as soon as edits are no longer blocked.
    void submit(std::function<void()> edit);
    bool isEmpty() const { return m_Edits.empty(); }

signals:
    /// An edit has to wait.
    void postponed();
    /// One or more edits were made.
    void edited();

private:
    void runAll();
    std::deque<std::function<void()>> m_Edits;
};

} // namespace tov::viewer
