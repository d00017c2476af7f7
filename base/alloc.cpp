#include "base/alloc.h"

#include <stdlib.h>

namespace iv {

namespace {
void *callocOne(size_t size) { return calloc(1, size); }
}  // namespace

AllocSeam allocSeam = {callocOne, free};

}  // namespace iv
