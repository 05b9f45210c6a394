#pragma once

#include "kernel/main/export.h"
#include "kernel/util/zpointer.h"
#include "scene/scene.h"

namespace tov::scene {

/// The application's scene, the one that `Viewer::getGlobalScene` returns. Thread: any.
TOV_EXPORT tov::util::ZPointer<Scene> _GlobalScene();

} // namespace tov::scene
