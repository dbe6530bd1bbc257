#include "host/znBuffer.h"

#include "gl/glContext.h"

#include <epoxy/gl.h>

znBuffer::~znBuffer()
{
    release();
}

void* znBuffer::map(u32 newTarget, u32 mode, u64 bytes, u32 usage, u32)
{
    constexpr u32 writeOnly = 1;
    if (mapped || bytes == 0 || mode != writeOnly)
        return nullptr;
    target = newTarget;
    if (!hasCurrentGLContext()) {
        // A buffer of OpenGL made earlier cannot be reached now: this frame goes to memory.
        if (!memory || size < bytes) {
            void* grown = zn_aligned_realloc(memory, bytes, 16);
            if (!grown)
                return nullptr;
            memory = grown;
        }
        size = bytes;
        return mapped = memory;
    }
    zn_aligned_free(memory);
    memory = nullptr;
    if (!name)
        glGenBuffers(1, &name);
    glBindBuffer(target, name);
    // New storage each time: the display may still read the last frame from the old one.
    glBufferData(target, GLsizeiptr(bytes), nullptr, usage);
    mapped = glMapBuffer(target, GL_WRITE_ONLY);
    glBindBuffer(target, 0);
    size = mapped ? bytes : 0;
    return mapped;
}

bool znBuffer::unmap()
{
    if (!mapped)
        return false;
    const bool isPlain = mapped == memory;
    mapped = nullptr;
    if (isPlain)
        return true;
    glBindBuffer(target, name);
    const bool isIntact = glUnmapBuffer(target) == GL_TRUE;
    glBindBuffer(target, 0);
    return isIntact;
}

void znBuffer::bind()
{
    if (name && hasCurrentGLContext())
        glBindBuffer(target, name);
}

void znBuffer::unbind()
{
    if (name && hasCurrentGLContext())
        glBindBuffer(target, 0);
}

void znBuffer::release()
{
    // A context that is gone took its buffers along.
    if (name && hasCurrentGLContext()) {
        if (mapped)
            unmap();
        glDeleteBuffers(1, &name);
    }
    name = 0;
    mapped = nullptr;
    zn_aligned_free(memory);
    memory = nullptr;
    size = 0;
}
