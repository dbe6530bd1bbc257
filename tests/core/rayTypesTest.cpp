#include "core/rayTypes.h"

#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>

namespace {

const std::map<std::string, u32> classes = {{"camera", rayType::camera},
                                            {"diffuse", rayType::diffuseScatter},
                                            {"glossy", rayType::glossyReflection},
                                            {"mirror", rayType::mirrorReflection},
                                            {"glossy transmission", rayType::glossyTransmission},
                                            {"refraction", rayType::specularRefraction},
                                            {"light shadow", rayType::lightShadow},
                                            {"environment shadow", rayType::environmentShadow},
                                            {"reflected shadow", rayType::reflectedShadow},
                                            {"shadow material", rayType::shadowMaterialShadow},
                                            {"photon", rayType::photon}};

/// Classes that no longer see an object after a switch took its bits away.
std::set<std::string> hiddenBy(u32 switchBits)
{
    std::set<std::string> hidden;
    for (const auto& [name, type] : classes)
        if ((type & rayType::defaultVisibility & ~switchBits) == 0)
            hidden.insert(name);
    return hidden;
}

} // namespace

TEST(RayTypes, AreHiddenByTheirOwnSwitches)
{
    using Names = std::set<std::string>;
    EXPECT_EQ(hiddenBy(rayType::primarySwitch), Names({"camera"}));
    EXPECT_EQ(hiddenBy(rayType::reflectionsSwitch),
              Names({"diffuse", "glossy", "mirror", "reflected shadow"}));
    EXPECT_EQ(hiddenBy(rayType::refractionsSwitch), Names({"glossy transmission", "refraction"}));
    EXPECT_EQ(hiddenBy(rayType::shadowsSwitch),
              Names({"light shadow", "environment shadow", "reflected shadow", "shadow material"}));
    EXPECT_EQ(hiddenBy(rayType::shadowMaterialSwitch), Names({"shadow material"}));
    EXPECT_EQ(hiddenBy(rayType::glossySwitch), Names({"diffuse", "glossy", "glossy transmission"}));
    EXPECT_EQ(hiddenBy(rayType::photonsSwitch), Names({"photon"}));
}

TEST(RayTypes, NeverSeeAnythingByFlagsAlone)
{
    EXPECT_EQ((rayType::stochasticBounce | rayType::passThrough) & rayType::defaultVisibility, 0u);
}

TEST(RayTypes, StayWithTheirEye)
{
    const u32 left = rayType::child(rayType::cameraLeft, rayType::mirrorReflection);
    const u32 right = rayType::child(rayType::cameraRight, rayType::mirrorReflection);
    EXPECT_EQ(left, 0x100u);
    EXPECT_EQ(right, 0x200u);
    EXPECT_EQ(rayType::child(left, rayType::lightShadow), 0x4000u);
    EXPECT_EQ(rayType::child(right, rayType::lightShadow), 0x8000u);
    EXPECT_EQ(rayType::child(rayType::camera, rayType::lightShadow), 0x8000u);
    EXPECT_EQ(rayType::child(left, rayType::diffuseScatter, rayType::stochasticBounce), 0x13u);
}

TEST(RayTypes, MarkRaysBehindASurfaceWithoutChangingTheirEye)
{
    EXPECT_EQ(rayType::behindSurface(rayType::cameraLeft), 0x100004u);
    EXPECT_EQ(rayType::behindSurface(rayType::cameraRight), 0x200008u);
    EXPECT_EQ(rayType::eyeHalf(rayType::behindSurface(rayType::cameraLeft)), rayType::leftEye);
}
