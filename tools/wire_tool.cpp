// intfvelmor-wire: reads and writes the interface's wire bytes with the
// library's own descriptions, bounded decoder and serializers.
//
//   intfvelmor-wire list [--json]
//   intfvelmor-wire decode [--message NAME [--type req|res] | --record TYPE]
//                          [--json | --pretty] [--dump] [--binary] [FILE]
//   intfvelmor-wire encode [--message NAME --type req|res | --record TYPE]
//                          [--binary] [FILE]
//   intfvelmor-wire template (--message NAME --type req|res | --record TYPE)
//
// Bytes are read as hex text (whitespace, ':', '|' ignored) or, with
// --binary, as they are. Nothing here reads a wire item by itself: bodies go
// once through the library's bounded body reader (the one behind
// intfVelmor_unserializeBodyBounded and the body callbacks) and records
// through the reader behind their _unserialize_bounded; only the frame's two
// items are looked at first, to find the message. Values are then printed by
// walking the descriptions.
// Encoding fills the same structs from JSON and calls the library's
// serializers. When the library refuses bytes, the record that its reader
// fills says why, at which offset and in which member; its own log lines
// (taken through its log seam) are shown beside.
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "intfVelmor.h"
#include "messages/frame.h"
#include "tools/describe_print.h"
#include "types/described.h"
#include "types/names.h"
#include "wire/bytes.h"
#include "wire/engine.h"

using json = nlohmann::ordered_json;
using iv::Field;
using iv::Form;
using iv::TypeDesc;

// ---- the library's log lines ------------------------------------------------------

namespace {

struct LogLine {
    int prio;
    std::string text;
};

std::vector<LogLine> gLog;

// The library's lines, taken through its log seam instead of syslog.
void capture(int prio, const char *line)
{
    std::string s = line;
    while (!s.empty() && s.back() == '\n')
        s.pop_back();
    gLog.push_back({prio & 7, s});
}

}  // namespace

namespace {

// ---- failures ---------------------------------------------------------------------

// Bad input (bytes, hex, JSON, values): exit 1. Bad command line: exit 2.
struct InputError {
    std::string what;
};
struct UsageError {
    std::string what;
};

[[noreturn]] void reject(const std::string &what) { throw InputError{what}; }
[[noreturn]] void usage(const std::string &what) { throw UsageError{what}; }

std::string format(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
std::string format(const char *fmt, ...)
{
    char buf[512];
    va_list ap;
    va_start(ap, fmt);
    vsnprintf(buf, sizeof buf, fmt, ap);
    va_end(ap);
    return buf;
}

// ---- the catalogue ----------------------------------------------------------------

struct Message {
    const iv::MsgDesc *m;
    const intfVelmor_entry *entry;
};

std::vector<Message> allMessages()
{
    std::vector<Message> v;
    for (uint32_t i = 0; i < INTFVELMOR_CMD_COUNT; ++i)
        v.push_back({iv::kCommands[i], &intfVelmor_base.cmd.entries[i]});
    for (uint32_t i = 0; i < INTFVELMOR_NTFY_COUNT; ++i)
        v.push_back({iv::kNotifications[i], &intfVelmor_base.ntfy.entries[i]});
    return v;
}

const std::vector<Message> &messages()
{
    static const std::vector<Message> v = allMessages();
    return v;
}

using SerializeFn = uint32_t (*)(const void *, uint8_t **);
using LengthFn = uint32_t (*)(const void *);

struct RecordType {
    const char *name;
    const TypeDesc *d;
    SerializeFn serialize;      // intfVelmor_<T>_serialize
    LengthFn length;            // intfVelmor_<T>_serialize_lg
};

#define IV_TOOL_RECORD(T)                                                                     \
    {#T, &iv::descOf<T>(),                                                                     \
     [](const void *r, uint8_t **p) { return intfVelmor_##T##_serialize((const T *)r, p); }, \
     [](const void *r) { return intfVelmor_##T##_serialize_lg((const T *)r); }},
const RecordType kRecords[] = {INTFVELMOR_RECORD_TYPES(IV_TOOL_RECORD)};
#undef IV_TOOL_RECORD

bool sameName(const char *a, const std::string &b) { return strcasecmp(a, b.c_str()) == 0; }

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
    for (const RecordType &r : kRecords)
        if (name == r.name)
            return r;
    const RecordType *found = nullptr;
    for (const RecordType &r : kRecords)
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

// ---- input --------------------------------------------------------------------------

std::string readAll(const std::string &file)
{
    FILE *f = file.empty() || file == "-" ? stdin : fopen(file.c_str(), "rb");
    if (!f)
        reject("cannot open " + file + ": " + strerror(errno));
    std::string s;
    char buf[65536];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, f)) > 0)
        s.append(buf, n);
    bool bad = ferror(f);
    if (f != stdin)
        fclose(f);
    if (bad)
        reject("cannot read " + (file.empty() ? std::string("standard input") : file));
    return s;
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Hex text: pairs of digits; blanks, newlines, ':' and '|' separate nothing.
std::vector<uint8_t> parseHex(const std::string &text)
{
    std::vector<uint8_t> out;
    int line = 1, column = 0, high = -1;
    for (char c : text) {
        ++column;
        if (c == '\n') {
            ++line;
            column = 0;
            continue;
        }
        if (c == ' ' || c == '\t' || c == '\r' || c == ':' || c == '|')
            continue;
        int d = hexDigit(c);
        if (d < 0) {
            unsigned char u = (unsigned char)c;
            reject(format("hex input: '%s' at line %d, column %d is not a hex digit",
                          u >= 0x20 && u < 0x7f ? std::string(1, c).c_str()
                                                : format("\\x%02x", u).c_str(),
                          line, column));
        }
        if (high < 0) {
            high = d;
        } else {
            out.push_back((uint8_t)(high << 4 | d));
            high = -1;
        }
    }
    if (high >= 0)
        reject(format("hex input: odd number of hex digits (%zu bytes and one digit)", out.size()));
    return out;
}

std::vector<uint8_t> readBytes(const std::string &file, bool binary)
{
    std::string raw = readAll(file);
    std::vector<uint8_t> bytes =
        binary ? std::vector<uint8_t>(raw.begin(), raw.end()) : parseHex(raw);
    if (bytes.empty())
        reject("no bytes to decode");
    return bytes;
}

std::string hexBytes(const uint8_t *p, size_t n)
{
    std::string s;
    for (size_t i = 0; i < n; ++i) {
        if (i)
            s += ' ';
        s += "0123456789abcdef"[p[i] >> 4];
        s += "0123456789abcdef"[p[i] & 15];
    }
    return s;
}

// ---- where and why the library stopped ----------------------------------------------

// Where a decode stopped, from the library's failure record: the failing
// item's offset (or, after a decode, the bytes it read) and its member.
struct Stop {
    bool failed = false;
    bool located = false;   // the library recorded the failing item
    uint32_t offset = 0;    // failing item, or just past the last item read
    uint32_t base = 0;      // first item of the record that reports the failure
    std::string path;       // member path from the body or record
    std::string form;
    std::string holder;     // type of the record that holds the failing item
    int tag = -1;
};

std::string join(const std::string &path, const std::string &name)
{
    return path.empty() ? name : path + "." + name;
}

// Names the member that the record's path leads to, from the root description
// of the body's members (called `root`) or of the record.
void follow(const iv::ReadFailure &fail, const TypeDesc *d, const char *root, Stop &stop)
{
    for (unsigned k = fail.depth; d && k-- > 0;) {
        const iv::ReadFailure::Level &s = fail.path[k];
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

// ---- decoding -------------------------------------------------------------------------

struct Decoded {
    const Message *msg = nullptr;  // a message body, or
    const RecordType *rec = nullptr;  // a record
    int32_t type = iv::kReq;
    uint32_t rc = 0;
    void *value = nullptr;  // the library's body, or the record filled by it
    std::vector<LogLine> log;
    iv::ReadFailure fail{};  // what the library recorded when it refused the bytes
    Stop stop;
    std::vector<uint8_t> canonical;  // the library's encoding of what was decoded

    Decoded() = default;
    Decoded(const Decoded &) = delete;
    Decoded(Decoded &&o) noexcept { *this = std::move(o); }
    Decoded &operator=(Decoded &&o) noexcept
    {
        std::swap(msg, o.msg), std::swap(rec, o.rec), std::swap(type, o.type);
        std::swap(rc, o.rc), std::swap(value, o.value), std::swap(log, o.log);
        std::swap(fail, o.fail), std::swap(stop, o.stop), std::swap(canonical, o.canonical);
        return *this;
    }
    ~Decoded()
    {
        if (value && msg)
            msg->entry->freeBody(type, value);
        else
            free(value);
    }

    bool ok() const { return rc == 0; }
    std::string name() const { return msg ? title(*msg, type) : std::string(rec->name); }
};

// One run of the library's bounded body reader, as the body callback runs it.
Decoded decodeBody(const Message &msg, int32_t type, const std::vector<uint8_t> &in)
{
    Decoded r;
    r.msg = &msg;
    r.type = type;
    const uint8_t *start = in.data(), *end = start + in.size();
    gLog.clear();
    void *body = nullptr;
    uint32_t size = 0;
    r.rc = iv::readBody(*msg.m, type, start, end, &body, &size, r.fail);
    r.log = gLog;
    r.stop = stopOf(r.rc, r.fail, msg.m->members[type], &msg);
    if (r.ok()) {
        r.value = body;
        r.stop.offset = r.fail.offset;  // the body's length
        uint8_t *buf = nullptr;
        uint32_t len = 0;
        if (msg.entry->serializeBody(type, body, &buf, &len) == 0)
            r.canonical.assign(buf, buf + len);
        free(buf);
        gLog.clear();
    }
    return r;
}

// One run of the record's bounded reader.
Decoded decodeRecord(const RecordType &t, const std::vector<uint8_t> &in)
{
    Decoded r;
    r.rec = &t;
    const uint8_t *start = in.data(), *end = start + in.size();
    r.value = calloc(1, t.d->size);
    if (!r.value)
        reject("out of memory");
    const uint8_t *pos = start;
    gLog.clear();
    r.rc = iv::readRecord(*t.d, r.value, &pos, end, r.fail);
    r.log = gLog;
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

std::string logText(const std::vector<LogLine> &log, const char *indent)
{
    std::string out;
    for (const LogLine &l : log)
        out += format("%s<%d> ", indent, l.prio) + l.text + "\n";
    return out;
}

// Why the library stopped, in a few words, from its record.
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

// The full account of a refusal.
std::string diagnosis(const Decoded &r, const std::vector<uint8_t> &in)
{
    std::string out = format("%s: refused with code %u (%s)\n", r.name().c_str(), r.rc,
                             codeMeaning(r.rc));
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
    if (r.log.empty())
        out += "  library log:  (no line)\n";
    else
        out += "  library log:\n" + logText(r.log, "    ");
    return out;
}

// A decode that read every byte is a fit. The library reads a body or a
// record up to its last member and ignores what follows: a decode that
// leaves bytes over is accepted too, with a note.
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

std::string treeOf(const Decoded &r)
{
    std::string out;
    if (r.rec) {
        out += format("%s, %zu bytes\n", r.rec->name, r.canonical.size());
        ivtool::printTree(out, *r.rec->d, r.value, 0, 2);
        return out;
    }
    const Message &msg = *r.msg;
    const TypeDesc *d = msg.m->members[r.type];
    out += format("%s, body type %d, %zu bytes\n", title(msg, r.type).c_str(), (int)r.type,
                  r.canonical.size());
    const iv::BodyHead *head = (const iv::BodyHead *)r.value;
    ivtool::printItem(out, 2, "magic", 0, 0, format("0x%08x", head->magic));
    ivtool::printItem(out, 2, "stamp", 1, iv::kScalar32Size, format("%u", msg.m->stamp));
    if (d)
        ivtool::printTree(out, *d, r.value, 2 * iv::kScalar32Size, 2);
    else
        out += "  (no members)\n";
    return out;
}

json jsonOf(const Decoded &r)
{
    std::string body;
    const TypeDesc *d = r.rec ? r.rec->d : r.msg->m->members[r.type];
    if (d)
        ivtool::printJson(body, *d, r.value);
    else
        body = "{}";
    json j = json::object();
    if (r.rec) {
        j["record"] = r.rec->name;
    } else {
        j["message"] = r.msg->m->name;
        j["type"] = typeWord(r.type);
    }
    j["body"] = json::parse(body);
    return j;
}

struct Options {
    std::string command, message, type, record, file;
    bool json = false, pretty = false, dump = false, binary = false;
};

std::string dumpJson(const json &j, const Options &o)
{
    return (o.pretty ? j.dump(2, ' ', true) : j.dump(-1, ' ', true)) + "\n";
}

void show(const Decoded &r, const std::vector<uint8_t> &in, const Options &o, std::string &out)
{
    if (o.json)
        return;
    if (o.dump) {
        out += "bytes:\n";
        ivtool::hexDump(out, in.data(), (uint32_t)in.size(), 2);
    }
    out += treeOf(r);
}

// decode --message NAME [--type req|res], or decode with neither: the message
// is recognised from its frame, and every candidate goes through the library.
int decodeMessages(const Options &o, const std::vector<uint8_t> &in)
{
    std::vector<std::pair<const Message *, int32_t>> candidates;
    std::string header;
    if (!o.message.empty()) {
        const Message &msg = findMessage(o.message);
        if (!o.type.empty()) {
            int32_t type = parseType(o.type);
            checkType(msg, type);
            candidates.push_back({&msg, type});
        } else {
            candidates.push_back({&msg, iv::kReq});
            if (!msg.m->ntfy)
                candidates.push_back({&msg, iv::kRes});
        }
    } else {
        // The frame's two items name the message, read by the library's item
        // reader; the lines of this look are not the decode's.
        iv::ReadFailure fail{};
        fail.start = in.data();
        const iv::Reporter who{{"intfvelmor-wire", nullptr}, in.data(), &fail};
        const uint8_t *p = in.data(), *end = p + in.size();
        uint32_t magic = 0, stamp = 0;
        bool magicRead = !iv::readScalar32(who, p, end, 0, magic);
        bool bad = !magicRead || iv::readScalar32(who, p, end, 1, stamp);
        gLog.clear();
        // An unreadable frame stops the library at the same item for every
        // message with this magic, and for any message when item 0 is bad.
        const Message *probe = magicRead ? nullptr : &messages()[0];
        for (const Message &msg : messages())
            if (magicRead && !probe && msg.m->magic == magic)
                probe = &msg;
        if (bad && probe) {
            Decoded r = decodeBody(*probe, iv::kReq, in);
            fprintf(stderr, "intfvelmor-wire: the frame (item 0 magic, item 1 stamp) cannot be read\n%s",
                    diagnosis(r, in).c_str());
            return 1;
        }
        if (bad) {
            fprintf(stderr, "intfvelmor-wire: no message has magic 0x%08x (item 0), and item 1 "
                            "(the stamp) at offset %zu cannot be read\n",
                    magic, (size_t)(p - in.data()));
            return 1;
        }
        std::string sameMagic;
        for (const Message &msg : messages()) {
            if (msg.m->magic != magic)
                continue;
            sameMagic += format("%s%s (stamp %u)", sameMagic.empty() ? "" : ", ", msg.m->name,
                                (unsigned)msg.m->stamp);
            if (msg.m->stamp != (uint16_t)stamp)
                continue;
            candidates.push_back({&msg, iv::kReq});
            if (!msg.m->ntfy)
                candidates.push_back({&msg, iv::kRes});
        }
        if (candidates.empty()) {
            fprintf(stderr, "intfvelmor-wire: no message has magic 0x%08x with stamp %u%s%s\n",
                    magic, stamp, sameMagic.empty() ? "" : "; with that magic: ",
                    sameMagic.c_str());
            return 1;
        }
        header = format("magic 0x%08x, stamp %u:", magic, stamp);
    }

    std::vector<Decoded> results;
    for (auto &c : candidates)
        results.push_back(decodeBody(*c.first, c.second, in));

    std::vector<const Decoded *> fits, partial;
    for (const Decoded &r : results) {
        if (readAllBytes(r, in))
            fits.push_back(&r);
        else if (r.ok())
            partial.push_back(&r);
    }
    // The library accepts a body with bytes after it: such a decode is shown
    // when none reads every byte.
    const std::vector<const Decoded *> &shown = fits.empty() ? partial : fits;

    std::string out, err;
    if (results.size() > 1) {
        // Which candidates fit, and why the others do not.
        std::string summary = header.empty() ? std::string("candidates:") : header;
        summary += "\n";
        for (const Decoded &r : results) {
            std::string verdict;
            if (readAllBytes(r, in))
                verdict = "fits";
            else if (r.ok())
                verdict = format("decodes, but leaves %zu bytes unread", in.size() - r.stop.offset);
            else
                verdict = format("does not fit: %s at offset %u: %s",
                                 r.stop.path.empty() ? "?" : r.stop.path.c_str(), r.stop.offset,
                                 reason(r).c_str());
            summary += format("  %-40s %s\n", r.name().c_str(), verdict.c_str());
        }
        (o.json ? err : out) += summary + (o.json ? "" : "\n");
    }
    if (shown.empty()) {
        for (const Decoded &r : results)
            if (!r.ok())
                err += diagnosis(r, in);
        fputs(out.c_str(), stdout);
        fprintf(stderr, "intfvelmor-wire: the bytes do not decode\n%s", err.c_str());
        return 1;
    }
    if (fits.empty())  // nothing read every byte: why the others stopped
        for (const Decoded &r : results)
            if (!r.ok())
                err += diagnosis(r, in);
    json all = json::array();
    for (const Decoded *r : shown) {
        if (o.json)
            all.push_back(jsonOf(*r));
        else
            show(*r, in, o, out), out += shown.size() > 1 ? "\n" : "";
        err += notes(*r, in);
    }
    if (o.json)
        out += dumpJson(all.size() == 1 ? all[0] : all, o);
    if (shown.size() > 1)
        err += format("intfvelmor-wire: %zu candidates %s; name one with --message NAME --type "
                      "req|res\n",
                      shown.size(), fits.empty() ? "decode" : "fit");
    fputs(out.c_str(), stdout);
    fputs(err.c_str(), stderr);
    return 0;
}

int decodeOneRecord(const Options &o, const std::vector<uint8_t> &in)
{
    Decoded r = decodeRecord(findRecord(o.record), in);
    if (!r.ok()) {
        fprintf(stderr, "intfvelmor-wire: the bytes do not decode\n%s", diagnosis(r, in).c_str());
        return 1;
    }
    std::string out;
    if (o.json)
        out = dumpJson(jsonOf(r), o);
    else
        show(r, in, o, out);
    fputs(out.c_str(), stdout);
    fputs(notes(r, in).c_str(), stderr);
    return 0;
}

// ---- encoding -------------------------------------------------------------------------

const char *kindOf(const json &v)
{
    switch (v.type()) {
    case json::value_t::object: return "an object";
    case json::value_t::array: return "an array";
    case json::value_t::string: return "a string";
    case json::value_t::boolean: return "true or false";
    case json::value_t::null: return "null";
    case json::value_t::number_float: return "a fraction";
    default: return "a number";
    }
}

void fillScalar(Form form, uint8_t *m, const json &v, const std::string &path)
{
    struct Range {
        const char *name;
        int64_t lo;
        uint64_t hi;
    };
    Range r;
    switch (form) {
    case Form::U8: r = {"u8", 0, 0xff}; break;
    case Form::I8: r = {"i8", -128, 127}; break;
    case Form::U16: r = {"u16", 0, 0xffff}; break;
    case Form::I16: r = {"i16", -32768, 32767}; break;
    case Form::U64: r = {"u64", 0, UINT64_MAX}; break;
    default: r = {"u32", 0, 0xffffffffu}; break;
    }
    std::string range = format("%s, %lld..%llu", r.name, (long long)r.lo, (unsigned long long)r.hi);
    if (!v.is_number_integer())
        reject(path + ": expected an integer (" + range + "), got " +
               (v.is_number_float() ? v.dump() : std::string(kindOf(v))));
    uint64_t bits;
    if (v.is_number_unsigned()) {
        uint64_t u = v.get<uint64_t>();
        if (u > r.hi)
            reject(path + ": " + v.dump() + " is out of range for " + range);
        bits = u;
    } else {
        int64_t s = v.get<int64_t>();
        if (s < r.lo || (s >= 0 && (uint64_t)s > r.hi))
            reject(path + ": " + v.dump() + " is out of range for " + range);
        bits = (uint64_t)s;
    }
    switch (form) {
    case Form::U8:
    case Form::I8: *m = (uint8_t)bits; break;
    case Form::U16:
    case Form::I16: {
        uint16_t w = (uint16_t)bits;
        memcpy(m, &w, 2);
        break;
    }
    case Form::U64: memcpy(m, &bits, 8); break;
    default: {
        uint32_t w = (uint32_t)bits;
        memcpy(m, &w, 4);
        break;
    }
    }
}

// Texts are bytes: JSON writes each byte as one character U+0000..U+00FF,
// as the decoder prints them.
void fillText(const Field &f, uint8_t *m, const json &v, const std::string &path)
{
    if (!v.is_string())
        reject(path + ": expected a string (char[" + std::to_string(f.cap) + "]), got " +
               kindOf(v));
    const std::string &s = v.get_ref<const std::string &>();
    std::string bytes;
    for (size_t i = 0; i < s.size();) {
        unsigned char c = (unsigned char)s[i];
        uint32_t cp;
        size_t n = c < 0x80 ? 1 : c < 0xe0 ? 2 : c < 0xf0 ? 3 : 4;
        cp = n == 1 ? c : n == 2 ? c & 0x1f : n == 3 ? c & 0x0f : c & 0x07;
        for (size_t k = 1; k < n && i + k < s.size(); ++k)
            cp = cp << 6 | ((unsigned char)s[i + k] & 0x3f);
        if (cp > 0xff)
            reject(path + format(": character U+%04X is not a byte (texts carry bytes, written "
                                 "\\u0000..\\u00ff)",
                                 cp));
        if (cp == 0)
            reject(path + ": a text cannot hold a NUL");
        bytes += (char)cp;
        i += n;
    }
    if (bytes.size() > f.cap - 1u)
        reject(path + format(": text of %zu characters is longer than the %u that fit (char[%u])",
                             bytes.size(), f.cap - 1u, (unsigned)f.cap));
    memcpy(m, bytes.data(), bytes.size());
    m[bytes.size()] = 0;
}

std::string memberList(const TypeDesc &d)
{
    std::string s;
    for (const Field *f = iv::fieldsOf(d), *e = f + d.count; f != e; ++f) {
        if (!s.empty())
            s += ", ";
        if (f->form == Form::ArrayRec || f->form == Form::ArrayU32)
            s += std::string(ivtool::memberName(d, *f)) + "Count, ";
        s += ivtool::memberName(d, *f);
    }
    return s.empty() ? "none" : s;
}

void fillRecord(const TypeDesc &d, uint8_t *base, const json &j, const std::string &path);

void fillElement(const Field &f, uint8_t *e, const json &v, const std::string &path)
{
    if (f.form == Form::ArrayU32)
        fillScalar(Form::U32, e, v, path);
    else
        fillRecord(*f.sub(), e, v, path);
}

// The shape printed by the decoder: members by name; a counted array as
// <name>Count and the elements that travel; a fixed table as its elements
// (missing trailing elements are zero). Members left out are zero.
void fillRecord(const TypeDesc &d, uint8_t *base, const json &j, const std::string &path)
{
    if (!j.is_object())
        reject(path + ": expected an object (" + iv::typeName(d) + "), got " + kindOf(j));
    for (auto it = j.begin(); it != j.end(); ++it) {
        bool known = false;
        for (const Field *f = iv::fieldsOf(d), *e = f + d.count; f != e && !known; ++f)
            known = it.key() == ivtool::memberName(d, *f) ||
                    ((f->form == Form::ArrayRec || f->form == Form::ArrayU32) &&
                     it.key() == std::string(ivtool::memberName(d, *f)) + "Count");
        if (!known)
            reject(join(path, it.key()) + ": " + iv::typeName(d) + " has no such member (its members: " +
                   memberList(d) + ")");
    }
    for (const Field *f = iv::fieldsOf(d), *e = f + d.count; f != e; ++f) {
        uint8_t *m = base + f->offset;
        const char *name = ivtool::memberName(d, *f);
        std::string here = join(path, name);
        auto it = j.find(name);
        const json *v = it == j.end() ? nullptr : &*it;
        switch (f->form) {
        case Form::Record:
            if (v)
                fillRecord(*f->sub(), m, *v, here);
            break;
        case Form::Text:
            if (v)
                fillText(*f, m, *v, here);
            break;
        case Form::Table:
            if (!v)
                break;
            if (!v->is_array())
                reject(here + ": expected an array of " + ivtool::formName(*f) + ", got " +
                       kindOf(*v));
            if (v->size() > f->cap)
                reject(here + format(": %zu elements, a table holds %u", v->size(),
                                     (unsigned)f->cap));
            for (size_t i = 0; i < v->size(); ++i)
                fillRecord(*f->sub(), m + i * f->stride(), (*v)[i], here + format("[%zu]", i));
            break;
        case Form::ArrayRec:
        case Form::ArrayU32: {
            std::string countName = here + "Count";
            auto ci = j.find(std::string(name) + "Count");
            if (v && !v->is_array())
                reject(here + ": expected an array, got " + kindOf(*v));
            size_t given = v ? v->size() : 0;
            uint32_t count;
            if (ci != j.end()) {
                fillScalar(f->countWidth() == 1 ? Form::U8 : Form::U32, base + f->countOffset(), *ci,
                           countName);
                count = f->countWidth() == 1 ? base[f->countOffset()]
                                           : (uint32_t)ci->get<uint64_t>();
            } else {
                if (given > f->cap)
                    reject(here + format(": %zu elements, at most %u travel", given,
                                         (unsigned)f->cap));
                count = (uint32_t)given;
                f->setCount(base, count);
            }
            uint32_t travel = count < f->cap ? count : f->cap;
            if (given != travel)
                reject(here + format(": %s %u makes %u elements travel, %zu given",
                                     (std::string(name) + "Count").c_str(), count, travel,
                                     given));
            for (size_t i = 0; i < given; ++i)
                fillElement(*f, m + i * f->stride(), (*v)[i], here + format("[%zu]", i));
            break;
        }
        default:
            if (v)
                fillScalar(f->form, m, *v, here);
            break;
        }
    }
}

json parseJson(const std::string &text)
{
    try {
        return json::parse(text);
    } catch (const json::parse_error &e) {
        reject(std::string("not JSON: ") + e.what());
    }
}

// What to encode: from the options, or from the envelope that decode --json
// prints ({"message", "type", "body"} or {"record", "body"}), which must agree.
struct Target {
    const Message *msg = nullptr;
    const RecordType *rec = nullptr;
    int32_t type = -1;
    const json *body = nullptr;
};

Target target(const Options &o, const json &j)
{
    Target t;
    if (!o.message.empty())
        t.msg = &findMessage(o.message);
    if (!o.record.empty())
        t.rec = &findRecord(o.record);
    if (!o.type.empty())
        t.type = parseType(o.type);
    t.body = &j;
    bool envelope = j.is_object() && (j.contains("body") || j.contains("message") ||
                                      j.contains("record"));
    if (envelope) {
        for (auto it = j.begin(); it != j.end(); ++it)
            if (it.key() != "message" && it.key() != "type" && it.key() != "record" &&
                it.key() != "body")
                reject("envelope: unknown key '" + it.key() +
                       "' (an envelope holds message, type and body, or record and body)");
        if (!j.contains("body"))
            reject("envelope: no \"body\"");
        t.body = &j["body"];
        if (j.contains("message") && j.contains("record"))
            reject("envelope: names both a message and a record");
        auto text = [&](const char *key) {
            if (!j[key].is_string())
                reject(std::string("envelope: \"") + key + "\" must be a string, not " +
                       kindOf(j[key]));
            return j[key].get<std::string>();
        };
        if (j.contains("message")) {
            const Message *m;
            try {
                m = &findMessage(text("message"));
            } catch (const UsageError &e) {
                reject("envelope: " + e.what);
            }
            if (t.rec || (t.msg && t.msg != m))
                reject("envelope: names message " + std::string(m->m->name) +
                       ", the command line another");
            t.msg = m;
        }
        if (j.contains("record")) {
            const RecordType *r;
            try {
                r = &findRecord(text("record"));
            } catch (const UsageError &e) {
                reject("envelope: " + e.what);
            }
            if (t.msg || (t.rec && t.rec != r))
                reject("envelope: names record " + std::string(r->name) +
                       ", the command line another");
            t.rec = r;
        }
        if (j.contains("type")) {
            if (!t.msg)
                reject("envelope: \"type\" belongs to a message");
            int32_t type;
            std::string word = text("type");
            if (word != "req" && word != "res")
                reject("envelope: \"type\" is \"req\" or \"res\", not \"" + word + "\"");
            type = word == "req" ? iv::kReq : iv::kRes;
            if (t.type >= 0 && t.type != type)
                reject("envelope: type " + word + ", the command line the other");
            t.type = type;
        }
    }
    if (t.msg && t.rec)
        usage("--message and --record exclude each other");
    if (!t.msg && !t.rec)
        usage("encode needs --message NAME --type req|res or --record TYPE (or an envelope "
              "naming them)");
    if (t.msg && t.type < 0) {
        if (!t.msg->m->ntfy)
            usage(std::string(t.msg->m->name) + " has two bodies: say --type req or --type res");
        t.type = iv::kReq;
    }
    if (t.msg)
        checkType(*t.msg, t.type);
    return t;
}

std::vector<uint8_t> encode(const Target &t)
{
    std::vector<uint8_t> out;
    if (t.rec) {
        std::vector<uint64_t> rec(t.rec->d->size / 8 + 1, 0);
        fillRecord(*t.rec->d, (uint8_t *)rec.data(), *t.body, t.rec->name);
        out.assign(t.rec->length(rec.data()), 0);
        uint8_t *w = out.data();
        if (uint32_t rc = t.rec->serialize(rec.data(), &w))
            reject(format("%s: the library's serializer failed with %u", t.rec->name, rc));
        return out;
    }
    const iv::MsgDesc &m = *t.msg->m;
    std::vector<uint64_t> body(m.size[t.type] / 8 + 1, 0);
    ((iv::BodyHead *)body.data())->magic = m.magic;
    if (const TypeDesc *d = m.members[t.type])
        fillRecord(*d, (uint8_t *)body.data(), *t.body, m.name);
    else if (!t.body->is_object() || !t.body->empty())
        reject(std::string(m.name) + ": the " + kindOf(*t.msg, t.type) +
               " has no members: its body is {}");
    uint8_t *buf = nullptr;
    uint32_t len = 0;
    gLog.clear();
    uint32_t rc = t.msg->entry->serializeBody(t.type, body.data(), &buf, &len);
    if (rc)
        reject(format("%s: serializeBody failed with %u\n", title(*t.msg, t.type).c_str(), rc) +
               logText(gLog, "  "));
    out.assign(buf, buf + len);
    free(buf);
    return out;
}

int encodeCommand(const Options &o)
{
    json j = parseJson(readAll(o.file));
    std::vector<uint8_t> bytes = encode(target(o, j));
    if (o.binary) {
        fwrite(bytes.data(), 1, bytes.size(), stdout);
        return 0;
    }
    for (size_t i = 0; i < bytes.size(); i += 16)
        printf("%s\n", hexBytes(bytes.data() + i, bytes.size() - i < 16 ? bytes.size() - i : 16)
                           .c_str());
    return 0;
}

// A zero-filled body or record in the shape encode reads.
int templateCommand(const Options &o)
{
    Target t = target(o, json::object());
    Decoded r;
    r.msg = t.msg;
    r.rec = t.rec;
    r.type = t.type;
    size_t size = t.rec ? t.rec->d->size : t.msg->m->size[t.type];
    r.value = calloc(1, size);
    if (!r.value)
        reject("out of memory");
    if (t.msg)
        ((iv::BodyHead *)r.value)->magic = t.msg->m->magic;
    Options pretty = o;
    pretty.pretty = !o.json;
    fputs(dumpJson(jsonOf(r), pretty).c_str(), stdout);
    return 0;
}

// ---- list ---------------------------------------------------------------------------

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
        for (const RecordType &r : kRecords)
            j["records"].push_back({{"name", r.name}, {"size", r.d->size},
                                    {"members", membersJson(r.d)}});
        fputs(dumpJson(j, o).c_str(), stdout);
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
                  sizeof kRecords / sizeof kRecords[0]);
    for (const RecordType &r : kRecords) {
        std::vector<uint64_t> zero(r.d->size / 8 + 1, 0);
        out += format("  %-38s %3u members  %6u bytes  wire %s%u\n", r.name, (unsigned)r.d->count,
                      (unsigned)r.d->size, fixedLength(*r.d) ? "" : "from ",
                      r.length(zero.data()));
    }
    fputs(out.c_str(), stdout);
    return 0;
}

// ---- command line -----------------------------------------------------------------------

const char kUsage[] =
    "usage:\n"
    "  intfvelmor-wire list [--json]\n"
    "  intfvelmor-wire decode [--message NAME [--type req|res] | --record TYPE]\n"
    "                         [--json | --pretty] [--dump] [--binary] [FILE]\n"
    "  intfvelmor-wire encode [--message NAME --type req|res | --record TYPE] [--binary] [FILE]\n"
    "  intfvelmor-wire template (--message NAME --type req|res | --record TYPE) [--json]\n"
    "\n"
    "decode reads hex text (blanks, newlines, ':' and '|' are ignored) or, with --binary,\n"
    "raw bytes, from FILE or standard input. Without --message or --record it recognises\n"
    "the message by its magic (item 0) and stamp (item 1) and tries every candidate.\n"
    "encode reads JSON in the shape decode --json prints and writes the bytes as hex\n"
    "(or raw with --binary). Exit status: 0 done, 1 input refused, 2 bad command line.\n";

Options parseArgs(int argc, char **argv)
{
    Options o;
    if (argc < 2)
        usage("no command");
    o.command = argv[1];
    for (int i = 2; i < argc; ++i) {
        std::string a = argv[i];
        auto value = [&](std::string &into) {
            if (i + 1 >= argc)
                usage(a + " needs a value");
            into = argv[++i];
        };
        if (a == "--message" || a == "-m")
            value(o.message);
        else if (a == "--type" || a == "-t")
            value(o.type);
        else if (a == "--record" || a == "-r")
            value(o.record);
        else if (a == "--json")
            o.json = true;
        else if (a == "--pretty")
            o.json = o.pretty = true;
        else if (a == "--dump")
            o.dump = true;
        else if (a == "--binary")
            o.binary = true;
        else if (a.size() > 1 && a[0] == '-')
            usage("unknown option " + a);
        else if (o.file.empty())
            o.file = a;
        else
            usage("one input file at most");
    }
    if (!o.message.empty() && !o.record.empty())
        usage("--message and --record exclude each other");
    if (!o.type.empty() && o.message.empty() && o.command == "decode")
        usage("--type goes with --message");
    if (!o.record.empty() && !o.type.empty())
        usage("a record has no --type");
    return o;
}

int run(int argc, char **argv)
{
    iv::setLogSink(capture);
    Options o = parseArgs(argc, argv);
    if (o.command == "-h" || o.command == "--help" || o.command == "help") {
        fputs(kUsage, stdout);
        return 0;
    }
    if (o.command == "list")
        return listCommand(o);
    if (o.command == "decode") {
        std::vector<uint8_t> in = readBytes(o.file, o.binary);
        return o.record.empty() ? decodeMessages(o, in) : decodeOneRecord(o, in);
    }
    if (o.command == "encode")
        return encodeCommand(o);
    if (o.command == "template")
        return templateCommand(o);
    usage("unknown command '" + o.command + "'");
}

}  // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const InputError &e) {
        fprintf(stderr, "intfvelmor-wire: %s\n", e.what.c_str());
        return 1;
    } catch (const UsageError &e) {
        fprintf(stderr, "intfvelmor-wire: %s\n%s", e.what.c_str(), kUsage);
        return 2;
    } catch (const std::exception &e) {
        fprintf(stderr, "intfvelmor-wire: %s\n", e.what());
        return 1;
    }
}
