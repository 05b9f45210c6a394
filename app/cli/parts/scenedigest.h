#pragma once

#include <QByteArray>

namespace tov::scene {
class SceneElement;
}

namespace tov::app {

/// A digest of everything in a tree that can change a picture of it: elements with their names, places and shapes,
/// materials, textures, skins, animations, cameras. Opacities belong to the look and are left out. It does not depend
/// on the folders of the files. The caller holds the scene lock, or nothing changes the tree. `root` may be null.
/// Thread: any.
QByteArray sceneDigest(const tov::scene::SceneElement* root);

} // namespace tov::app
