#include "scene/globalscene.h"

namespace tov::scene {

tov::util::ZPointer<Scene> _GlobalScene()
{
    static const auto scene = new tov::util::ZPointer<Scene>(new Scene); // lives as long as the process
    return *scene;
}

} // namespace tov::scene
