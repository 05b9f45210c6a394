#include "scene/globalscene.h"

namespace tov::scene {

tov::util::ZPointer<Scene> _GlobalScene()
{
    static const auto scene = new tov::util::ZPointer<Scene>(new Scene); // never destroyed
    return *scene;
}

} // namespace tov::scene
