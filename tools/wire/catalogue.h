// The messages and record types that the tool knows, taken from the
// library's own descriptions and descriptor, and found by name.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "intfVelmor.h"
#include "messages/frame.h"
#include "wire/engine.h"

namespace wiretool {

// A command or notification: its description and its descriptor entry.
struct Message {
    const iv::MsgDesc *m;
    const intfVelmor_entry *entry;
};

// The commands in index order, then the notifications.
const std::vector<Message> &messages();

// A record type and its exported serializers.
struct RecordType {
    const char *name;
    const iv::TypeDesc *d;
    uint32_t (*serialize)(const void *rec, uint8_t **pos);  // intfVelmor_<T>_serialize
    uint32_t (*length)(const void *rec);                    // intfVelmor_<T>_serialize_lg
};

// Every record type, in the library's order.
const std::vector<RecordType> &recordTypes();

// By the message's name, its send name or its entry name (case ignored when
// nothing matches exactly); a usage error when none matches.
const Message &findMessage(const std::string &name);
// By name, case ignored when nothing matches exactly and only one does.
const RecordType &findRecord(const std::string &name);

// "req" or "res"; "request", "response" or "notification"; "name kind".
const char *typeWord(int32_t type);
std::string kindOf(const Message &msg, int32_t type);
std::string title(const Message &msg, int32_t type);

// --type's value (req, res, request, response, 0, 1); a usage error otherwise.
int32_t parseType(const std::string &s);
// A usage error for a notification's response.
void checkType(const Message &msg, int32_t type);

}  // namespace wiretool
