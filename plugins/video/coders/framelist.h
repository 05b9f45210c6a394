#pragma once

#include "plugins/video/coders/timing.h"

#include <QStringList>

namespace tov::plugins::video {

/// The numbered pictures of a list ("ffconcat", plain text): "turn.frames" goes with "turn.00001.png" and so on, in the
/// same folder. Characters that players refuse in lists are replaced. Thread: any.
class PictureNames
{
public:
    explicit PictureNames(const QString& listFile);
    /// The absolute path of the folder of the list and its pictures.
    QString folder() const { return m_Folder; }
    /// Name of picture `number`, from 1, without its folder.
    QString name(qint64 number) const;
    /// Path of picture `number`, from 1.
    QString path(qint64 number) const { return m_Folder + QLatin1Char('/') + name(number); }
    /// Removes the pictures after number `count`, which a longer recording of that name left behind.
    void removeBehind(qint64 count) const;

private:
    QString m_Folder;
    QString m_Prefix;
};

/// First line of a list.
QByteArray listHead();
/// The lines of one picture, which is shown for `seconds`.
QByteArray listEntry(const QString& name, double seconds);

/// `retimeFile` and `joinFiles` for lists. They write the list `output`, and the pictures of a joined one as
/// `finalName` needs them; they do not verify it.
QString retimeList(const QString& fileName, const QString& output, const Timing& timing);
/// As `joinFiles`, for lists; `finalName` is the name that the list gets once it is complete.
QString joinLists(const QStringList& parts, const std::vector<qint64>& counts, const QString& output,
                  const QString& finalName);
/// Pictures of a list; negative when one of them is missing or incomplete.
qint64 countListedPictures(const QString& fileName);

} // namespace tov::plugins::video
