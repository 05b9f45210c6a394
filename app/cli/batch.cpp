#include "app/cli/batch.h"

#include "app/cli/options/optiontable.h"
#include "app/cli/outputs/outputstream.h"

#include <QFile>
#include <QFileInfo>

#include <cstdio>

namespace tov::app {

namespace {

/// A larger file is not a job list.
constexpr qint64 MostBytes = 64 << 20;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

bool readText(const QString& fileName, QString& text, QString* error)
{
    QFile file(fileName);
    const bool isOpen = fileName == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly)
                                                       : !QFileInfo(fileName).isDir() && file.open(QIODevice::ReadOnly);
    if (!isOpen) {
        *error = tr("cannot read '%1': %2")
                     .arg(fileName, QFileInfo(fileName).isDir() ? tr("it is a folder") : file.errorString());
        return false;
    }
    QByteArray bytes;
    while (bytes.size() <= MostBytes) {
        const QByteArray part = file.read(MostBytes);
        if (part.isEmpty())
            break;
        bytes += part;
    }
    if (bytes.size() > MostBytes || file.error() != QFileDevice::NoError) {
        *error = tr("cannot read '%1': %2")
                     .arg(fileName, bytes.size() > MostBytes ? tr("it is larger than 64 MiB") : file.errorString());
        return false;
    }
    text = QString::fromUtf8(bytes);
    return true;
}

} // namespace

bool splitWords(const QString& line, QStringList& words)
{
    QString word;
    bool isWord = false;
    QChar quote;
    for (int i = 0; i < line.size(); ++i) {
        const QChar c = line[i];
        if (c == QLatin1Char('\\') && quote != QLatin1Char('\'') && i + 1 < line.size()) {
            word += line[++i];
            isWord = true;
        } else if (!quote.isNull()) {
            if (c == quote)
                quote = QChar();
            else
                word += c;
        } else if (c == QLatin1Char('\'') || c == QLatin1Char('"')) {
            quote = c;
            isWord = true;
        } else if (!c.isSpace()) {
            word += c;
            isWord = true;
        } else if (isWord) {
            words << word;
            word.clear();
            isWord = false;
        }
    }
    if (isWord)
        words << word;
    return quote.isNull();
}

bool readJobLines(const Options& options, std::vector<JobLine>& lines, QString* error)
{
    const QString fileName = options.value(QStringLiteral("jobs"));
    if (fileName.isNull()) {
        lines.push_back({options, QString(), QString()});
        return true;
    }
    QString text;
    if (!readText(fileName, text, error))
        return false;
    int number = 0;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        ++number;
        QStringList words;
        JobLine job;
        job.origin = tr("%1, line %2").arg(fileName, QString::number(number));
        if (line.trimmed().startsWith(QLatin1Char('#')))
            continue;
        if (!splitWords(line, words))
            job.error = tr("a quote is not closed");
        else if (words.isEmpty())
            continue;
        Options own;
        own.verb = options.verb;
        if (job.error.isEmpty())
            readVerbOptions(words, own, &job.error);
        job.options = options;
        job.options.values.erase(QStringLiteral("jobs"));
        for (const auto& [option, values] : own.values)
            job.options.values[option] = values;
        if (!own.files.isEmpty())
            job.options.files = own.files;
        lines.push_back(job);
    }
    return true;
}

QString describeOptions(const Options& options)
{
    static const QStringList left{QStringLiteral("output"), QStringLiteral("save-scene"), QStringLiteral("jobs"),
                                  QStringLiteral("json"),   QStringLiteral("quiet"),      QStringLiteral("verbose")};
    QStringList words;
    for (const auto& [option, values] : options.values) {
        if (left.contains(option))
            continue;
        for (QString value : values) {
            QString word = QStringLiteral("--") + option;
            if (!value.isEmpty())
                word += QStringLiteral("='") + value.replace(QLatin1Char('\''), QStringLiteral("'\\''")) +
                        QLatin1Char('\'');
            words << word;
        }
    }
    return words.join(QLatin1Char(' '));
}

bool checkOlderFiles(const OutputRequest& output, const ViewRequest& view, const QString& fileName, QString* error)
{
    if (output.older != SafeOutput::Older::Keep)
        return true;
    QStringList names{view.savedScene};
    if (!isStream(output, fileName))
        names.prepend(fileName);
    for (const QString& name : names)
        if (QFileInfo::exists(name)) {
            *error = tr("'%1' exists already").arg(name);
            return false;
        }
    return true;
}

} // namespace tov::app
