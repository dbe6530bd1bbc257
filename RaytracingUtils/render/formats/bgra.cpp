#include "render/copyTasksBody.h"

ZN_INSTANTIATE_FORMAT(ZN_BGRA)
