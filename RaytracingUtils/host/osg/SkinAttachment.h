#pragma once

// Poses the vertices of a geometry by joints: linear blend skinning of positions and normals.
// On the geometry core. With morphed base arrays it also serves blend shapes.

#include "host/osg/Node.h"

#include <mutex>

namespace osg {

class SkinAttachment : public Attachment
{
    ZN_CONTAINER(SkinAttachment, Attachment)
    ZN_ATTACHMENT_ACCESS(SkinAttachment)
    ZN_FLAG(enabled, Enabled, false)
    /// Joints do not belong to the skin; those that are gone count as the identity.
    ZN_LINK_LIST(Node, joints, Joints)
    /// 16 numbers per joint, column by column: from the geometry to the joint in the bind pose.
    /// Missing ones are the identity.
    ZN_SLOT(std::vector<float>, inverseBindMatrices, InverseBindMatrices)
    /// Joint numbers and weights, influenceCount of each per vertex.
    ZN_SLOT(std::vector<u32>, jointIndices, JointIndices)
    ZN_SLOT(std::vector<float>, weights, Weights)
    ZN_FIELD(u32, influenceCount, InfluenceCount, 4, "", 1, 64)
    /// World matrix of the node that shows the geometry is taken out again: the deformed vertices
    /// lie in that node's space. Null: they lie in world space.
    ZN_LINK(Node, skinNode, SkinNode)

    /// Replaces both pointers by arrays of vertexCount deformed vertices. They live until the next
    /// call with other vertices or joints. Vertices without weights stay as they are.
    /// @param positions  three floats per vertex; null leaves both pointers alone
    /// @param normals    may point to null
    void getDeformedVertices(const float*& positions, const float*& normals, u32 vertexCount);
    /// As above, for as many vertices as the weights describe.
    void getDeformedVertices(const float*& positions, const float*& normals);
    template <class P, class N>
    void getDeformedVertices(P*& positions, N*& normals)
    {
        const float* p = reinterpret_cast<const float*>(positions);
        const float* n = reinterpret_cast<const float*>(normals);
        getDeformedVertices(p, n);
        positions = reinterpret_cast<P*>(const_cast<float*>(p));
        normals = reinterpret_cast<N*>(const_cast<float*>(n));
    }

    u32 getVertexCount() const;

private:
    std::vector<Matrix4d> jointMatrices() const;
    void deform(const float* positions, const float* normals, u32 vertexCount,
                const std::vector<Matrix4d>& matrices);

    std::mutex mutex;
    std::vector<float> deformedPositions, deformedNormals;
    std::vector<Matrix4d> lastMatrices;
    u64 lastInputs = 0; ///< hash of the vertices that were deformed
};

} // namespace osg
