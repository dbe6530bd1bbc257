#pragma once

// Texture storage. A sampler copies an image into rows of texels by level and layer, and carries
// what a lookup needs: wrap modes, transform, projection, tables that turn stored integers into
// linear values. Everything is read-only while a frame runs; setters and prepareData run between
// frames. Row 0 is t = 0, the bottom row of an image.

#include "host/osg/FCPtr.h"
#include "host/znAligned.h"
#include "host/znMatrix4x4.h"
#include "host/znRTVector.h"

#include <memory>
#include <vector>

struct znRTGammaTables;

class znRTTextureSampler
{
public:
    /// Storage of a texel; the numbers are read by the core. 3, 8, 14, 20 are no types: they read
    /// as 0 in all channels.
    enum PixelType {
        typeL8 = 0,
        typeL16 = 1,
        typeLHalf = 2,
        typeLFloat = 4,
        typeLA8 = 5,
        typeLA16 = 6,
        typeLAHalf = 7,
        typeLAFloat = 9,
        typeRGB8 = 10,
        typeBGR8 = 11,
        typeRGB16 = 12,
        typeRGBHalf = 13,
        typeRGBFloat = 15,
        typeRGBA8 = 16,
        typeBGRA8 = 17,
        typeRGBA16 = 18,
        typeRGBAHalf = 19,
        typeRGBAFloat = 21
    };
    enum Wrap { repeat = 0, mirroredRepeat = 1, decal = 2, clamp = 3 };
    enum Kind { kind2D, kind3D, kindCube, kind2DArray };

    explicit znRTTextureSampler(Kind kind = kind2D);
    virtual ~znRTTextureSampler();
    znRTTextureSampler(const znRTTextureSampler&) = delete;
    znRTTextureSampler& operator=(const znRTTextureSampler&) = delete;

    Kind getKind() const { return kind; }

    // Data

    osg::ImagePtr getOSGImage() const { return image; }
    /// Takes a reference to the image; its texels are copied by prepareData. Null empties the
    /// sampler. The same image again changes nothing unless force is set (its texels were edited).
    /// @param flipRows  row 0 of the sampler is the top row of the image (environments)
    void setImage(const osg::ImagePtr& newImage, bool flipRows = false, bool force = false);
    /// Takes texels without an image: width * height * layers texels of a type, rows from t = 0,
    /// layer after layer. Ready for use at once (level 0 only).
    /// @return false, and an empty sampler, for an impossible size or type
    bool setTexels(int pixelType, int width, int height, int layers, const void* texels);
    /// Makes levelData from the image; does nothing when it stands already.
    /// @return whether the sampler has data
    virtual bool prepareData();
    /// Levels down to 1 x 1, each the box-filtered mean of linear values of the one below (texels
    /// weighted by the covered area, so odd sizes keep the mean), stored in the sampler's type.
    void createMipmaps();
    /// lut[i] = (i / max)^gamma; 1 is linear and 2.2 the sRGB curve.
    /// @param forceLut   converts half and float texels by the curve as well (they have no table):
    ///                   takes effect when prepareData copies an image
    /// @param keepAlpha  with forceLut: alpha stays as it is. Integer alpha never passes a table.
    void setGamma(float gamma, bool forceLut, bool keepAlpha);
    float getGamma() const { return gammaValue; }
    /// Frees texels and image; settings stay.
    void clear();
    bool isValid() const { return !levelData.empty(); }

    // Texels

    int getLevelWidth(int level) const { return width >> level > 1 ? width >> level : 1; }
    int getLevelHeight(int level) const { return height >> level > 1 ? height >> level : 1; }
    /// Address of a texel; no bounds are checked.
    const u8* getLayerDataFast(int level, int layer, int x, int y) const
    {
        return levelData[level * layerCount + layer] +
               (std::size_t(y) * getLevelWidth(level) + x) * texelSize;
    }
    /// One texel as linear RGBA: grey goes to R, G and B, a missing alpha is 1. Zero without data
    /// and for an unsupported type. Indices are not checked. For set-up code: one switch a texel.
    znRTVector4f getTexel(int level, int layer, int x, int y) const;
    /// The texel under (s, t) of level 0 by the wrap modes, after the coordinate transform; a lane
    /// off the image under decal gives the border colour. White without data.
    znRTVector4f getNearest(float s, float t, int layer = 0) const;

    static int getTexelSize(int pixelType); ///< bytes; 0 for an unsupported type
    static int getChannelCount(int pixelType);

    // Read by lookups. Change them between frames only.

    int pixelType = typeRGBA8;
    int width = 0, height = 0; ///< of level 0
    int depth = 0;             ///< slices of a 3D sampler; elsewhere 1
    int layerCount = 0;        ///< faces, array elements or slices
    /// Rows of texels at [level * layerCount + layer].
    std::vector<const u8*> levelData;
    short levelCount = 0; ///< highest level; 0 = no mipmaps
    int texelSize = 4;    ///< bytes

    int wrapMode = 0; ///< wrap S + 4 * wrap T
    float maxAnisotropy = 8.0f;
    znRTVector4f borderColor;

    float repeatU = 1.0f, repeatV = 1.0f;
    float offsetU = 0.0f, offsetV = 0.0f;
    float sinRotation = 0.0f, cosRotation = 1.0f; ///< about (0.5 + offset)
    bool hasTransform = false;

    /// World or object to texture, as column vectors; the last row is not read.
    znMatrix4x4 projection = znMatrix4x4::identity();
    znRTVector3f projectionNormal{0.0f, 0.0f, 1.0f};
    bool projectOneSide = false;
    int projectionMode = 0;  ///< 0 none, 1 planar, 2 cylindrical
    bool limitDepth = false; ///< a projected z outside [0, 0.5] does not count

    /// Linear value of a stored integer, 256 and 65536 entries. Never null.
    const float* lut8;
    const float* lut16;

    /// Correction of colours read for environments; the upper three rows count.
    znMatrix4x4 colorMatrix = znMatrix4x4::identity();
    bool useColorMatrix = false;

    bool isActive = true;
    znRTVector4f averageColor; ///< plain mean of level 0 over all layers, linear

    /// Sets wrapMode from two Wrap values.
    void setWrap(int wrapS, int wrapT) { wrapMode = wrapS + 4 * wrapT; }
    /// Sets repeat, offset and rotation, and hasTransform when one of them is not neutral.
    void setTransform(float newRepeatU, float newRepeatV, float newOffsetU, float newOffsetV,
                      float rotationDegrees);

protected:
    bool allocate(int newPixelType, int newWidth, int newHeight, int newLayers);
    bool allocateLevel(int level);
    u8* getMutableTexel(int level, int layer, int x, int y);
    /// Stores a linear value in the sampler's type, the inverse of getTexel.
    void setTexel(int level, int layer, int x, int y, const znRTVector4f& value);
    void updateAverage();
    virtual bool copyImage();

    osg::Ref<osg::Image> image;
    bool imageFlipped = false;
    bool prepared = false;

private:
    void applyGammaToFloats();

    Kind kind;
    float gammaValue = 1.0f;
    bool gammaOnFloats = false, gammaKeepsAlpha = true;
    std::shared_ptr<const znRTGammaTables> gammaTables;
    std::vector<std::unique_ptr<u8[], void (*)(void*)>> levelBlocks; ///< one block a level
};

class znRTSampler2D : public znRTTextureSampler
{
public:
    znRTSampler2D() : znRTTextureSampler(kind2D) {}
    /// Mean over the sphere of a latitude-longitude image: rows weighted by the solid angle.
    znRTVector4f calculateSphereAverage() const;
};

/// Slices are layers; each has its own mipmaps, and slices are not filtered into each other.
class znRTSampler3D : public znRTTextureSampler
{
public:
    znRTSampler3D() : znRTTextureSampler(kind3D) {}
    /// colorMatrix * (r, g, b, 1) clamped below at 0, alpha 1; the colour itself without
    /// useColorMatrix.
    znRTVector4f applyColorCorrection(const znRTVector4f& color) const;
};

/// Six layers in the order +x, -x, +y, -y, +z, -z, oriented as in OpenGL. Levels may hold
/// prefiltered lobes in place of mipmaps.
class znRTSamplerCube : public znRTTextureSampler
{
public:
    znRTSamplerCube() : znRTTextureSampler(kindCube) {}
    znRTVector4f applyColorCorrection(const znRTVector4f& color) const;
    /// Replaces the texels of one level (levelCount and the block must exist: createMipmaps).
    void setLevelTexel(int level, int face, int x, int y, const znRTVector4f& value)
    {
        setTexel(level, face, x, y, value);
    }
};

class znRTSampler2DArray : public znRTTextureSampler
{
public:
    znRTSampler2DArray() : znRTTextureSampler(kind2DArray) {}
};
