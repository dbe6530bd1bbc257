#include "host/znRTRayObserver.h"

// Stands in the host's library, which program and core share: each of them sees the same pointer.
znRTRayObserver* znRTRayObserver::s_current = nullptr;
