#include "host/znAligned.h"

#include <tbb/scalable_allocator.h>

void* zn_aligned_malloc(u64 size, u64 alignment)
{
    return scalable_aligned_malloc(size ? size : 1, alignment);
}

void* zn_aligned_realloc(void* block, u64 size, u64 alignment)
{
    return block ? scalable_aligned_realloc(block, size ? size : 1, alignment)
                 : zn_aligned_malloc(size, alignment);
}

void zn_aligned_free(void* block)
{
    if (block)
        scalable_aligned_free(block);
}
