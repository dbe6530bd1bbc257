#include "material/materialTable.h"

#include "materialFixture.h"

#include "material/standInMaterials.h"
#include "material/znRTBrushedMetalMaterial.h"
#include "material/znRTChunkMaterial.h"
#include "material/znRTDummyMaterial.h"
#include "material/znRTGlassMaterial.h"
#include "material/znRTLightMaterial.h"
#include "material/znRTLightPortalMaterial.h"
#include "material/znRTPhongMaterial.h"
#include "material/znRTPlainMaterial.h"
#include "material/znRTPlasticMaterial.h"
#include "material/znRTShadowMaterial.h"
#include "material/znRTSimpleMaterial.h"
#include "material/znRTSkylightMaterial.h"
#include "material/znRTSphereEnvironmentMaterial.h"
#include "material/znRTSubstanceMaterial.h"
#include "material/znRTSwitchMaterial.h"
#include "material/znRTTriplanarMaterial.h"
#include "material/znRTVolumeScatterMaterial.h"

#include <atomic>
#include <thread>

using namespace materialTest;

namespace {

osg::MaterialPtr make(const char* name)
{
    return osg::MaterialPtr::dcast(osg::FieldContainerFactory::the()->createContainer(name));
}

class MaterialTable : public MaterialTest
{
};

} // namespace

TEST_F(MaterialTable, GivesEachKindItsClassOrOneThatStandsIn)
{
    struct Row
    {
        const char* host;
        const znRTTypeId& shading;
    };
    const Row rows[] = {{"UPhongMaterial", znRTPhongMaterial::id},
                        {"UPlasticMaterial", znRTPlasticMaterial::id},
                        {"UReflectivePlasticMaterial", znRTReflectivePlasticMaterial::id},
                        {"UTriplanarMaterial", znRTTriplanarMaterial::id},
                        {"UReflectiveTriplanarMaterial", znRTReflectiveTriplanarMaterial::id},
                        {"UChromeMaterial", znRTChromeMaterial::id},
                        {"UGlassMaterial", znRTGlassMaterial::id},
                        {"ULightMaterial", znRTLightMaterial::id},
                        {"ULightPortalMaterial", znRTLightPortalMaterial::id},
                        {"UVolumeScatterMaterial", znRTVolumeScatterMaterial::id},
                        {"USphereEnvironmentMaterial", znRTSphereEnvironmentMaterial::id},
                        {"UShadowMaterial", znRTShadowMaterial::id},
                        {"USubstanceMaterial", znRTSubstanceMaterial::id},
                        {"UBrushedMetalMaterial", znRTBrushedMetalMaterial::id},
                        {"USkylightMaterial", znRTSkylightMaterial::id},
                        {"SimpleMaterial", znRTSimpleMaterial::id},
                        {"ChunkMaterial", znRTChunkMaterial::id},
                        {"SwitchMaterial", znRTSwitchMaterial::id}};
    for (const Row& row : rows) {
        const osg::Ref<osg::Material> host(make(row.host));
        ASSERT_TRUE(host.get()) << row.host;
        EXPECT_TRUE(scene.scene->createMaterial(host.get())->isOfType(row.shading)) << row.host;
        EXPECT_FALSE(scene.hasLogged(row.host));
    }
    const Row standIns[] = {{"UVelvetMaterial", znRTMatteStandIn::id},
                            {"UWovenClothMaterial", znRTMatteStandIn::id},
                            {"UMeasuredMaterial", znRTPlainMaterial::id},
                            {"UMeasuredCarpaintMaterial", znRTCoatedStandIn::id},
                            {"UMeasuredCarpaint2Material", znRTCoatedStandIn::id},
                            {"UOCSMaterial", znRTPlainMaterial::id},
                            {"UMetallicPaintMaterial", znRTCoatedStandIn::id},
                            {"UUnicolorPaintMaterial", znRTCoatedStandIn::id},
                            {"UFlipflopMaterial", znRTCoatedStandIn::id},
                            {"UCarbonMaterial", znRTCoatedStandIn::id},
                            {"UCarbonMaterial2D", znRTCoatedStandIn::id},
                            {"UTireMaterial", znRTCoatedStandIn::id},
                            {"USVBRDFMaterial", znRTCoatedStandIn::id},
                            {"ULineChromeMaterial", znRTMetalStandIn::id},
                            {"UXrayMaterial", znRTPlainMaterial::id}};
    for (const Row& row : standIns) {
        const osg::Ref<osg::Material> host(make(row.host));
        ASSERT_TRUE(host.get()) << row.host;
        const znRTMaterial* const shading = scene.scene->createMaterial(host.get());
        EXPECT_TRUE(shading->isOfType(row.shading)) << row.host;
        EXPECT_EQ(shading->getHostMaterial(), host.get());
    }
    for (const char* name :
         {"UGlowMaterial", "ULayeredMaterial", "UXRiteMeasuredMaterial", "MultiPassMaterial"}) {
        const osg::Ref<osg::Material> host(make(name));
        ASSERT_TRUE(host.get()) << name;
        EXPECT_TRUE(scene.scene->createMaterial(host.get())->isOfType(znRTDummyMaterial::id))
            << name;
    }
}

TEST_F(MaterialTable, SharesAMaterialAmongThreads)
{
    constexpr int count = 1000;
    std::vector<osg::Ref<osg::Material>> hosts;
    for (int i = 0; i < count; ++i)
        hosts.emplace_back(make("UPhongMaterial"));
    std::vector<znRTMaterial*> made[2];
    const auto work = [&](int thread) {
        for (int i = 0; i < count; ++i)
            made[thread].push_back(
                scene.scene->createMaterial(hosts[std::size_t(thread ? i : count - 1 - i)].get()));
    };
    std::thread other(work, 0);
    work(1);
    other.join();
    for (std::size_t i = 0; i < count; ++i)
        EXPECT_EQ(made[0][count - 1 - i], made[1][i]);
    EXPECT_EQ(scene.scene->getMaterialCount(), u64(count));
}

TEST_F(MaterialTable, MakesADuplicateFromTheSameHost)
{
    const osg::Ref<osg::Material> host(make("UPlasticMaterial"));
    znRTMaterial* const original = scene.scene->createMaterial(host.get());
    const std::unique_ptr<znRTMaterial> copy(original->getDuplicate());
    EXPECT_NE(copy.get(), original);
    EXPECT_TRUE(copy->isOfType(znRTPlasticMaterial::id));
    EXPECT_EQ(copy->getHostMaterial(), host.get());
}

namespace {

/// A kind that an application derives.
class UPearlPhongMaterial : public osg::UPhongMaterial
{
    ZN_CONTAINER(UPearlPhongMaterial, UPhongMaterial)
};
ZN_CONTAINER_BODY(UPearlPhongMaterial)

/// A kind whose record cannot be had.
class BrokenMaterial : public osg::UPhongMaterial
{
public:
    RaytracingAttributes& getRaytracingAttributes() override
    {
        if (isBroken)
            throw std::bad_alloc();
        return osg::UPhongMaterial::getRaytracingAttributes();
    }
    bool isBroken = true;
};

} // namespace

TEST_F(MaterialTable, TakesTheNearestKindForADerivedOne)
{
    const osg::Ref<UPearlPhongMaterial> host(UPearlPhongMaterial::create());
    EXPECT_TRUE(scene.scene->createMaterial(host.get())->isOfType(znRTPhongMaterial::id));
}

TEST_F(MaterialTable, StaysUsableAfterAMaterialThatCannotBeMade)
{
    const osg::Ref<BrokenMaterial> broken(osg::FCPtr<BrokenMaterial>(new BrokenMaterial));
    EXPECT_THROW(scene.scene->createMaterial(broken.get()), std::bad_alloc);
    EXPECT_EQ(scene.scene->getMaterial(broken.get()), nullptr);
    EXPECT_EQ(znRTAccelerator::getMaterialUseCount(broken->getId()), 0u);
    // The lock is free, for other threads too.
    znRTMaterial* made = nullptr;
    std::thread([&] { made = scene.scene->createMaterial(makeDiffuse(0.5f)); }).join();
    EXPECT_NE(made, nullptr);
    broken->isBroken = false;
    EXPECT_TRUE(scene.scene->createMaterial(broken.get())->isOfType(znRTPhongMaterial::id));
}

// The fallback stands under 0 in each scene and once in the process; a material counts its scenes.
TEST_F(MaterialTable, CountsTheScenesOfAMaterial)
{
    znRTDynamicBVH other;
    const osg::Ref<osg::Material> host(make("UPhongMaterial"));
    znRTMaterial* const shared = scene.scene->createMaterial(host.get());
    EXPECT_EQ(other.createMaterial(host.get()), shared);
    EXPECT_EQ(znRTAccelerator::getMaterialUseCount(host->getId()), 2u);
    EXPECT_EQ(scene.scene->createMaterial(host.get()), shared); // known: not counted again
    EXPECT_EQ(znRTAccelerator::getMaterialUseCount(host->getId()), 2u);
    EXPECT_EQ(scene.scene->createMaterial({}), other.createMaterial({}));
    EXPECT_TRUE(other.getMaterial(0u)->isOfType(znRTDummyMaterial::id));
    EXPECT_TRUE(other.deleteMaterial(host->getId()));
    EXPECT_EQ(other.getMaterial(host.get()), nullptr);
    EXPECT_EQ(scene.scene->getMaterial(host.get()), shared);
    EXPECT_EQ(znRTAccelerator::getMaterialUseCount(host->getId()), 1u);
    EXPECT_FALSE(other.deleteMaterial(0));
    other.clear();
}
