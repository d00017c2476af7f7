// Every allocation of the library goes through this seam, so tests can count
// allocations or make them fail. Memory comes zero-filled and is compatible
// with free(): hosts release buffers and texts with it.
#pragma once

#include <stddef.h>

namespace iv {

struct AllocSeam {
    void *(*zalloc)(size_t size);
    void (*release)(void *p);
};

extern AllocSeam allocSeam;

inline void *zalloc(size_t size) { return allocSeam.zalloc(size); }
inline void release(void *p) { allocSeam.release(p); }

}  // namespace iv
