// Member names and fields for tools: a table beside the descriptions, built from the
// same description macros. The shared library neither needs nor exports it;
// tools, tests and the demo link it from the IntfVelmorNames archive.
#pragma once

#include <stddef.h>

#include "wire/engine.h"

namespace iv {

// The name of d's type, message bodies' too ("ivRes_getCCAStatistic"); a
// description that is not the library's gives its own name.
const char *typeName(const TypeDesc &d);

// The name of field i of d, as in its struct ("v3", "stations"), or null
// when d is not a description of the library or i is out of its range.
const char *memberName(const TypeDesc &d, size_t i);

// The fields of d (d.count of them), or null when d is not a description of
// the library.
const Field *fieldsOf(const TypeDesc &d);

}  // namespace iv
