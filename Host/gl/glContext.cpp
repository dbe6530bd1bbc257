#include "gl/glContext.h"

#include <dlfcn.h>

namespace {

/// Asks one binding library for its current context, if the process has loaded that library.
bool hasContext(const char* library, const char* function)
{
    void* handle = dlopen(library, RTLD_LAZY | RTLD_NOLOAD);
    if (!handle)
        return false;
    using GetCurrentContext = void* (*)();
    const auto getCurrentContext = reinterpret_cast<GetCurrentContext>(dlsym(handle, function));
    const bool isCurrent = getCurrentContext && getCurrentContext();
    dlclose(handle); // gives back this reference only
    return isCurrent;
}

} // namespace

bool hasCurrentGLContext()
{
    return hasContext("libEGL.so.1", "eglGetCurrentContext") ||
           hasContext("libGLX.so.0", "glXGetCurrentContext") ||
           hasContext("libGL.so.1", "glXGetCurrentContext");
}
