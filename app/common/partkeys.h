#pragma once

#include "app/common/scenefile.h"

#include <QHash>
#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

namespace tov::scene {
class SceneElement;
}

namespace tov::app {

/// Names the elements of a model so that they are found again when the file is read again: by the names from the root
/// of the model down, separated by "/", with a number for siblings of one name ("crane/wheel#2"). The key of the root
/// is empty. Thread: application.
class PartKeys
{
public:
    PartKeys() = default;
    bool isEmpty() const { return m_Entries.empty(); }
    /// Names the elements of a tree as it was read from its file.
    explicit PartKeys(tov::scene::SceneElement& root);

    /// The element of a key, whether it is in the tree now or not; null when there is none. The caller knows that it
    /// was not deleted.
    tov::scene::SceneElement* find(const QString& key) const { return m_Elements.value(key); }
    /// The key of an element; a null text for elements of other trees.
    QString keyOf(const tov::scene::SceneElement& element) const;

    /// The parts under `root` that differ from the file, those that are no longer there included.
    std::vector<SceneFile::Part> collect(tov::scene::SceneElement& root) const;

private:
    struct Entry
    {
        std::uint64_t element; ///< its identifier
        std::uint64_t parent;
    };
    std::vector<Entry> m_Entries; ///< from the root down
    QHash<std::uint64_t, QString> m_Keys;
    QHash<QString, tov::scene::SceneElement*> m_Elements;
};

/// What differs from the file, without the key.
SceneFile::Part partStateOf(const tov::scene::SceneElement& element);
/// Shows, hides and colours one element. Removal is up to the caller, who holds a `SceneEdit`.
void setPartState(tov::scene::SceneElement& element, const SceneFile::Part& state);
/// Applies the state of parts to the tree of `keys`, and takes removed parts out of it: they are returned, and must
/// live as long as the tree, whose skins and animations may refer to them. Parts that the tree does not have are
/// skipped. The caller holds a `SceneEdit`.
std::vector<std::unique_ptr<tov::scene::SceneElement>> applyParts(const PartKeys& keys,
                                                                  const std::vector<SceneFile::Part>& parts);

} // namespace tov::app
