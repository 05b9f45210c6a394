#pragma once

#include <QLabel>
#include <QPointer>
#include <QWidget>

#include <functional>

class QVBoxLayout;

namespace tov::viewer {

/// Short messages above the view; the last four are shown. Warnings stay until they are closed; information disappears
/// by itself. The same message is never shown twice at the same time. Thread: application.
class NoticeBar : public QWidget
{
    Q_OBJECT
public:
    enum class Kind
    {
        Information,
        Warning,
    };
    explicit NoticeBar(QWidget* parent = nullptr);
    void showMessage(Kind kind, const QString& text);
    /// A finished picture or video, with buttons that open it or its folder. Returns the label, whose text may be
    /// changed while it exists.
    QPointer<QLabel> showFile(const QString& text, const QString& fileName);
    /// A message with a button, which closes it and calls `action`. It stays until it is closed.
    void showAction(const QString& text, const QString& button, std::function<void()> action);
    /// The texts shown, oldest first.
    QStringList getTexts() const;
    /// How long information stays, in milliseconds (20 s at first); it stays longer under the pointer.
    void setLifetime(int milliseconds) { m_LifetimeMs = milliseconds; }

private:
    QWidget* add(Kind kind, const QString& text);
    void removeLater(QWidget* row);
    void remove(QWidget* row);
    QVBoxLayout* mp_Layout;
    int m_LifetimeMs = 20000;
};

} // namespace tov::viewer
