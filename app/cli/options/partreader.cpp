#include "app/cli/options/partreader.h"

#include "app/cli/options/optionreader.h"

#include <QCoreApplication>
#include <QStringList>

namespace tov::app {

namespace {

constexpr int MostParts = 100000;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

void readPart(OptionReader& reader, PartRequest& request)
{
    const QString text = reader.text("part");
    const QStringList numbers = text.split(QLatin1Char('/'));
    bool isPart = false, isCount = false;
    request.part = numbers.first().toInt(&isPart);
    request.count = numbers.value(1).toInt(&isCount);
    if (numbers.size() != 2 || !isPart || !isCount)
        reader.fail(tr("--part must be a part and the number of parts, such as 3/8 (got \"%1\")").arg(text));
    else if (request.count < 1 || request.count > MostParts)
        reader.fail(tr("--part %1: the number of parts must be from 1 to %2").arg(text, QString::number(MostParts)));
    else if (request.part < 1 || request.part > request.count)
        reader.fail(tr("--part %1: the part must be from 1 to %2").arg(text, QString::number(request.count)));
}

} // namespace

void readParts(OptionReader& reader, PartRequest& request)
{
    if (reader.has("part") && reader.has("parts"))
        reader.fail(tr("give either --part or --parts"));
    if (reader.has("status") && !reader.has("parts"))
        reader.fail(tr("--status belongs to --parts"));
    // Scripts give the same options to the parts and to the call that joins them.
    if (reader.has("keep-parts") && !reader.has("parts") && !reader.has("part"))
        reader.fail(tr("--keep-parts belongs to --part or --parts"));
    request.keepsParts = reader.has("keep-parts");
    request.showsStatus = reader.has("status");
    if (reader.has("parts"))
        reader.readInt("parts", 1, MostParts, request.count);
    else if (reader.has("part"))
        readPart(reader, request);
    if (!request.isShared())
        return;
    if (reader.has("free"))
        reader.fail(tr("a --free recording cannot be made in parts"));
    if (reader.text("output") == QLatin1String("-"))
        reader.fail(tr("a recording in parts cannot go to standard output"));
}

} // namespace tov::app
