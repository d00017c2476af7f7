// records: see include/intfVelmor/station.h
#include "types/described.h"
#include "wire/describe.h"
