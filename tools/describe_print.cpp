#include "tools/describe_print.h"

#include <inttypes.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include "types/names.h"
#include "wire/bytes.h"

namespace ivtool {

namespace {

using iv::Field;
using iv::Form;
using iv::TypeDesc;

constexpr int kNameColumn = 30;  // indent and name together

__attribute__((format(printf, 2, 3))) void appendf(std::string &out, const char *fmt, ...)
{
    char buf[256];
    va_list ap;
    va_start(ap, fmt);
    int n = vsnprintf(buf, sizeof buf, fmt, ap);
    va_end(ap);
    if (n > 0)
        out.append(buf, (size_t)n < sizeof buf ? (size_t)n : sizeof buf - 1);
}

template <class T>
T load(const uint8_t *m)
{
    T v;
    memcpy(&v, m, sizeof v);
    return v;
}

// A scalar member's value in decimal, signed when the member is.
void scalar(std::string &out, Form form, const uint8_t *m)
{
    switch (form) {
    case Form::U8: appendf(out, "%u", (unsigned)*m); break;
    case Form::I8: appendf(out, "%d", (int)load<int8_t>(m)); break;
    case Form::U16: appendf(out, "%u", (unsigned)load<uint16_t>(m)); break;
    case Form::I16: appendf(out, "%d", (int)load<int16_t>(m)); break;
    case Form::U64: appendf(out, "%" PRIu64, load<uint64_t>(m)); break;
    default: appendf(out, "%" PRIu32, load<uint32_t>(m)); break;
    }
}

// Characters that travel: a text without its NUL is cut one short of its field.
size_t textLen(const Field &f, const uint8_t *m)
{
    return strnlen((const char *)m, f.cap - 1u);
}

// The left part of a tree line: indent, name, item number (negative: none),
// and offset in hex, as in a hex dump.
void lead(std::string &out, int indent, const char *name, int tag, uint32_t at)
{
    int width = kNameColumn - indent > 1 ? kNameColumn - indent : 1;
    char tagText[16] = "";
    if (tag >= 0)
        snprintf(tagText, sizeof tagText, "#%d", tag);
    appendf(out, "%*s%-*s %-4s @%04" PRIx32 "  ", indent, "", width, name, tagText, at);
}

// Elements of an array or a table: `n` of them, each a record of type sub.
uint32_t treeElements(std::string &out, const Field &f, const uint8_t *first, uint32_t n,
                      uint32_t at, int indent)
{
    for (uint32_t i = 0; i < n; ++i) {
        const uint8_t *e = first + (size_t)i * f.stride();
        char index[16];
        snprintf(index, sizeof index, "[%" PRIu32 "]", i);
        if (f.form == Form::ArrayU32) {
            lead(out, indent, index, f.tag, at);
            scalar(out, Form::U32, e);
            out += '\n';
            at += iv::kScalar32Size;
            continue;
        }
        uint32_t len = iv::length(*f.sub(), e);
        lead(out, indent, index, -1, at);
        appendf(out, "%s (%" PRIu32 " bytes)\n", f.sub()->name(), len);
        printTree(out, *f.sub(), e, at, indent + 2);
        at += len;
    }
    return at;
}

void jsonKey(std::string &out, const char *name, const char *suffix = "")
{
    appendf(out, "\"%s%s\":", name, suffix);
}

}  // namespace

const char *memberName(const TypeDesc &d, const Field &f)
{
    const char *name = iv::memberName(d, (size_t)(&f - iv::fieldsOf(d)));
    return name ? name : "?";
}

void printItem(std::string &out, int indent, const char *name, unsigned tag, uint32_t at,
               const std::string &value)
{
    lead(out, indent, name, (int)tag, at);
    out += value;
    out += '\n';
}

std::string formName(const Field &f)
{
    char buf[96];
    switch (f.form) {
    case Form::U8: return "u8";
    case Form::I8: return "i8";
    case Form::U16: return "u16";
    case Form::I16: return "i16";
    case Form::U32: return "u32";
    case Form::U64: return "u64";
    case Form::Text: snprintf(buf, sizeof buf, "char[%u]", (unsigned)f.cap); return buf;
    case Form::Record: return f.sub()->name();
    case Form::Table: snprintf(buf, sizeof buf, "%s[%u]", f.sub()->name(), (unsigned)f.cap); return buf;
    case Form::ArrayRec:
    case Form::ArrayU32:
        snprintf(buf, sizeof buf, "%s[%u] counted by a %s", f.form == Form::ArrayU32 ? "u32" : f.sub()->name(),
                 (unsigned)f.cap, f.countWidth() == 1 ? "u8" : "u32");
        return buf;
    }
    return "?";
}

void quote(std::string &out, const char *s, size_t n, bool json)
{
    out += '"';
    for (size_t i = 0; i < n; ++i) {
        unsigned char c = (unsigned char)s[i];
        if (c == '"' || c == '\\') {
            out += '\\';
            out += (char)c;
        } else if (c >= 0x20 && c < 0x7f) {
            out += (char)c;
        } else if (json) {
            appendf(out, "\\u%04x", c);  // bytes above 0x7f read as Latin-1
        } else {
            appendf(out, "\\x%02x", c);
        }
    }
    out += '"';
}

uint32_t printTree(std::string &out, const TypeDesc &d, const void *rec, uint32_t at, int indent)
{
    const uint8_t *base = (const uint8_t *)rec;
    for (const Field *f = iv::fieldsOf(d), *end = f + d.count; f != end; ++f) {
        const uint8_t *m = base + f->offset;
        switch (f->form) {
        case Form::Record: {
            uint32_t len = iv::length(*f->sub(), m);
            lead(out, indent, memberName(d, *f), f->tag, at);
            appendf(out, "%s (%" PRIu32 " bytes)\n", f->sub()->name(), len);
            printTree(out, *f->sub(), m, at, indent + 2);
            at += len;
            break;
        }
        case Form::Text: {
            size_t n = textLen(*f, m);
            lead(out, indent, memberName(d, *f), f->tag, at);
            quote(out, (const char *)m, n, false);
            out += '\n';
            at += iv::textItemSize((uint32_t)n);
            break;
        }
        case Form::ArrayRec:
        case Form::ArrayU32: {
            uint32_t count = f->countIn(base);
            uint32_t n = count < f->cap ? count : f->cap;
            std::string countName = std::string(memberName(d, *f)) + "Count";
            lead(out, indent, countName.c_str(), f->countTag(), at);
            appendf(out, "%" PRIu32 "\n", count);
            at += iv::kScalar32Size;
            lead(out, indent, memberName(d, *f), f->tag, at);
            appendf(out, "%s[%" PRIu32 " of %u]\n",
                    f->form == Form::ArrayU32 ? "u32" : f->sub()->name(), n, (unsigned)f->cap);
            at = treeElements(out, *f, m, n, at, indent + 2);
            break;
        }
        case Form::Table:
            lead(out, indent, memberName(d, *f), f->tag, at);
            appendf(out, "%s[%u]\n", f->sub()->name(), (unsigned)f->cap);
            at = treeElements(out, *f, m, f->cap, at, indent + 2);
            break;
        default:
            lead(out, indent, memberName(d, *f), f->tag, at);
            scalar(out, f->form, m);
            out += '\n';
            at += f->form == Form::U64 ? iv::kScalar64Size : iv::kScalar32Size;
            break;
        }
    }
    return at;
}

void printJson(std::string &out, const TypeDesc &d, const void *rec)
{
    const uint8_t *base = (const uint8_t *)rec;
    out += '{';
    for (uint16_t i = 0; i < d.count; ++i) {
        const Field &f = iv::fieldsOf(d)[i];
        const uint8_t *m = base + f.offset;
        if (i)
            out += ',';
        switch (f.form) {
        case Form::Record:
            jsonKey(out, memberName(d, f));
            printJson(out, *f.sub(), m);
            break;
        case Form::Text:
            jsonKey(out, memberName(d, f));
            quote(out, (const char *)m, textLen(f, m), true);
            break;
        case Form::ArrayRec:
        case Form::ArrayU32:
        case Form::Table: {
            uint32_t n = f.cap;
            if (f.form != Form::Table) {
                uint32_t count = f.countIn(base);
                jsonKey(out, memberName(d, f), "Count");
                appendf(out, "%" PRIu32 ",", count);
                n = count < f.cap ? count : f.cap;
            }
            jsonKey(out, memberName(d, f));
            out += '[';
            for (uint32_t k = 0; k < n; ++k) {
                if (k)
                    out += ',';
                const uint8_t *e = m + (size_t)k * f.stride();
                if (f.form == Form::ArrayU32)
                    scalar(out, Form::U32, e);
                else
                    printJson(out, *f.sub(), e);
            }
            out += ']';
            break;
        }
        default:
            jsonKey(out, memberName(d, f));
            scalar(out, f.form, m);
            break;
        }
    }
    out += '}';
}

void hexDump(std::string &out, const uint8_t *bytes, uint32_t len, int indent, uint32_t at)
{
    for (uint32_t i = 0; i < len; i += 16) {
        appendf(out, "%*s%04" PRIx32 " ", indent, "", at + i);
        for (uint32_t k = i; k < len && k < i + 16; ++k)
            appendf(out, " %02x", bytes[k]);
        out += '\n';
    }
}

}  // namespace ivtool
