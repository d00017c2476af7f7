#include "tools/wire/reading.h"

#include <stdlib.h>
#include <string.h>

#include "tools/describe_print.h"
#include "types/names.h"

using iv::Field;
using iv::Form;
using iv::TypeDesc;

namespace wiretool {

namespace {

// Names the member that the record's path leads to, from the root description
// of the body's members (called `root`) or of the record.
void follow(const iv::ReadFailure &fail, const TypeDesc *d, const char *root, Stop &stop)
{
    for (unsigned k = fail.depth; d && k-- > 0;) {
        const iv::ReadFailure::Step &s = fail.path[k];
        if (s.field >= d->count)
            break;
        const Field &f = iv::fieldsOf(*d)[s.field];
        std::string name = ivtool::memberName(*d, f);
        stop.holder = k + 1 == fail.depth ? root : iv::typeName(*d);
        if (s.element == iv::ReadFailure::kCount) {
            stop.path = join(stop.path, name + "Count");
            stop.form = f.countWidth() == 1 ? "u8" : "u32";
            break;
        }
        if (s.element == iv::ReadFailure::kWhole) {
            stop.path = join(stop.path, name);
            stop.form = ivtool::formName(f);
        } else {
            stop.path = join(stop.path, name + format("[%u]", (unsigned)s.element));
            stop.form = f.form == Form::ArrayU32 ? "u32" : f.sub()->name();
        }
        d = f.sub();
    }
    if (fail.pathCut)
        stop.path = "..." + stop.path;
}

Stop stopOf(uint32_t rc, const iv::ReadFailure &fail, const TypeDesc *members,
            const Message *msg)
{
    Stop stop;
    stop.failed = rc != 0;
    if (!stop.failed || fail.reason == iv::ReadFailure::kNone)
        return stop;
    stop.located = true;
    stop.offset = fail.offset;
    stop.base = fail.base;
    stop.tag = (int)fail.tag;
    if (msg && fail.depth == 0 && fail.tag < 2) {  // the frame's items
        stop.path = fail.tag == 0 ? "magic" : "stamp";
        stop.form = format("item %u", fail.tag);
        if (fail.reason == iv::ReadFailure::kForeignMagic)
            stop.form = format("item 0 holds 0x%08x, %s has 0x%08x", (unsigned)fail.found,
                               msg->m->name, msg->m->magic);
        else if (fail.reason == iv::ReadFailure::kWrongStamp)
            stop.form = format("item 1 holds %u, %s carries %u", (unsigned)fail.found,
                               msg->m->name, (unsigned)msg->m->stamp);
        return stop;
    }
    follow(fail, members, msg ? "the body" : members->name(), stop);
    return stop;
}

// A library line with the name of the function that logs it left out: the
// frame is read alike by every body callback, each under its own name.
std::string withoutCaller(const std::string &line)
{
    size_t from = line.find("-> ");
    size_t to = from == std::string::npos ? from : line.find('(', from);
    if (to == std::string::npos)
        return line;
    return line.substr(0, from + 3) + "<body callback>" + line.substr(to);
}

// Where and why the library stopped, and its lines.
std::string account(const Decoded &r, const std::vector<uint8_t> &in, bool anonymous)
{
    std::string out;
    if (r.stop.located) {
        std::string item = r.stop.path.empty() ? "(member not located)" : r.stop.path;
        if (r.stop.path == "magic" || r.stop.path == "stamp")
            item += format(" (frame item %d)", r.stop.tag);
        else if (!r.stop.form.empty())
            item += format(" (%s, item #%d)", r.stop.form.c_str(), r.stop.tag);
        out += "  failing item: " + item + "\n";
        out += format("  at offset:    %u (0x%x) of %zu bytes\n", r.stop.offset, r.stop.offset,
                      in.size());
        if (!r.stop.holder.empty())
            out += format("  in record:    %s from offset %u (0x%x), its lines' pBody\n",
                          r.stop.holder.c_str(), r.stop.base, r.stop.base);
        size_t left = in.size() - r.stop.offset;
        out += "  bytes there:  " +
               (left ? hexBytes(in.data() + r.stop.offset, left < 16 ? left : 16) +
                           (left > 16 ? " ..." : "")
                     : std::string("(end of input)")) +
               "\n";
    }
    out += "  why:          " + reason(r) + "\n";
    if (r.log.empty()) {
        out += "  library log:  (no line)\n";
    } else if (anonymous) {
        out += "  library log (each body callback logs these under its own name):\n";
        for (const LogLine &l : r.log)
            out += format("    <%d> ", l.prio) + withoutCaller(l.text) + "\n";
    } else {
        out += "  library log:\n" + logText(r.log, "    ");
    }
    return out;
}

}  // namespace

Decoded &Decoded::operator=(Decoded &&o) noexcept
{
    std::swap(msg, o.msg), std::swap(rec, o.rec), std::swap(type, o.type);
    std::swap(rc, o.rc), std::swap(value, o.value), std::swap(log, o.log);
    std::swap(fail, o.fail), std::swap(stop, o.stop), std::swap(canonical, o.canonical);
    return *this;
}

Decoded::~Decoded()
{
    if (value && msg)
        msg->entry->freeBody(type, value);
    else
        free(value);
}

Decoded decodeBody(const Message &msg, int32_t type, const std::vector<uint8_t> &in)
{
    Decoded r;
    r.msg = &msg;
    r.type = type;
    const uint8_t *start = in.data(), *end = start + in.size();
    clearLibraryLog();
    void *body = nullptr;
    uint32_t size = 0;
    r.rc = iv::readBody(*msg.m, type, start, end, &body, &size, r.fail);
    r.log = libraryLog();
    r.stop = stopOf(r.rc, r.fail, msg.m->members[type], &msg);
    if (r.ok()) {
        r.value = body;
        r.stop.offset = r.fail.offset;  // the body's length
        uint8_t *buf = nullptr;
        uint32_t len = 0;
        if (msg.entry->serializeBody(type, body, &buf, &len) == 0)
            r.canonical.assign(buf, buf + len);
        free(buf);
        clearLibraryLog();
    }
    return r;
}

Decoded decodeRecord(const RecordType &t, const std::vector<uint8_t> &in)
{
    Decoded r;
    r.rec = &t;
    const uint8_t *start = in.data(), *end = start + in.size();
    r.value = calloc(1, t.d->size);
    if (!r.value)
        reject("out of memory");
    const uint8_t *pos = start;
    clearLibraryLog();
    r.rc = iv::readRecord(*t.d, r.value, &pos, end, r.fail);
    r.log = libraryLog();
    r.stop = stopOf(r.rc, r.fail, t.d, nullptr);
    if (r.ok()) {
        r.stop.offset = (uint32_t)(pos - start);
        r.canonical.assign(t.length(r.value), 0);
        uint8_t *w = r.canonical.data();
        if (t.serialize(r.value, &w))
            r.canonical.clear();
    }
    return r;
}

Frame readFrame(const std::vector<uint8_t> &in)
{
    Frame f;
    iv::ReadFailure fail{};
    fail.start = in.data();
    const iv::Reporter who{{"intfvelmor-wire", nullptr}, in.data(), &fail};
    const uint8_t *p = in.data(), *end = p + in.size();
    f.magicRead = !iv::readScalar32(who, p, end, 0, f.magic);
    f.stampAt = (size_t)(p - in.data());
    f.read = f.magicRead && !iv::readScalar32(who, p, end, 1, f.stamp);
    clearLibraryLog();  // this look's lines are not a decode's
    return f;
}

const char *codeMeaning(uint32_t rc)
{
    switch (rc) {
    case INTFVELMOR_ERR_TYPE: return "unknown body type";
    case INTFVELMOR_ERR_FRAME: return "the frame (magic, stamp) is refused";
    case INTFVELMOR_ERR_BODY: return "a member is malformed";
    case INTFVELMOR_ERR_ALLOC: return "out of memory";
    default: return "refused";
    }
}

std::string reason(const Decoded &r)
{
    const iv::ReadFailure &f = r.fail;
    if (!r.stop.located)
        return codeMeaning(r.rc);
    switch (f.reason) {
    case iv::ReadFailure::kForeignMagic: return "another message's magic: " + r.stop.form;
    case iv::ReadFailure::kWrongStamp: return "another stamp: " + r.stop.form;
    case iv::ReadFailure::kWrongTag:
        return format("wrong item number: found %llu (length %llu), expected %u",
                      (unsigned long long)f.found, (unsigned long long)f.length, f.tag);
    case iv::ReadFailure::kTextTooLong:
        return format("text of %u characters does not fit its char[%u]", f.textLen, f.cap);
    case iv::ReadFailure::kTruncated:
        return format("the input ends inside the item (%u bytes left from its start)", f.left);
    case iv::ReadFailure::kBeyondEnd:
        return format("the item's length %u runs past the end of the input (%u bytes left)",
                      (unsigned)f.length, f.left);
    case iv::ReadFailure::kNoNul: return "a text without its NUL inside its item";
    case iv::ReadFailure::kNoStep:
        return format("the item's length %u would take the read past any end",
                      (unsigned)f.length);
    default: return codeMeaning(r.rc);
    }
}

std::string diagnosis(const Decoded &r, const std::vector<uint8_t> &in)
{
    return format("%s: refused with code %u (%s)\n", r.name().c_str(), r.rc, codeMeaning(r.rc)) +
           account(r, in, false);
}

std::string frameDiagnosis(const Decoded &r, const std::vector<uint8_t> &in)
{
    return format("every body callback refuses it with code %u (%s)\n", r.rc,
                  codeMeaning(r.rc)) +
           account(r, in, true);
}

bool readAllBytes(const Decoded &r, const std::vector<uint8_t> &in)
{
    return r.ok() && r.stop.offset == in.size();
}

std::string notes(const Decoded &r, const std::vector<uint8_t> &in)
{
    std::string out;
    if (r.ok() && r.stop.offset < in.size())
        out += format("%s: %zu byte%s after offset %u (0x%x) not read: the library ignores bytes "
                      "after the last member\n",
                      r.name().c_str(), in.size() - r.stop.offset,
                      in.size() - r.stop.offset == 1 ? "" : "s", r.stop.offset, r.stop.offset);
    // What was read, against the library's encoding of the values it gave.
    size_t read = r.stop.offset;
    if (r.ok() && (r.canonical.size() != read || memcmp(r.canonical.data(), in.data(), read))) {
        size_t k = 0;
        while (k < read && k < r.canonical.size() && in[k] == r.canonical[k])
            ++k;
        out += format("%s: the library encodes these values differently from offset %zu "
                      "(0x%zx) on (item lengths, pad bytes or values wider than their "
                      "member); offsets shown are those of its encoding\n",
                      r.name().c_str(), k, k);
    }
    return out;
}

}  // namespace wiretool
