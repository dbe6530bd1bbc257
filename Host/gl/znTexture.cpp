#include "host/znTexture.h"

#include "gl/glContext.h"

#include <epoxy/gl.h>

znTexture::~znTexture()
{
    clearTexture();
}

void znTexture::bindTexture(u32 newUnit)
{
    if (!hasCurrentGLContext())
        return;
    unit = newUnit;
    glActiveTexture(unit);
    const bool isNew = name == 0;
    if (isNew)
        glGenTextures(1, &name);
    glBindTexture(target, name);
    if (isNew) {
        // A frame has no mipmaps, and one texel is one pixel.
        glTexParameteri(target, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexParameteri(target, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(target, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    }
}

void znTexture::unbindTexture()
{
    if (!name || !hasCurrentGLContext())
        return;
    glActiveTexture(unit);
    glBindTexture(target, 0);
}

void znTexture::clearTexture()
{
    if (name && hasCurrentGLContext())
        glDeleteTextures(1, &name);
    name = 0;
    storageWidth = storageHeight = 0;
}

void znTexture::resize(int width, int height)
{
    if (!name || width <= 0 || height <= 0 || !hasCurrentGLContext() ||
        (width == storageWidth && height == storageHeight))
        return;
    // Storage is asked for without pixels: a bound unpack buffer would be read as their source.
    GLint unpackBuffer = 0;
    glGetIntegerv(GL_PIXEL_UNPACK_BUFFER_BINDING, &unpackBuffer);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    glTexImage2D(target, 0, GL_RGBA32F, width, height, 0, GL_RGBA, GL_FLOAT, nullptr);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, GLuint(unpackBuffer));
    storageWidth = width;
    storageHeight = height;
}

bool znTexture::subImage(int width, int height, const float* pixels)
{
    if (!name || width <= 0 || height <= 0 || width > storageWidth || height > storageHeight ||
        !hasCurrentGLContext())
        return false;
    if (!pixels) {
        // Null is the start of a buffer, or nothing at all.
        GLint unpackBuffer = 0;
        glGetIntegerv(GL_PIXEL_UNPACK_BUFFER_BINDING, &unpackBuffer);
        if (!unpackBuffer)
            return false;
    }
    glTexSubImage2D(target, 0, 0, 0, width, height, GL_RGBA, GL_FLOAT, pixels);
    return true;
}
