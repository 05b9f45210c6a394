#pragma once

#include "app/common/partkeys.h"
#include "app/common/scenefile.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace tov::scene {
class SceneElement;
}

namespace tov::app {

/// The models of one call. Each file is read once, however many results it appears in; scenes that remove different
/// parts of it have copies of their own. Thread: application.
class ModelStore
{
public:
    ModelStore();
    ~ModelStore();
    /// Replaces the content of the global scene by these models, and reads those that are new. Their parts are in the
    /// given state afterwards. On failure false with one line in `error`, and the scene stays as it was. Missing parts
    /// of a model (textures, material files) are added to `warnings`. `progress` may be empty; it returns false to
    /// cancel.
    bool show(const std::vector<SceneFile::Model>& models, bool isStrict, QString* error, QStringList& warnings,
              const std::function<bool(int percent)>& progress);
    /// The models that are shown, with the current state of their parts.
    std::vector<SceneFile::Model> collect();

private:
    /// The root of a file, and its owner while it is not in the scene.
    struct Model
    {
        tov::scene::SceneElement* root = nullptr;
        std::unique_ptr<tov::scene::SceneElement> detached;
        PartKeys keys; ///< empty until needed
        SceneFile::Model source;
        std::vector<std::unique_ptr<tov::scene::SceneElement>> removed; ///< parts that `source` removes
    };
    bool read(Model& model, bool isStrict, QString* error, const std::function<bool(int percent)>& progress);
    static const PartKeys& keysOf(Model& model);
    static void resetParts(Model& model);
    static QString keyOf(const SceneFile::Model& model, int copy);

    std::map<QString, Model> m_Models; ///< by what they were read from, see `keyOf`
    QStringList m_Shown;
};

} // namespace tov::app
