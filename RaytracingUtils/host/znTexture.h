#pragma once

// Texture object that shows a frame. Without a current OpenGL context it does nothing.

#include "host/znAligned.h"

class znBuffer;

class znTexture
{
public:
    static constexpr u32 texture0 = 33984;
    static constexpr u32 texture2D = 0x0DE1;

    explicit znTexture(u32 textureTarget = texture2D) : target(textureTarget) {}
    ~znTexture();
    znTexture(const znTexture&) = delete;
    znTexture& operator=(const znTexture&) = delete;

    /// Makes the texture current at a unit (and the unit the active one), creating it if needed.
    void bindTexture(u32 unit = texture0);
    void unbindTexture();
    /// Frees it. Needs the context in which it was made.
    void clearTexture();
    u32 getTarget() const { return target; }
    u32 getName() const { return name; } ///< of OpenGL; 0 = none

    /// Gives the bound texture storage for width x height texels of four floats unless it has it.
    void resize(int width, int height);
    /// glTexSubImage2D of RGBA floats into the bound texture from the start of the bound unpack
    /// buffer, or from memory.
    /// @param pixels  null = from the buffer
    /// @return false without a context or when the texture is smaller
    bool subImage(int width, int height, const float* pixels = nullptr);

private:
    u32 name = 0;
    u32 target;
    u32 unit = texture0;
    int storageWidth = 0, storageHeight = 0;
};
