#pragma once

#include "app/common/background.h"
#include "scene/drawing/scenelook.h"
#include "scene/sceneextent.h"
#include "scene/view/camera.h"
#include "trajectory/selection.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace tov::app {

/// A scene as it is stored in a file (.tovscene): the models, the state of their parts, the look, the views and what
/// moves. A plain value; `PartKeys` connects its parts to the elements of the scene that is shown.
struct SceneFile
{
    /// The suffix of scene files, without the dot.
    static const QString Suffix;

    /// A part that differs from what the model file says.
    struct Part
    {
        QString key; ///< see `PartKeys`
        bool isHidden = false;
        bool isRemoved = false;
        std::optional<QColor> color; ///< replaces the material
        double opacity = 1;          ///< 0 to 1

        bool operator==(const Part& other) const;
    };
    struct Model
    {
        QString file; ///< absolute
        QString up;   ///< see `SceneImport::Options::modelUp`; empty: as the file says
        std::vector<Part> parts;
    };
    struct View
    {
        tov::scene::Camera camera;
        bool isFollowing = true; ///< a trajectory moves it
    };
    struct Bookmark
    {
        QString name;
        tov::scene::Camera camera;
    };
    struct Motion
    {
        tov::trajectory::Selection selection;
        unsigned long position = 0;

        bool isNone() const { return selection.kind == tov::trajectory::Selection::Kind::None && !selection.animation; }
    };

    std::vector<Model> models;
    tov::scene::SceneLook look; ///< without the environment itself, which is named by `environmentFile`
    Background background;
    std::optional<tov::scene::SceneExtent> extent; ///< with which the views were drawn
    std::vector<View> views;                       ///< at most four
    std::size_t activeView = 0;                    ///< below the number of views, unless there is none
    std::vector<Bookmark> bookmarks;
    Motion motion;
    QString origin; ///< of an automatic copy: the file that the scene belongs to, absolute; otherwise empty

    /// True for names that end in ".tovscene", in any case. Thread: any, as for all functions.
    static bool isSceneFile(const QString& fileName);
    /// Reads a file. On failure none and one line in `error` that names the file and says what is wrong with it. The
    /// models and other files that it names are not opened.
    static std::optional<SceneFile> load(const QString& fileName, QString* error);
    /// Replaces the file by this scene, or leaves it as it is: false and one line in `error`, also when `load` could
    /// not read the result. The names of files are stored relative to its folder.
    bool save(const QString& fileName, QString* error) const;
    /// The text of a file in that folder.
    QByteArray toJson(const QString& folder) const;
    /// The scene of a text, without the name of a file in `error`.
    static std::optional<SceneFile> fromJson(const QByteArray& text, const QString& folder, QString* error);
};

} // namespace tov::app
