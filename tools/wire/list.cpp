// list: the messages with their magics and members, and the record types,
// from the library's descriptions.
#include <stdio.h>


#include "tools/describe_print.h"
#include "tools/wire/commands.h"
#include "tools/wire/base.h"
#include "tools/wire/catalogue.h"
#include "tools/wire/json.h"
#include "types/names.h"

using iv::Field;
using iv::Form;
using iv::TypeDesc;

namespace wiretool {

namespace {

json fieldJson(const TypeDesc &d, const Field &f)
{
    const char *name = ivtool::memberName(d, f);
    json j = {{"name", name}, {"tag", f.tag}};
    switch (f.form) {
    case Form::Text: j["form"] = "text", j["capacity"] = f.cap; break;
    case Form::Record: j["form"] = "record", j["type"] = f.sub()->name(); break;
    case Form::Table:
        j["form"] = "table", j["element"] = f.sub()->name(), j["size"] = f.cap;
        break;
    case Form::ArrayRec:
    case Form::ArrayU32:
        j["form"] = "array";
        j["element"] = f.form == Form::ArrayU32 ? "u32" : f.sub()->name();
        j["max"] = f.cap;
        j["count"] = {{"name", std::string(name) + "Count"},
                      {"tag", f.countTag()},
                      {"form", f.countWidth() == 1 ? "u8" : "u32"}};
        break;
    default: j["form"] = ivtool::formName(f); break;
    }
    return j;
}

json membersJson(const TypeDesc *d)
{
    json a = json::array();
    for (uint16_t i = 0; d && i < d->count; ++i)
        a.push_back(fieldJson(*d, iv::fieldsOf(*d)[i]));
    return a;
}

bool fixedLength(const TypeDesc &d)
{
    for (const Field *f = iv::fieldsOf(d), *e = f + d.count; f != e; ++f)
        if (f->form == Form::Text || f->form == Form::ArrayRec || f->form == Form::ArrayU32 ||
            ((f->form == Form::Record || f->form == Form::Table) && !fixedLength(*f->sub())))
            return false;
    return true;
}

std::string membersText(const TypeDesc *d)
{
    if (!d)
        return "none";
    std::string s;
    for (uint16_t i = 0; i < d->count; ++i)
        s += format("%s%s %s", i ? ", " : "", ivtool::memberName(*d, iv::fieldsOf(*d)[i]),
                    ivtool::formName(iv::fieldsOf(*d)[i]).c_str());
    return s;
}

}  // namespace

int listCommand(const Options &o)
{
    if (o.json) {
        json j = {{"messages", json::array()}, {"records", json::array()}};
        for (const Message &msg : messages()) {
            json mj = {{"name", msg.m->name},
                       {"entry", msg.entry->name},
                       {"notification", msg.m->ntfy},
                       {"index", msg.m->index},
                       {"magic", format("0x%08x", msg.m->magic)},
                       {"methodMagic", format("0x%08x", msg.m->magic + 1)},
                       {"stamp", msg.m->stamp},
                       {"req", membersJson(msg.m->members[iv::kReq])}};
            if (!msg.m->ntfy)
                mj["res"] = membersJson(msg.m->members[iv::kRes]);
            j["messages"].push_back(mj);
        }
        for (const RecordType &r : recordTypes())
            j["records"].push_back({{"name", r.name}, {"size", r.d->size},
                                    {"members", membersJson(r.d)}});
        fputs((dumpJson(j, o.pretty) + "\n").c_str(), stdout);
        return 0;
    }
    std::string out = "Commands: index, name, entry name, magic, method magic, stamp\n";
    for (const Message &msg : messages()) {
        if (msg.m->ntfy && msg.m->index == 0)
            out += "\nNotifications: index, name, entry name, magic, method magic, stamp\n";
        out += format("  %2u  %-26s %-26s 0x%08x  0x%08x  %u\n", (unsigned)msg.m->index,
                      msg.m->name, msg.entry->name, msg.m->magic, msg.m->magic + 1,
                      (unsigned)msg.m->stamp);
        out += format("        %-10s %s\n", msg.m->ntfy ? "members:" : "request:",
                      membersText(msg.m->members[iv::kReq]).c_str());
        if (!msg.m->ntfy)
            out += format("        %-10s %s\n", "response:",
                          membersText(msg.m->members[iv::kRes]).c_str());
    }
    out += format("\nRecord types (%zu): name, members, bytes in memory, bytes on the wire\n"
                  "(\"from\": the encoding of an all-zero record; texts and arrays add to it)\n",
                  recordTypes().size());
    for (const RecordType &r : recordTypes()) {
        std::vector<uint64_t> zero(r.d->size / 8 + 1, 0);
        out += format("  %-38s %3u members  %6u bytes  wire %s%u\n", r.name, (unsigned)r.d->count,
                      (unsigned)r.d->size, fixedLength(*r.d) ? "" : "from ",
                      r.length(zero.data()));
    }
    fputs(out.c_str(), stdout);
    return 0;
}

}  // namespace wiretool
