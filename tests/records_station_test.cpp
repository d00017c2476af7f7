// Records of the station domain: byte examples, lengths, bounds and failures.
#include "record_ops.h"
#include "testkit.h"
