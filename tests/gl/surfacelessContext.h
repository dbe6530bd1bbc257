#pragma once

// An OpenGL context without a window system, for tests.

#include <memory>

class SurfacelessContext
{
public:
    /// @return null when there is no EGL or it cannot make one
    static std::unique_ptr<SurfacelessContext> make();
    ~SurfacelessContext();

private:
    SurfacelessContext() = default;

    void* display = nullptr;
    void* context = nullptr;
};

#ifdef ZN_HAS_EGL
#include <epoxy/egl.h>

inline std::unique_ptr<SurfacelessContext> SurfacelessContext::make()
{
    std::unique_ptr<SurfacelessContext> result(new SurfacelessContext);
    if (!epoxy_has_egl_extension(EGL_NO_DISPLAY, "EGL_MESA_platform_surfaceless"))
        return nullptr;
    EGLDisplay display =
        eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    if (!display || !eglInitialize(display, nullptr, nullptr))
        return nullptr;
    result->display = display;
    const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION,
                                 3,
                                 EGL_CONTEXT_MINOR_VERSION,
                                 3,
                                 EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                 EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                 EGL_NONE};
    if (!eglBindAPI(EGL_OPENGL_API))
        return nullptr;
    result->context = eglCreateContext(display, nullptr, EGL_NO_CONTEXT, attributes);
    if (!result->context || !eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE,
                                            static_cast<EGLContext>(result->context)))
        return nullptr;
    return result;
}

inline SurfacelessContext::~SurfacelessContext()
{
    if (!display)
        return;
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    // The display stays: a driver that is unloaded and loaded again leaks.
    if (context)
        eglDestroyContext(display, static_cast<EGLContext>(context));
}
#else
inline std::unique_ptr<SurfacelessContext> SurfacelessContext::make()
{
    return nullptr;
}
inline SurfacelessContext::~SurfacelessContext() = default;
#endif
