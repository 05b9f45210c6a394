#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <memory>

namespace tov::scene {
class SceneElement;
}

namespace tov::app {

/// The models of one call. Each file is read once, however many results it appears in. Thread: application.
class ModelStore
{
public:
    ModelStore();
    ~ModelStore();
    /// Replaces the content of the global scene by these files, and reads those that are new. On failure false with
    /// one line in `error`, and the scene stays as it was. Missing parts of a model (textures, material files) are
    /// added to `warnings`. `progress` may be empty; it returns false to cancel.
    bool show(const QStringList& fileNames, const QString& modelUp, bool isStrict, QString* error,
              QStringList& warnings, const std::function<bool(int percent)>& progress);

private:
    /// The root of a file, and its owner while it is not in the scene.
    struct Model
    {
        tov::scene::SceneElement* root = nullptr;
        std::unique_ptr<tov::scene::SceneElement> detached;
    };
    std::map<QString, Model> m_Models; ///< by file name, copy and upward axis
    QStringList m_Shown;
};

} // namespace tov::app
