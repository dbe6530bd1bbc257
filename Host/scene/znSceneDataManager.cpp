#include "host/znSceneDataManager.h"

#include <mutex>
#include <vector>

ZN_CONTAINER_BODY(znSceneData)

znSceneDataManager* znSceneDataManager::the()
{
    static znSceneDataManager manager;
    return &manager;
}

znSceneData* znSceneDataManager::getSceneData(u32 index)
{
    // Never destroyed: scenes outlive every static that may still ask for them.
    static std::mutex* const mutex = new std::mutex;
    static std::vector<znSceneData*>* const scenes = new std::vector<znSceneData*>;
    const std::lock_guard lock(*mutex);
    while (scenes->size() <= index) {
        const auto scene = znSceneData::create();
        scene->addRef();
        scenes->push_back(scene.get());
    }
    return (*scenes)[index];
}
