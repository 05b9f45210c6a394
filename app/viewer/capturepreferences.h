#pragma once

#include <QGroupBox>

namespace tov::viewer {

/// Where snapshots and recordings go, and in which format; changes are stored at once. Thread: application.
class CapturePreferences : public QGroupBox
{
    Q_OBJECT
public:
    explicit CapturePreferences(QWidget* parent);

private:
    QWidget* createFolderRow();
};

} // namespace tov::viewer
