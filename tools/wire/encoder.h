// JSON in the shape decode --json prints, filled into the library's structs
// member by member and written by its serializers.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "tools/wire/catalogue.h"
#include "tools/wire/json.h"

namespace wiretool {

// What a command line names; each is empty when not given: a message by any
// of its names, its type (as --type takes it), a record type.
struct Naming {
    std::string message, type, record;
};

// What to encode: a message's body of one type, or a record, and the JSON
// of its members.
struct Target {
    const Message *msg = nullptr;
    const RecordType *rec = nullptr;
    int32_t type = -1;
    const json *body = nullptr;  // inside the document given to target()
};

// The target that `named` and the document agree on. The document is the
// members, or an envelope ({"message", "type", "body"} or {"record",
// "body"}) that names them itself and must agree with `named`. A usage
// error when nothing or two different things are named, an InputError for a
// bad envelope.
Target target(const Naming &named, const json &j);

// The library's bytes for the target's JSON; an InputError, with the member's
// path, for a value that does not fit its member or a member that does not
// exist, and with the library's log lines when its serializer refuses.
std::vector<uint8_t> encode(const Target &t);

}  // namespace wiretool
