#pragma once

#include <QElapsedTimer>
#include <QImage>
#include <QObject>
#include <QSize>
#include <QString>
#include <QStringList>

class QColor;

namespace tov::app {
class RunWatcher;
}

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

class SafeRuns;

/// The requested picture file of a view.
struct PictureRequest
{
    QString fileName; ///< its ending is the format
    QSize size = QSize(1920, 1080);
    bool transparent = false; ///< no background; needs a format with alpha
    int quality = -1;         ///< 0 to 100, -1 = the format's default
    int dpi = 0;              ///< stored in the file; 0 = nothing is stored
};

/// Removes the background colour from a picture of a view, whose colours are blended over it and whose alpha is 0 where
/// only the background is seen. The result has straight alpha. Thread: any.
QImage withoutBackground(const QImage& picture, const QColor& background);

/// Draws a view at any size and writes it to a file that appears only when it is complete. Thread: application.
class PictureExport : public QObject
{
    Q_OBJECT
public:
    /// `watcher` reports whether the picture was drawn completely, `outputs` learns the names of the files. Both must
    /// outlive this object.
    PictureExport(const tov::app::RunWatcher* watcher, SafeRuns* outputs, QObject* parent = nullptr);
    /// Waits for the pictures that are being written.
    ~PictureExport() override;

    /// Suffixes of the formats that can be written, and whether one keeps transparency.
    static QStringList suffixes();
    static bool keepsTransparency(const QString& fileName);
    /// True when such a file can be written; otherwise `error` says why not, in one line.
    static bool check(const PictureRequest& request, QString* error);

    /// Begins; ends with `saved` or `failed`. False, with one line in `error`, when it cannot begin.
    bool start(tov::gui::ScenePanel* view, const PictureRequest& request, QString* error);
    /// True until the last picture is written.
    bool isBusy() const { return !m_FileNames.isEmpty(); }
    /// The pictures that are being drawn or written.
    QStringList getFileNames() const { return m_FileNames; }

signals:
    /// `seconds` it took to draw and write the picture.
    void saved(const QString& fileName, const QSize& size, double seconds);
    void failed(const QString& message);

private:
    struct Job
    {
        PictureRequest request;
        QElapsedTimer clock;
    };
    void save(const QImage& drawn, const Job& job);
    void finish(const Job& job, const QString& error);

    const tov::app::RunWatcher* mp_Watcher; ///< not owned
    SafeRuns* mp_Outputs;                   ///< not owned
    QStringList m_FileNames;                ///< of the pictures that are being drawn or written
};

} // namespace tov::viewer
