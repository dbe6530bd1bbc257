#include "io/gltfSkins.h"

#include "io/gltfAccessors.h"

#include <cmath>
#include <fmt/format.h>

namespace io {

namespace {

/// Joint numbers and weights of all sets of a primitive, set after set for each vertex.
struct Influences
{
    u32 perVertex = 0;
    std::vector<u32> joints;
    std::vector<float> weights;
};

Influences readInfluences(GltfDocument& document, const Json& primitive, u32 vertexCount)
{
    std::vector<std::vector<u32>> jointSets;
    std::vector<GltfArray> weightSets;
    constexpr u32 setLimit = 4;
    for (u32 set = 0; set < setLimit; ++set) {
        const auto joints =
            wholeNumber(primitive["attributes"], fmt::format("JOINTS_{}", set).c_str());
        const auto weights =
            wholeNumber(primitive["attributes"], fmt::format("WEIGHTS_{}", set).c_str());
        if (!joints || !weights)
            break;
        jointSets.push_back(readUnsigned(document, *joints, 4));
        weightSets.push_back(readFloats(document, *weights, 4));
        if (jointSets.back().size() != 4 * std::size_t(vertexCount) ||
            weightSets.back().size() != vertexCount)
            throw GltfFault("joints or weights have another count than the vertices");
    }
    if (jointSets.empty())
        throw GltfFault("it has a skin but no weights");

    Influences result;
    result.perVertex = 4 * u32(jointSets.size());
    for (u32 v = 0; v < vertexCount; ++v)
        for (std::size_t set = 0; set < jointSets.size(); ++set)
            for (u32 k = 0; k < 4; ++k) {
                const float weight = weightSets[set][v][k];
                result.joints.push_back(jointSets[set][4 * std::size_t(v) + k]);
                result.weights.push_back(std::isfinite(weight) && weight > 0.0f ? weight : 0.0f);
            }
    return result;
}

osg::Ref<osg::Geometry> copyOf(const osg::Geometry& source)
{
    const osg::Ref<osg::Geometry> copy = osg::Geometry::create();
    for (const osg::FieldDescription& field : source.getType().getFields())
        if (field.kind != osg::FieldKind::containerList) // attachments stay with the original
            field.write(*copy, field.get(source));
    setName(copy.get(), getName(osg::FCPtr<osg::Geometry>(const_cast<osg::Geometry*>(&source))));
    return copy;
}

} // namespace

osg::Ref<osg::Geometry> skinned(GltfDocument& document, const GltfMeshes::Part& part, u64 skin,
                                const std::vector<osg::NodePtr>& nodes, const osg::NodePtr& shown)
{
    const Json& description = document.element("skins", skin);
    const Json& jointList = listOf(description, "joints");
    std::vector<osg::NodePtr> joints;
    for (const Json& joint : jointList) {
        if (!joint.is_number_unsigned() || joint.get<u64>() >= nodes.size())
            throw GltfFault(fmt::format("skin {}: a joint is no node", skin));
        joints.push_back(nodes[joint.get<u64>()]);
    }
    if (joints.empty())
        throw GltfFault(fmt::format("skin {}: has no joints", skin));

    const osg::Ref<osg::SkinAttachment> attachment = osg::SkinAttachment::create();
    if (const auto accessor = wholeNumber(description, "inverseBindMatrices")) {
        const GltfArray matrices = readFloats(document, *accessor, 16);
        if (matrices.size() < joints.size())
            throw GltfFault(fmt::format("skin {}: {} matrices for {} joints", skin, matrices.size(),
                                        joints.size()));
        for (const float value : matrices.values)
            if (!std::isfinite(value))
                throw GltfFault(fmt::format("skin {}: a matrix is not finite", skin));
        attachment->setInverseBindMatrices(matrices.values);
    }
    const Influences influences =
        readInfluences(document, *part.primitive, part.geometry->getPositions()->size());
    for (const u32 joint : influences.joints)
        if (joint >= joints.size())
            throw GltfFault(
                fmt::format("joint {} is out of range, the skin has {}", joint, joints.size()));
    attachment->setJoints(joints);
    attachment->setInfluenceCount(influences.perVertex);
    attachment->setJointIndices(influences.joints);
    attachment->setWeights(influences.weights);
    attachment->setSkinNode(shown);
    attachment->setEnabled(true);

    const osg::Ref<osg::Geometry> copy = copyOf(*part.geometry);
    copy->addAttachment(attachment.get());
    return copy;
}

} // namespace io
