#pragma once

// Materials without a record: containers of others, and those of plain scene graphs.

#include "host/osg/Image.h"
#include "host/osg/Material.h"

namespace osg {

class SwitchMaterial : public Material
{
    ZN_CONTAINER(SwitchMaterial, Material)
    ZN_FIELD(int, choice, Choice, 0, "", 0, 2147483647.0)
    ZN_SLOT(std::vector<MaterialPtr>, materials, Materials)

    /// The chosen material; null beyond the list.
    MaterialPtr getChosen() const;
};

/// Chooses among environment materials.
class UEnvironmentSwitchMaterial : public SwitchMaterial
{
    ZN_CONTAINER(UEnvironmentSwitchMaterial, SwitchMaterial)
};

class MultiPassMaterial : public Material
{
    ZN_CONTAINER(MultiPassMaterial, Material)
    ZN_SLOT(std::vector<MaterialPtr>, materials, Materials) ///< front first
};

/// The material of fixed-function scenes. Widths are metres, and scene units when read.
class SimpleMaterial : public Material
{
    ZN_CONTAINER(SimpleMaterial, Material)
    ZN_FIELD(Vec3f, ambient, Ambient, Vec3f(0.2f, 0.2f, 0.2f), "", 0.0f, 1.0f)
    ZN_FIELD(Vec3f, diffuse, Diffuse, Vec3f(0.8f, 0.8f, 0.8f), "", 0.0f, 1.0f)
    ZN_FIELD(Vec3f, specular, Specular, Vec3f(0, 0, 0), "", 0.0f, 1.0f)
    ZN_FIELD(Vec3f, emission, Emission, Vec3f(0, 0, 0), "", 0.0f, 1e6f)
    ZN_FIELD(float, shininess, Shininess, 20.0f, "", 1e-3f, 1e6f)
    ZN_FIELD(float, transparency, Transparency, 0.0f, "", 0.0f, 1.0f)
    ZN_STORED_FIELD(float, lineWidth, LineWidth, 0.001f, "m", 0.0f, 1e6f)
    ZN_STORED_FIELD(float, pointSize, PointSize, 0.001f, "m", 0.0f, 1e6f)

    float getLineWidth() const;
    float getPointSize() const;
};

/// A part of a ChunkMaterial.
class StateChunk : public AttachmentContainer
{
    ZN_ABSTRACT_CONTAINER(StateChunk, AttachmentContainer)
};

class MaterialChunk : public StateChunk
{
    ZN_CONTAINER(MaterialChunk, StateChunk)
    ZN_FIELD(Vec3f, ambient, Ambient, Vec3f(0.2f, 0.2f, 0.2f), "", 0.0f, 1.0f)
    ZN_FIELD(Vec3f, diffuse, Diffuse, Vec3f(0.8f, 0.8f, 0.8f), "", 0.0f, 1.0f)
    ZN_FIELD(Vec3f, specular, Specular, Vec3f(0, 0, 0), "", 0.0f, 1.0f)
    ZN_FIELD(Vec3f, emission, Emission, Vec3f(0, 0, 0), "", 0.0f, 1e6f)
    ZN_FIELD(float, shininess, Shininess, 20.0f, "", 1e-3f, 1e6f)
    ZN_FIELD(float, transparency, Transparency, 0.0f, "", 0.0f, 1.0f)
};

class TextureChunk : public StateChunk
{
    ZN_CONTAINER(TextureChunk, StateChunk)
    ZN_SLOT(ImagePtr, image, Image)
    ZN_ENUM(wrapS, WrapS, 0, "repeat", "mirroredRepeat", "decal", "clamp")
    ZN_ENUM(wrapT, WrapT, 0, "repeat", "mirroredRepeat", "decal", "clamp")
};

class LineChunk : public StateChunk
{
    ZN_CONTAINER(LineChunk, StateChunk)
    ZN_STORED_FIELD(float, width, Width, 0.001f, "m", 0.0f, 1e6f)
    float getWidth() const;
};

class PointChunk : public StateChunk
{
    ZN_CONTAINER(PointChunk, StateChunk)
    ZN_STORED_FIELD(float, size, Size, 0.001f, "m", 0.0f, 1e6f)
    float getSize() const;
};

class TwoSidedLightingChunk : public StateChunk
{
    ZN_CONTAINER(TwoSidedLightingChunk, StateChunk)
    ZN_FLAG(twoSided, TwoSided, true)
};

class ChunkMaterial : public Material
{
    ZN_CONTAINER(ChunkMaterial, Material)
    ZN_SLOT(std::vector<FCPtr<StateChunk>>, chunks, Chunks)

    /// The first chunk of a type; null without.
    template <class Chunk>
    FCPtr<Chunk> find() const
    {
        for (const FCPtr<StateChunk>& chunk : getChunks())
            if (const auto found = FCPtr<Chunk>::dcast(chunk))
                return found;
        return {};
    }
    float getLineWidth() const; ///< scene units
    float getPointSize() const; ///< scene units
};

} // namespace osg
