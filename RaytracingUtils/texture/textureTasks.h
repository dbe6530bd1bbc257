#pragma once

// The tasks that prepare a texture, to be cancelled from another thread.

#include <tbb/task_group.h>

struct znTextureTasks
{
    void cancel() { context.cancel_group_execution(); }

    tbb::task_group_context context{tbb::task_group_context::isolated};
};
