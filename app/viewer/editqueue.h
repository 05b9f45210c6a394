#pragma once

#include <QObject>

#include <deque>
#include <functional>

namespace tov::viewer {

/// Edits of the scene's structure that a person makes in the window. While a picture keeps the scene as it is, an edit
/// would hold the whole window up; here it waits its turn instead. Thread: application.
class EditQueue : public QObject
{
    Q_OBJECT
public:
    explicit EditQueue(QObject* parent = nullptr);
    ~EditQueue() override;

    /// Runs `edit` under a `SceneEdit` of the structure: at once, or in order as soon as nobody keeps edits out any
    /// more.
    void submit(std::function<void()> edit);
    bool isEmpty() const { return m_Edits.empty(); }

signals:
    /// An edit has to wait.
    void postponed();
    /// One edit or more were made.
    void edited();

private:
    void runAll();
    std::deque<std::function<void()>> m_Edits;
};

} // namespace tov::viewer
