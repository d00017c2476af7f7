#include "tools/wire/encoder.h"

#include <stdlib.h>
#include <string.h>

#include "tools/describe_print.h"
#include "tools/wire/base.h"
#include "types/names.h"

using iv::Field;
using iv::Form;
using iv::TypeDesc;

namespace wiretool {

namespace {

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
               (v.is_number_float() ? dumpJson(v) : std::string(kindOf(v))));
    uint64_t bits;
    if (v.is_number_unsigned()) {
        uint64_t u = v.get<uint64_t>();
        if (u > r.hi)
            reject(path + ": " + dumpJson(v) + " is out of range for " + range);
        bits = u;
    } else {
        int64_t s = v.get<int64_t>();
        if (s < r.lo || (s >= 0 && (uint64_t)s > r.hi))
            reject(path + ": " + dumpJson(v) + " is out of range for " + range);
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

void fillRecord(const TypeDesc &d, const std::string &what, uint8_t *base, const json &j,
                const std::string &path);

void fillRecord(const TypeDesc &d, uint8_t *base, const json &j, const std::string &path)
{
    fillRecord(d, iv::typeName(d), base, j, path);
}

void fillElement(const Field &f, uint8_t *e, const json &v, const std::string &path)
{
    if (f.form == Form::ArrayU32)
        fillScalar(Form::U32, e, v, path);
    else
        fillRecord(*f.sub(), e, v, path);
}

// The shape printed by the decoder: members by name; a counted array as
// <name>Count and the elements that travel; a fixed table as its elements
// (missing trailing elements are zero). Members left out are zero. `what`
// names d in messages: a record type's name, or a message and its kind for a
// body's members (the structs behind bodies are no names of the interface).
void fillRecord(const TypeDesc &d, const std::string &what, uint8_t *base, const json &j,
                const std::string &path)
{
    if (!j.is_object())
        reject(path + ": expected an object (" + what + "), got " + kindOf(j));
    for (auto it = j.begin(); it != j.end(); ++it) {
        bool known = false;
        for (const Field *f = iv::fieldsOf(d), *e = f + d.count; f != e && !known; ++f)
            known = it.key() == ivtool::memberName(d, *f) ||
                    ((f->form == Form::ArrayRec || f->form == Form::ArrayU32) &&
                     it.key() == std::string(ivtool::memberName(d, *f)) + "Count");
        if (!known)
            reject(join(path, it.key()) + ": " + what + " has no such member (its members: " +
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

}  // namespace

Target target(const Naming &o, const json &j)
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
        fillRecord(*d, title(*t.msg, t.type), (uint8_t *)body.data(), *t.body, m.name);
    else if (!t.body->is_object() || !t.body->empty())
        reject(std::string(m.name) + ": the " + kindOf(*t.msg, t.type) +
               " has no members: its body is {}");
    uint8_t *buf = nullptr;
    uint32_t len = 0;
    clearLibraryLog();
    uint32_t rc = t.msg->entry->serializeBody(t.type, body.data(), &buf, &len);
    if (rc)
        reject(format("%s: serializeBody failed with %u\n", title(*t.msg, t.type).c_str(), rc) +
               logText(libraryLog(), "  "));
    out.assign(buf, buf + len);
    free(buf);
    return out;
}

}  // namespace wiretool
