#pragma once

#include <QLabel>
#include <QPointer>
#include <QWidget>

class QVBoxLayout;

namespace tov::viewer {

/// Short messages above the view that stay until they are closed or replaced by newer ones; the last four are shown.
/// Thread: application.
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
    /// A finished picture or video, with buttons that open it or its folder.
    /// Returns the label, to which more may be added while it is there.
    QPointer<QLabel> showFile(const QString& text, const QString& fileName);
    /// The texts shown, oldest first.
    QStringList getTexts() const;

private:
    QWidget* add(Kind kind, const QString& text);
    QVBoxLayout* mp_Layout;
};

} // namespace tov::viewer
