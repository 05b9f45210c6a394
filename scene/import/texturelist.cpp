#include "scene/import/texturelist.h"

#include "scene/import/streamreader.h"

namespace tov::scene {

namespace {

/// Tabs and line feeds separate the fields.
QByteArray field(const QString& text)
{
    return QString(text)
        .replace(QLatin1Char('\t'), QLatin1Char(' '))
        .replace(QLatin1Char('\n'), QLatin1Char(' '))
        .toUtf8();
}

} // namespace

int TextureList::add(Use use, const QString& first, const QString& second, const QString& place)
{
    const char* const names[] = {"color", "alpha", "bump", "metal"};
    const QByteArray key = QByteArray(names[int(use)]) + '\t' + field(first) + '\t' + field(second) + '\t';
    const auto known = m_Numbers.find(key);
    if (known != m_Numbers.end())
        return known->second;
    m_Lines += key + field(place) + '\n';
    const int number = int(m_Numbers.size());
    m_Numbers.emplace(key, number);
    return number;
}

void TextureList::decode(const ReadSource& source, QStringList& warnings)
{
    if (!m_Lines.isEmpty())
        m_Images = readImageStream(runImportProcess(source, "images", m_Lines), warnings);
}

std::shared_ptr<const Image> TextureList::image(int number) const
{
    return number >= 0 && std::size_t(number) < m_Images.size() ? m_Images[std::size_t(number)] : nullptr;
}

} // namespace tov::scene
