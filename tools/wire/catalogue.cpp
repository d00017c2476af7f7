#include "tools/wire/catalogue.h"

#include <string.h>
#include <strings.h>

#include "tools/wire/base.h"
#include "types/described.h"
#include "types/names.h"

namespace wiretool {

namespace {

std::vector<Message> allMessages()
{
    std::vector<Message> v;
    for (uint32_t i = 0; i < INTFVELMOR_CMD_COUNT; ++i)
        v.push_back({iv::kCommands[i], &intfVelmor_base.cmd.entries[i]});
    for (uint32_t i = 0; i < INTFVELMOR_NTFY_COUNT; ++i)
        v.push_back({iv::kNotifications[i], &intfVelmor_base.ntfy.entries[i]});
    return v;
}

#define IV_TOOL_RECORD(T)                                                                     \
    {#T, &iv::descOf<T>(),                                                                     \
     [](const void *r, uint8_t **p) { return intfVelmor_##T##_serialize((const T *)r, p); }, \
     [](const void *r) { return intfVelmor_##T##_serialize_lg((const T *)r); }},
const RecordType kRecords[] = {INTFVELMOR_RECORD_TYPES(IV_TOOL_RECORD)};
#undef IV_TOOL_RECORD

bool sameName(const char *a, const std::string &b) { return strcasecmp(a, b.c_str()) == 0; }

}  // namespace

const std::vector<Message> &messages()
{
    static const std::vector<Message> v = allMessages();
    return v;
}

const std::vector<RecordType> &recordTypes()
{
    static const std::vector<RecordType> v(kRecords, kRecords + sizeof kRecords / sizeof *kRecords);
    return v;
}

const Message &findMessage(const std::string &name)
{
    for (const Message &msg : messages())
        if (name == msg.m->name || name == msg.m->sendName || name == msg.entry->name)
            return msg;
    for (const Message &msg : messages())
        if (sameName(msg.m->name, name) || sameName(msg.m->sendName, name) ||
            sameName(msg.entry->name, name))
            return msg;
    usage("no message is named '" + name + "' (intfvelmor-wire list shows them)");
}

const RecordType &findRecord(const std::string &name)
{
    for (const RecordType &r : recordTypes())
        if (name == r.name)
            return r;
    const RecordType *found = nullptr;
    for (const RecordType &r : recordTypes())
        if (sameName(r.name, name)) {
            if (found)
                usage("record type '" + name + "' is ambiguous: say " + found->name + " or " +
                      r.name);
            found = &r;
        }
    if (!found)
        usage("no record type is named '" + name + "' (intfvelmor-wire list shows them)");
    return *found;
}

const char *typeWord(int32_t type) { return type == iv::kReq ? "req" : "res"; }

std::string kindOf(const Message &msg, int32_t type)
{
    return msg.m->ntfy ? "notification" : type == iv::kReq ? "request" : "response";
}

std::string title(const Message &msg, int32_t type)
{
    return std::string(msg.m->name) + " " + kindOf(msg, type);
}

int32_t parseType(const std::string &s)
{
    if (s == "req" || s == "request" || s == "0")
        return iv::kReq;
    if (s == "res" || s == "response" || s == "1")
        return iv::kRes;
    usage("--type is req or res, not '" + s + "'");
}

void checkType(const Message &msg, int32_t type)
{
    if (msg.m->ntfy && type != iv::kReq)
        usage(std::string(msg.m->name) + " is a notification: its only body is --type req");
}

}  // namespace wiretool
