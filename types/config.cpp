// records: see include/intfVelmor/config.h
#include "types/described.h"
#include "wire/describe.h"
