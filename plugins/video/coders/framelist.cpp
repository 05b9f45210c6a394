#include "plugins/video/coders/framelist.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <unistd.h>

namespace tov::plugins::video {

namespace {

/// Up to and including the header chunk of a PNG: size and kind of the pixels.
constexpr int PictureHeadBytes = 29;
const QByteArray PictureEnd("\0\0\0\0IEND\xae\x42\x60\x82", 12);
constexpr int NumberDigits = 5;

/// Players refuse lists that name files by anything but letters, digits, '.', '-' and '_', or with a leading dot.
QString portable(const QString& name)
{
    QString result = name;
    for (QChar& c : result)
        if (c.unicode() > 126 || !(c.isLetterOrNumber() || c == '-' || c == '_'))
            c = '_';
    if (result != name || result.isEmpty()) // distinguishes two lists in one folder
        result += '-' + QString::fromLatin1(
                            QCryptographicHash::hash(name.toUtf8(), QCryptographicHash::Sha1).toHex().left(8));
    return result;
}

struct Entry
{
    QString name; ///< without folder
    double seconds = 0;
};

struct List
{
    QString folder;
    std::vector<Entry> entries;
    QByteArray pictureHead; ///< common to all pictures

    /// Returns the problem, empty if there was none. All pictures must be complete and of one size.
    QString open(const QString& fileName)
    {
        QFile file(fileName);
        if (!file.open(QIODevice::ReadOnly))
            return QStringLiteral("cannot read '%1': %2").arg(fileName, file.errorString());
        folder = QFileInfo(fileName).absolutePath();
        if (file.readLine() != listHead())
            return QStringLiteral("'%1' is not a list of pictures").arg(fileName);
        while (!file.atEnd()) {
            const QString line = QString::fromUtf8(file.readLine()).trimmed();
            if (line.startsWith(QLatin1String("file ")))
                entries.push_back({line.mid(5)});
            else if (line.startsWith(QLatin1String("duration ")) && !entries.empty())
                entries.back().seconds = line.mid(9).toDouble();
            else if (!line.isEmpty())
                return QStringLiteral("'%1' is not a list of pictures").arg(fileName);
        }
        for (const Entry& entry : entries)
            if (!addPicture(folder + QLatin1Char('/') + entry.name))
                return QStringLiteral("'%1' lists the picture '%2', which is missing, incomplete or of another size")
                    .arg(fileName, entry.name);
        return entries.empty() ? QStringLiteral("'%1' lists no pictures").arg(fileName) : QString();
    }

private:
    bool addPicture(const QString& fileName)
    {
        QFile picture(fileName);
        if (!picture.open(QIODevice::ReadOnly))
            return false;
        const QByteArray head = picture.read(PictureHeadBytes);
        if (!picture.seek(picture.size() - PictureEnd.size()) || picture.readAll() != PictureEnd)
            return false;
        if (pictureHead.isEmpty())
            pictureHead = head;
        return head == pictureHead;
    }
};

QString writeList(const QString& fileName, const std::vector<Entry>& entries)
{
    QByteArray text = listHead();
    for (const Entry& entry : entries)
        text += listEntry(entry.name, entry.seconds);
    QFile file(fileName);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(text) == text.size() && file.flush())
        return QString();
    return QStringLiteral("cannot write '%1': %2").arg(fileName, file.errorString());
}

/// Gives a picture a second name: a hard link where the file system allows it, otherwise a copy.
bool linkOrCopy(const QString& from, const QString& to)
{
    const QString temporary = to + QLatin1Char('~');
    QFile::remove(temporary);
    if (::link(QFile::encodeName(from).constData(), QFile::encodeName(temporary).constData()) != 0 &&
        !QFile::copy(from, temporary)) {
        QFile::remove(temporary);
        return false;
    }
    const bool isRenamed = ::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(to).constData()) == 0;
    // It still exists if both names already belonged to the same file.
    QFile::remove(temporary);
    return isRenamed;
}

} // namespace

PictureNames::PictureNames(const QString& listFile)
{
    const QFileInfo info(listFile);
    m_Folder = info.absolutePath();
    m_Prefix = portable(info.completeBaseName());
}

QString PictureNames::name(qint64 number) const
{
    return QStringLiteral("%1.%2.png")
        .arg(m_Prefix, QStringLiteral("%1").arg(number, NumberDigits, 10, QLatin1Char('0')));
}

void PictureNames::removeBehind(qint64 count) const
{
    const QRegularExpression numbered(QStringLiteral("^%1\\.(\\d{%2,})\\.png$")
                                          .arg(QRegularExpression::escape(m_Prefix), QString::number(NumberDigits)));
    for (const QString& file : QDir(m_Folder).entryList(QDir::Files)) {
        const QRegularExpressionMatch match = numbered.match(file);
        if (match.hasMatch() && match.captured(1).toLongLong() > count)
            QFile::remove(m_Folder + QLatin1Char('/') + file);
    }
}

QByteArray listHead()
{
    return "ffconcat version 1.0\n";
}

QByteArray listEntry(const QString& name, double seconds)
{
    return "file " + name.toUtf8() + "\nduration " + QByteArray::number(seconds, 'f', 6) + '\n';
}

QString retimeList(const QString& fileName, const QString& output, const Timing& timing)
{
    List list;
    QString problem = list.open(fileName);
    if (!problem.isEmpty())
        return problem;
    const qint64 count = qint64(list.entries.size());
    if (!timing.starts.empty() && qint64(timing.starts.size()) != count)
        return QStringLiteral("'%1' lists %2 pictures instead of %3")
            .arg(fileName, QString::number(count), QString::number(timing.starts.size()));
    for (qint64 i = 0; i < count; ++i)
        list.entries[std::size_t(i)].seconds = timing.at(i + 1, count) - timing.at(i, count);
    return writeList(output, list.entries);
}

QString joinLists(const QStringList& parts, const std::vector<qint64>& counts, const QString& output,
                  const QString& finalName)
{
    std::vector<List> lists(std::size_t(parts.size()));
    for (std::size_t i = 0; i < lists.size(); ++i) {
        QString problem = lists[i].open(parts[int(i)]);
        if (!problem.isEmpty())
            return problem;
        if (!counts.empty() && qint64(lists[i].entries.size()) != counts[i])
            return QStringLiteral("'%1' lists %2 pictures instead of %3")
                .arg(parts[int(i)], QString::number(lists[i].entries.size()), QString::number(counts[i]));
        if (lists[i].pictureHead != lists.front().pictureHead)
            return QStringLiteral("'%1' differs from the first part in picture size").arg(parts[int(i)]);
        if (std::abs(lists[i].entries.front().seconds - lists.front().entries.front().seconds) > 1e-6)
            return QStringLiteral("'%1' differs from the first part in frame rate").arg(parts[int(i)]);
    }
    const PictureNames names(finalName);
    std::vector<Entry> entries;
    for (const List& list : lists)
        for (const Entry& entry : list.entries) {
            const qint64 number = qint64(entries.size()) + 1;
            if (!linkOrCopy(list.folder + QLatin1Char('/') + entry.name, names.path(number)))
                return QStringLiteral("cannot write the picture '%1'").arg(names.path(number));
            entries.push_back({names.name(number), entry.seconds});
        }
    names.removeBehind(qint64(entries.size()));
    return writeList(output, entries);
}

qint64 countListedPictures(const QString& fileName)
{
    List list;
    return list.open(fileName).isEmpty() ? qint64(list.entries.size()) : -1;
}

} // namespace tov::plugins::video
