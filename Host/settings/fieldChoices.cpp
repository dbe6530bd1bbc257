#include "settings/fieldChoices.h"

#include "host/osg/RaytracingSettingsAttachment.h"

namespace {

struct SettingNames
{
    std::string_view setting;
    std::vector<const char*> names;
};

const std::vector<const char*> qualityModes = {"baked", "bakedWithShadows", "sampledEnvironment",
                                               "full"};

const SettingNames settingNames[] = {
    {"nurbsMode", {"tessellated", "rayTraced"}},
    {"interactiveQualityMode", qualityModes},
    {"stillFrameQualityMode", qualityModes},
    {"lightOptimizationMode", {"allLights", "sampled"}},
    {"brdfMode", {"classic", "energyConserving"}},
    {"photonMode", {"off", "indirect", "indirectAndCaustics", "caustics"}},
    {"photonMapRefreshMode", {"onSceneChange", "eachImage", "onRequest"}},
    {"photonMapFreezeMode", {"live", "frozen"}},
    {"denoiseFilter", {"off", "host", "aiStill", "aiAlways"}},
    {"illuminant", {"D65", "A", "E"}},
};

} // namespace

std::vector<const char*> getFieldChoices(const osg::FieldContainerType& type,
                                         const osg::FieldDescription& field)
{
    if (type == osg::RaytracingSettingsAttachment::getClassType())
        for (const SettingNames& row : settingNames)
            if (row.setting == field.name)
                return row.names;
    return field.choices;
}
