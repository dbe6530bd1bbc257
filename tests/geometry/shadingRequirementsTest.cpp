#include "core/shadingRequirements.h"

#include "material/znRTMaterial.h"
#include "support/lanes.h"
#include "support/meshScene.h"
#include "support/poison.h"

#include <functional>

namespace {

using namespace shadingRequirement;
using namespace vertexAttribute;

const znRTTypeId askingTypeId("AskingMaterial");

/// A material that asks for exactly what a test tells it to.
class AskingMaterial : public znRTMaterial
{
public:
    AskingMaterial() : znRTMaterial(askingTypeId, nullptr) { ask(0, 0); }
    znRTMaterial* getDuplicate() const override { return new AskingMaterial(*this); }
    using znRTMaterial::shade;
    void shade(const znRTRayDifferentialPacket&, znRTDataBlockPacket&, znRTFragment&,
               const znFloatType<2>&, znRTShadingState&) const override
    {
    }
    void ask(u32 requirements, u32 attributes)
    {
        materialState.shadingRequirements = requirements;
        materialState.materialAttributes = attributes;
        materialState.shadowShadingRequirements = 0;
        materialState.transparencyAttributes = 0;
    }
    void askForShadows(u32 requirements, u32 attributes)
    {
        materialState.shadowShadingRequirements = requirements;
        materialState.transparencyAttributes = attributes;
    }
    void wantTangents() { needsConsistentTangents = true; }
};

/// A field of the block and when it is filled.
struct Field
{
    const char* name;
    std::function<const znFloatType<2>*(const znRTDataBlockPacket&)> first;
    int count; ///< packets
    std::function<bool(u32 requirements, u32 attributes)> isAskedFor;
};

bool always(u32, u32)
{
    return true;
}

auto byRequirement(u32 bits)
{
    return [bits](u32 requirements, u32) { return (requirements & bits) != 0; };
}

auto byAttribute(u32 bits)
{
    return [bits](u32, u32 attributes) { return (attributes & bits) != 0; };
}

auto byEither(u32 requirementBits, u32 attributeBits)
{
    return [=](u32 requirements, u32 attributes) {
        return (requirements & requirementBits) != 0 || (attributes & attributeBits) != 0;
    };
}

#define ZN_BLOCK_FIELD(path, count, condition)                                                     \
    {                                                                                              \
#path,                                                                                     \
            [](const znRTDataBlockPacket&                                                          \
                   block) { return reinterpret_cast<const znFloatType<2>*>(&block.path); }, count, \
                                                                                         condition \
    }

const Field fields[] = {
    ZN_BLOCK_FIELD(dg.position, 3, always),
    ZN_BLOCK_FIELD(dg.geometricNormal, 3, always),
    ZN_BLOCK_FIELD(dg.shadingNormal, 3, always),
    ZN_BLOCK_FIELD(dg.frontFacing, 1, always),
    ZN_BLOCK_FIELD(dg.uv, 2, always),
    ZN_BLOCK_FIELD(base, 9, always),
    ZN_BLOCK_FIELD(facedNormal, 3, always),
    ZN_BLOCK_FIELD(cosIncidence, 1, always),
    ZN_BLOCK_FIELD(coverage, 1, always),
    ZN_BLOCK_FIELD(b0, 1, always),
    ZN_BLOCK_FIELD(uv[0], 2, always),
    ZN_BLOCK_FIELD(ambientOcclusion, 3, always),
    ZN_BLOCK_FIELD(dg.dPdx, 3, byRequirement(footprint)),
    ZN_BLOCK_FIELD(dg.dPdy, 3, byRequirement(footprint)),
    ZN_BLOCK_FIELD(dg.dUVdx, 2, byEither(footprint, vertexTangents)),
    ZN_BLOCK_FIELD(dg.dUVdy, 2, byEither(footprint, vertexTangents)),
    ZN_BLOCK_FIELD(dg.dPdu, 3, byEither(derivatives, textureTangents)),
    ZN_BLOCK_FIELD(dg.dPdv, 3, byEither(derivatives, textureTangents)),
    ZN_BLOCK_FIELD(dg.dNdu, 3, byRequirement(derivatives)),
    ZN_BLOCK_FIELD(dg.dNdv, 3, byRequirement(derivatives)),
    ZN_BLOCK_FIELD(dg.dNdx, 3, byRequirement(derivatives)),
    ZN_BLOCK_FIELD(dg.dNdy, 3, byRequirement(derivatives)),
    ZN_BLOCK_FIELD(dg.tangent, 3, byEither(shadingFrame, vertexTangents)),
    ZN_BLOCK_FIELD(edgeVertices, 9, byRequirement(edgeData)),
    ZN_BLOCK_FIELD(uv[1], 14, byAttribute(textureCoordinates)),
    ZN_BLOCK_FIELD(vertexColor, 4, byAttribute(vertexColor)),
    ZN_BLOCK_FIELD(bakedIrradiance, 4, byAttribute(bakedIrradiance)),
    ZN_BLOCK_FIELD(bakedColor, 3, byAttribute(bakedColor)),
    ZN_BLOCK_FIELD(nodeToWorld, 16, byRequirement(spawnData | footprint)),
    ZN_BLOCK_FIELD(worldToNode, 16, byRequirement(spawnData | footprint)),
    ZN_BLOCK_FIELD(objectPosition, 3, byRequirement(spawnData | footprint)),
    ZN_BLOCK_FIELD(objectNormal, 3, byRequirement(spawnData | footprint)),
    ZN_BLOCK_FIELD(volumeEntry, 1, [](u32, u32) { return false; }),
    ZN_BLOCK_FIELD(volumeExit, 1, [](u32, u32) { return false; }),
};

/// The packets of a field that were written in a lane: all, none or a part of them.
int writtenIn(const Field& field, const znRTDataBlockPacket& block, int lane)
{
    int written = 0;
    for (int i = 0; i < field.count; ++i)
        written += !isPoisoned(field.first(block)[i], lane);
    return written;
}

/// A square with everything a mesh can have.
GeometryRef makeRichSquare()
{
    const GeometryRef square = makeSquare();
    square->setTexCoords1(square->getTexCoords());
    square->setTexCoords7(square->getTexCoords());
    const u8 colors[16] = {9, 8, 7, 6, 5, 4, 3, 2, 1, 2, 3, 4, 5, 6, 7, 8};
    const osg::GeoPropertyPtr property = osg::GeoProperty::create({0u});
    property->set(osg::GeoProperty::UInt8, 4, colors, 4, true);
    square->setColors(property);
    square->setBakedColors(true);
    return square;
}

class ShadingRequirements : public testing::Test
{
protected:
    ShadingRequirements() : square(makeRichSquare())
    {
        for (AskingMaterial& material : materials)
            material.wantTangents();
        for (int i = 0; i < 2; ++i) {
            const osg::NodePtr node =
                scene.add(square.get(), makeTranslation(10.0f * float(i), 0.0f, 1.0f));
            scene.mesh(node).setMaterial(&materials[i]);
            nodes[i] = &scene.mesh(node);
        }
        scene.build();
        rays.hasDifferentials = 1;
        rays.rxOrigin = rays.origin + znRTVector3fPacket(1e-3f, 0.0f, 0.0f);
        rays.ryOrigin = rays.origin + znRTVector3fPacket(0.0f, 1e-3f, 0.0f);
        rays.rxDirection = rays.ryDirection = rays.direction;
    }
    znRTDataBlockPacket shaded(int mask, bool shadow = false, u32 extraAttributes = 0,
                               u32 extraRequirements = 0)
    {
        znRTDataBlockPacket block(scene.trace(rays, mask));
        poison(block);
        scene.scene->getShadingData(rays, block, shadow, extraAttributes, extraRequirements);
        block.computeShadingData(rays);
        return block;
    }
    void expectFilled(const znRTDataBlockPacket& block, int lane, u32 requirements, u32 attributes)
    {
        for (const Field& field : fields) {
            const int expected = field.isAskedFor(requirements, attributes) ? field.count : 0;
            EXPECT_EQ(writtenIn(field, block, lane), expected)
                << field.name << ", lane " << lane << ", requirements " << requirements
                << ", attributes " << attributes;
        }
    }

    GeometryRef square;
    AskingMaterial materials[2];
    MeshScene scene;
    znRTMesh* nodes[2];
    /// Lanes 0 and 3 hit the first node, lane 1 the second one.
    znRTRayDifferentialPacket rays = downward({0.5f, 10.25f, 5.0f, -0.5f}, 0.3f);
};

constexpr u32 attributeBits[] = {positionAndNormal, textureCoordinates, vertexColor,   bakedColor,
                                 bakedIrradiance,   textureTangents,    vertexTangents};

} // namespace

// Every combination of what a material can ask for, on a packet that hits one node.
TEST_F(ShadingRequirements, AreWhatAWholePacketIsFilledWith)
{
    rays.origin.x = {0.5f, 0.25f, -0.25f, -0.5f};
    for (u32 requirements = 0; requirements <= all; ++requirements)
        for (u32 set = 0; set < 1u << std::size(attributeBits); ++set) {
            u32 attributes = 0;
            for (u32 i = 0; i < std::size(attributeBits); ++i)
                attributes |= (set >> i & 1) * attributeBits[i];
            materials[0].ask(requirements, attributes);
            const znRTDataBlockPacket block = shaded(15);
            ASSERT_EQ(block.hit.hitMask, 15u);
            EXPECT_EQ(block.requirements, requirements);
            for (int lane = 0; lane < 4; ++lane)
                expectFilled(block, lane, requirements, attributes);
            EXPECT_EQ(block.uvValid, (attributes & textureCoordinates) ? 0x83u : 1u);
            if (HasFailure())
                return;
        }
}

// Lanes get what their own material asks for; a lane without a hit gets nothing.
TEST_F(ShadingRequirements, AreThoseOfEachLanesMaterial)
{
    for (u32 first = 0; first <= all; first += 3)
        for (u32 second = 0; second <= all; second += 5)
            for (const u32 attribute : attributeBits) {
                materials[0].ask(first, 0);
                materials[1].ask(second, attribute);
                const znRTDataBlockPacket block = shaded(15);
                ASSERT_EQ(block.hit.hitMask, 11u);
                EXPECT_EQ(block.requirements, first | second);
                const u32 objectSpaceAsked = (first | second) & objectSpace;
                // Matrices and what comes of them are made for all hits of a packet at once.
                expectFilled(block, 0, first | (objectSpaceAsked ? spawnData : 0), 0);
                expectFilled(block, 3, first | (objectSpaceAsked ? spawnData : 0), 0);
                expectFilled(block, 1, second | (objectSpaceAsked ? spawnData : 0), attribute);
                EXPECT_TRUE(isPoisoned(block.cosIncidence, 2));
                EXPECT_TRUE(isPoisoned(block.dg.dPdu.x, 2));
                if (HasFailure())
                    return;
            }
}

TEST_F(ShadingRequirements, AreOthersForShadowsAndGrowByWhatTheCallerAdds)
{
    materials[0].ask(derivatives | shadingFrame, bakedColor);
    materials[0].askForShadows(footprint, textureCoordinates);
    rays.origin.x = znFloatType<2>(0.25f);
    expectFilled(shaded(15), 0, derivatives | shadingFrame, bakedColor);
    expectFilled(shaded(15, true), 0, footprint, textureCoordinates);
    expectFilled(shaded(15, true, vertexColor, edgeData), 2, footprint | edgeData,
                 textureCoordinates | vertexColor);
    EXPECT_EQ(shaded(15, true, 0, edgeData).materialRequirements[0], footprint | edgeData);
}

// A mesh without normals, coordinates, colours and tangents says so, whatever is asked.
TEST_F(ShadingRequirements, FindBareMeshesWithoutAttributes)
{
    const osg::NodePtr node =
        scene.add(makeMesh({{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}}, {0, 1, 2}).get(),
                  makeTranslation(20.0f, 0.0f, 0.0f));
    scene.mesh(node).setMaterial(&materials[0]);
    scene.build();
    materials[0].ask(all, 0xffff);
    rays.origin.x = znFloatType<2>(20.0f);
    const znRTDataBlockPacket block = shaded(15);
    EXPECT_EQ(block.uvValid, 0u);
    EXPECT_EQ(moveMask(block.dg.tangentMask), 0);
    EXPECT_LANES_EQ(block.uv[0].x, 0, 0, 0, 0);
    EXPECT_LANES_EQ(block.dg.dUVdx.x, 0, 0, 0, 0);
    EXPECT_LANES_EQ(block.dg.dNdx.z, 0, 0, 0, 0);
    EXPECT_LANES_EQ(block.vertexColor.g, 1, 1, 1, 1);
    EXPECT_LANES_EQ(block.bakedIrradiance.r, 0, 0, 0, 0);
    EXPECT_LANES_EQ(block.bakedIrradiance.a, 0, 0, 0, 0);
    EXPECT_EQ(moveMask(block.bakedColor.a), 0);
    // Along the edges, in place of texture coordinates.
    EXPECT_LANES_NEAR(block.dg.dPdu.x, 2, 2, 2, 2, 1e-6f);
    EXPECT_LANES_NEAR(block.dg.dPdv.y, 2, 2, 2, 2, 1e-6f);
}

// Baked light of three numbers is unoccluded; what a mesh does not have replaces what a packet
// before it left behind.
TEST_F(ShadingRequirements, CountBakedLightWithoutAlphaAsOpen)
{
    const osg::GeoPropertyPtr three =
        osg::GeoProperty::create({osg::Vec3f(0.5f, 0.25f, 1.0f), osg::Vec3f(0.5f, 0.25f, 1.0f),
                                  osg::Vec3f(0.5f, 0.25f, 1.0f), osg::Vec3f(0.5f, 0.25f, 1.0f)});
    square->setColors(three);
    for (znRTMesh* node : nodes)
        node->initGeometry();
    materials[0].ask(0, bakedIrradiance | bakedColor);
    rays.origin.x = znFloatType<2>(0.25f);
    const znRTDataBlockPacket block = shaded(15);
    EXPECT_LANES_NEAR(block.bakedIrradiance.g, 0.25f, 0.25f, 0.25f, 0.25f, 1e-6f);
    EXPECT_LANES_EQ(block.bakedIrradiance.a, 0, 0, 0, 0);
    EXPECT_EQ(moveMask(block.bakedColor.a), 15);
}

// Lanes with a transform, without one, and without a hit.
TEST_F(ShadingRequirements, BringTheMatricesOfEachLanesNode)
{
    MeshScene mixed;
    osg::Matrix stretched = makeTranslation(10.0f, 2.0f, 0.5f);
    stretched[0][0] = 2.0f;
    stretched[0][2] = 0.5f;
    const osg::NodePtr plain = mixed.add(square.get());
    const osg::NodePtr moved = mixed.add(square.get(), stretched);
    for (const osg::NodePtr& node : {plain, moved})
        mixed.mesh(node).setMaterial(&materials[0]);
    mixed.build();
    materials[0].ask(spawnData, 0);
    rays.origin.x = {0.25f, 10.5f, 99.0f, 9.0f};
    rays.origin.y = {0.5f, 2.3f, 0.0f, 2.1f};
    znRTDataBlockPacket block(mixed.trace(rays));
    poison(block);
    mixed.scene->getShadingData(rays, block, false, 0, 0);
    ASSERT_EQ(block.hit.hitMask, 11u);
    EXPECT_NE(block.hasNodeTransforms, 0u);
    EXPECT_TRUE(isPoisoned(block.nodeToWorld[0][0], 1)) << "made by whoever shades";
    block.computeShadingData(rays);
    const znMatrix4x4 identity = znMatrix4x4::identity();
    const znMatrix4x4 toWorld = mixed.mesh(moved).getToWorldMatrix();
    const znMatrix4x4 toObject = toWorld.inverted();
    for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 4; ++row) {
            const float i = identity[column][row], w = toWorld[column][row];
            const float o = toObject[column][row];
            EXPECT_LANES_EQ(block.nodeToWorld[column][row], i, w, i, w);
            EXPECT_LANES_NEAR(block.worldToNode[column][row], i, o, i, o, 1e-6f);
        }
    EXPECT_LANES_NEAR(block.objectPosition.x, 0.25f, 0.25f, block.objectPosition.x[2], -0.5f,
                      1e-5f);
    EXPECT_LANES_NEAR(block.objectNormal.z, 1, 1, block.objectNormal.z[2], 1, 1e-6f);

    // Without a transform all lanes are the identity.
    rays.origin.x = {0.25f, 0.3f, 99.0f, -0.2f};
    rays.origin.y = znFloatType<2>(0.5f);
    block.set(mixed.trace(rays));
    mixed.scene->getShadingData(rays, block, false, 0, 0);
    block.computeShadingData(rays);
    EXPECT_EQ(block.hasNodeTransforms, 0u);
    for (int column = 0; column < 4; ++column)
        EXPECT_LANES_EQ(block.nodeToWorld[column][3], identity[column][3], identity[column][3],
                        identity[column][3], identity[column][3]);
    EXPECT_LANES_EQ(block.objectPosition.x, block.dg.position.x[0], block.dg.position.x[1],
                    block.objectPosition.x[2], block.dg.position.x[3]);
}
