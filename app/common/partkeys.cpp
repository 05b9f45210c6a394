#include "app/common/partkeys.h"

#include "scene/geometryelement.h"

#include <QCryptographicHash>
#include <QSet>

namespace tov::app {

using tov::scene::GeometryElement;
using tov::scene::SceneElement;

namespace {

/// Longer keys of parents are shortened, because files may nest elements very deeply.
constexpr int LongestParent = 512;

QString escaped(QString name)
{
    for (const char* special : {"\\", "/", "#"})
        name.replace(QLatin1String(special), QLatin1Char('\\') + QLatin1String(special));
    // Keys are stored in files, which hold no control characters.
    for (QChar& c : name)
        if (c.category() == QChar::Other_Control)
            c = QLatin1Char('?');
    return name;
}

QString prefixOf(const QString& parentKey)
{
    if (parentKey.isEmpty())
        return QString();
    if (parentKey.size() <= LongestParent)
        return parentKey + QLatin1Char('/');
    const QByteArray hash = QCryptographicHash::hash(parentKey.toUtf8(), QCryptographicHash::Sha1).toHex();
    return QLatin1Char('~') + QString::fromLatin1(hash) + QLatin1Char('/');
}

} // namespace

PartKeys::PartKeys(SceneElement& root)
{
    std::vector<SceneElement*> pending{&root};
    m_Keys[root.getId()] = QLatin1String("");
    while (!pending.empty()) {
        SceneElement* element = pending.back();
        pending.pop_back();
        const QString key = m_Keys[element->getId()];
        m_Elements.insert(key, element);
        m_Entries.push_back({element->getId(), element == &root ? 0 : element->getParent()->getId()});
        QHash<QString, int> counts;
        for (SceneElement* child : element->getChildren()) {
            QString step = escaped(child->getName());
            if (const int number = ++counts[step]; number > 1)
                step += QLatin1Char('#') + QString::number(number);
            m_Keys[child->getId()] = prefixOf(key) + step;
        }
        pending.insert(pending.end(), element->getChildren().rbegin(), element->getChildren().rend());
    }
}

QString PartKeys::keyOf(const SceneElement& element) const
{
    return m_Keys.value(element.getId());
}

std::vector<SceneFile::Part> PartKeys::collect(SceneElement& root) const
{
    std::vector<SceneFile::Part> parts;
    QSet<std::uint64_t> present;
    std::vector<SceneElement*> pending{&root};
    while (!pending.empty()) {
        SceneElement* element = pending.back();
        pending.pop_back();
        present.insert(element->getId());
        SceneFile::Part part = partStateOf(*element);
        if (!(part == SceneFile::Part())) {
            part.key = keyOf(*element);
            parts.push_back(part);
        }
        pending.insert(pending.end(), element->getChildren().rbegin(), element->getChildren().rend());
    }
    for (const Entry& entry : m_Entries) {
        if (present.contains(entry.element) || !present.contains(entry.parent))
            continue;
        SceneFile::Part part;
        part.key = m_Keys[entry.element];
        part.isRemoved = true;
        parts.push_back(part);
    }
    return parts;
}

SceneFile::Part partStateOf(const SceneElement& element)
{
    SceneFile::Part part;
    part.isHidden = !element.isVisible();
    if (const auto* geometry = dynamic_cast<const GeometryElement*>(&element)) {
        part.color = geometry->getColor();
        part.opacity = double(geometry->getOpacity());
    }
    return part;
}

void setPartState(SceneElement& element, const SceneFile::Part& state)
{
    element.setVisible(!state.isHidden);
    if (auto* geometry = dynamic_cast<GeometryElement*>(&element)) {
        if (geometry->getColor() != state.color)
            geometry->setColor(state.color);
        geometry->setOpacity(float(state.opacity));
    }
}

std::vector<std::unique_ptr<SceneElement>> applyParts(const PartKeys& keys, const std::vector<SceneFile::Part>& parts)
{
    std::vector<std::unique_ptr<SceneElement>> removed;
    for (const SceneFile::Part& part : parts) {
        SceneElement* element = keys.find(part.key);
        if (!element)
            continue;
        setPartState(*element, part);
        // The root stays: a model without it would not be a model.
        if (part.isRemoved && element->getParent() && !part.key.isEmpty())
            removed.emplace_back(element->getParent()->takeChild(element));
    }
    return removed;
}

} // namespace tov::app
