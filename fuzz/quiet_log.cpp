// Fuzzing feeds mostly malformed bytes, and the library reports each of them:
// the lines go nowhere here, so that inputs run at full speed. They are still
// formatted, so the formatting runs under the sanitizers too.
#include "base/log.h"

namespace {

void drop(int, const char *) {}

const bool kQuiet = (iv::setLogSink(drop), true);

}  // namespace
