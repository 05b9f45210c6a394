#pragma once

#include "app/common/partkeys.h"
#include "app/common/scenefile.h"

#include <QHash>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace tov::scene {
class SceneElement;
}

namespace tov::viewer {

/// A part of a model, whatever element stands for it: it is the same part after the file was read again.
struct PartId
{
    quint64 model = 0; ///< its number
    QString key;       ///< see `PartKeys`

    bool operator==(const PartId& other) const { return model == other.model && key == other.key; }
};

/// The models in the global scene with the files they were read from, and the parts that the user has removed, which
/// are kept here. The functions that change the scene are called under a `SceneEdit`. Thread: application.
class SceneModels
{
public:
    typedef tov::app::SceneFile SceneFile;

    struct Model
    {
        quint64 number; ///< unique in the process; the same after the file was read again
        QString file;   ///< absolute; empty for elements that come from no file
        QString up;     ///< the upward axis with which it was read
    };
    /// A model that was read and is not in the scene yet.
    struct Loaded
    {
        SceneFile::Model source;
        std::unique_ptr<tov::scene::SceneElement> root;
    };
    SceneModels();
    SceneModels(const SceneModels&) = delete;
    SceneModels& operator=(const SceneModels&) = delete;
    /// Deletes the removed parts.
    ~SceneModels();

    /// Takes notice of models that others have added to the scene or deleted.
    void update();
    /// The models in the order of the scene.
    std::vector<Model> getModels() const;
    /// The models and the state of their parts, as a scene file stores them; models that the user has removed are left
    /// out, and those that could not be read are kept.
    std::vector<SceneFile::Model> collect() const;

    /// The part that an element of the scene is; none for elements of no model.
    std::optional<PartId> idOf(const tov::scene::SceneElement* element) const;
    /// The element of a part, removed or not; null when there is none any more.
    tov::scene::SceneElement* find(const PartId& id) const;

    /// Takes a part out of the scene and keeps it. False when it is not there.
    bool remove(const PartId& id);
    /// Puts a removed part back in its place. False when it was not removed.
    bool restore(const PartId& id);
    /// The removed parts of the models in the scene.
    std::vector<PartId> getRemoved() const;

    /// Replaces a model by the tree of its file as it is now; the states of parts, and removals, stay.
    void replace(quint64 number, std::unique_ptr<tov::scene::SceneElement> root);
    /// Replaces everything in the scene by these models. `missing`: models that are written by `collect` only.
    void show(std::vector<Loaded> models, std::vector<SceneFile::Model> missing);

private:
    /// A part outside of the scene.
    struct Removed
    {
        std::unique_ptr<tov::scene::SceneElement> element;
        QString parent;        ///< key
        std::size_t index = 0; ///< among the children of the parent
    };
    struct Entry
    {
        Model model;
        tov::scene::SceneElement* root = nullptr; ///< in the scene, or in `removed` under the empty key
        std::uint64_t rootId = 0;
        tov::app::PartKeys keys;
        std::vector<std::pair<QString, Removed>> removed; ///< in the order of removal
    };
    Entry* findEntry(quint64 number);
    const Entry* findEntry(quint64 number) const;
    static bool isRemoved(const Entry& entry, const QString& key);
    void add(tov::scene::SceneElement* root, const SceneFile::Model& source);

    std::vector<std::unique_ptr<Entry>> m_Entries;
    std::vector<SceneFile::Model> m_Missing;
    quint64 m_NextNumber = 1;
};

} // namespace tov::viewer
