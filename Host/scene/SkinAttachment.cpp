#include "host/osg/SkinAttachment.h"

#include <cstring>

namespace osg {

ZN_CONTAINER_BODY(SkinAttachment)

namespace {

/// Fowler, Noll, Vo: FNV-1a, on 32-bit words.
u64 hashOf(const float* values, std::size_t count, u64 hash)
{
    for (std::size_t i = 0; i < count; ++i) {
        u32 bits;
        std::memcpy(&bits, values + i, sizeof(bits));
        hash = (hash ^ bits) * 1099511628211ull;
    }
    return hash;
}

/// Weighted sum of matrices; false when there is no weight.
bool blend(const std::vector<Matrix4d>& matrices, const u32* joints, const float* weights,
           u32 count, Matrix4d& result)
{
    double sum = 0.0;
    Matrix4d m;
    for (int c = 0; c < 4; ++c)
        m[c] = {};
    for (u32 k = 0; k < count; ++k) {
        if (!(weights[k] > 0.0f) || joints[k] >= matrices.size())
            continue;
        sum += weights[k];
        for (int c = 0; c < 4; ++c)
            for (int r = 0; r < 4; ++r)
                m[c][r] += weights[k] * matrices[joints[k]][c][r];
    }
    if (!(sum > 0.0))
        return false;
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            result[c][r] = m[c][r] / sum;
    return true;
}

Vec3f transformedNormal(Matrix4d m, const Vec3f& normal)
{
    m[3] = {0.0, 0.0, 0.0, 1.0};
    if (!m.invert())
        return normal;
    m.transpose();
    Vec3d n = m.multMatrixVec(Vec3d(normal[0], normal[1], normal[2]));
    n.normalize();
    return {float(n[0]), float(n[1]), float(n[2])};
}

} // namespace

u32 SkinAttachment::getVertexCount() const
{
    const std::size_t entries = std::min(getJointIndices().size(), getWeights().size());
    return u32(entries / std::max(getInfluenceCount(), 1u));
}

std::vector<Matrix4d> SkinAttachment::jointMatrices() const
{
    Matrix4d toSkin;
    if (const NodePtr node = getSkinNode()) {
        toSkin = node->getToWorldDouble();
        if (!toSkin.invert())
            toSkin.setIdentity();
    }
    const std::vector<NodePtr> nodes = getJoints();
    const std::vector<float>& binds = getInverseBindMatrices();
    std::vector<Matrix4d> matrices;
    for (std::size_t j = 0; j < nodes.size(); ++j) {
        Matrix4d matrix = toSkin;
        if (nodes[j])
            matrix.mult(nodes[j]->getToWorldDouble());
        Matrix4d bind;
        for (int i = 0; i < 16 && 16 * (j + 1) <= binds.size(); ++i)
            bind[i / 4][i % 4] = binds[16 * j + i];
        matrix.mult(bind);
        matrices.push_back(matrix);
    }
    return matrices;
}

void SkinAttachment::getDeformedVertices(const float*& positions, const float*& normals)
{
    getDeformedVertices(positions, normals, getVertexCount());
}

void SkinAttachment::getDeformedVertices(const float*& positions, const float*& normals,
                                         u32 vertexCount)
{
    if (!positions || !getEnabled())
        return;
    const std::lock_guard lock(mutex);
    std::vector<Matrix4d> matrices = jointMatrices();
    u64 inputs = hashOf(positions, 3 * std::size_t(vertexCount), 14695981039346656037ull);
    if (normals)
        inputs = hashOf(normals, 3 * std::size_t(vertexCount), inputs);
    const std::size_t floats = 3 * std::size_t(vertexCount);
    // Instances that arrive together read the arrays which the first of them made.
    if (inputs != lastInputs || matrices != lastMatrices || deformedPositions.size() != floats ||
        (normals && deformedNormals.size() != floats)) {
        deform(positions, normals, vertexCount, matrices);
        lastInputs = inputs;
        lastMatrices = std::move(matrices);
    }
    positions = deformedPositions.data();
    if (normals)
        normals = deformedNormals.data();
}

void SkinAttachment::deform(const float* positions, const float* normals, u32 vertexCount,
                            const std::vector<Matrix4d>& matrices)
{
    deformedPositions.assign(positions, positions + 3 * std::size_t(vertexCount));
    deformedNormals.clear();
    if (normals)
        deformedNormals.assign(normals, normals + 3 * std::size_t(vertexCount));
    const u32 influences = std::max(getInfluenceCount(), 1u);
    const u32 skinned = std::min(vertexCount, getVertexCount());
    Matrix4d m;
    for (u32 v = 0; v < skinned; ++v) {
        const std::size_t first = std::size_t(v) * influences;
        if (!blend(matrices, getJointIndices().data() + first, getWeights().data() + first,
                   influences, m))
            continue;
        const float* p = positions + 3 * std::size_t(v);
        const Pnt3d moved = m.multMatrixPnt(Pnt3d(p[0], p[1], p[2]));
        for (int i = 0; i < 3; ++i)
            deformedPositions[3 * std::size_t(v) + i] = float(moved[i]);
        if (!normals)
            continue;
        const float* n = normals + 3 * std::size_t(v);
        const Vec3f turned = transformedNormal(m, Vec3f(n[0], n[1], n[2]));
        for (int i = 0; i < 3; ++i)
            deformedNormals[3 * std::size_t(v) + i] = turned[i];
    }
}

} // namespace osg
