#include "testkit.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <sstream>

#include "base/log.h"

namespace ivtest {

namespace {

std::vector<LogLine> &store()
{
    static std::vector<LogLine> s;
    return s;
}

// Splits "[INTFVELMOR] -> fn(line): text"; other lines keep fn empty.
LogLine parse(int prio, const std::string &raw)
{
    LogLine l{prio, "", -1, raw, raw};
    static const std::string prefix = "[INTFVELMOR] -> ";
    if (raw.compare(0, prefix.size(), prefix) != 0)
        return l;
    size_t open = raw.find('(', prefix.size());
    size_t close = raw.find("): ", open == std::string::npos ? 0 : open);
    if (open == std::string::npos || close == std::string::npos)
        return l;
    l.fn = raw.substr(prefix.size(), open - prefix.size());
    l.line = atoi(raw.c_str() + open + 1);
    l.text = raw.substr(close + 3);
    return l;
}

// The library's lines come here instead of syslog, from the first test on.
void capture(int prio, const char *line)
{
    store().push_back(parse(prio, line));
    // Death tests can only read stderr: show the emergency lines there.
    if (prio == 0)
        fprintf(stderr, "%s", line);
}

const bool kCapturing = (iv::setLogSink(capture), true);

}  // namespace

const std::vector<LogLine> &logs() { return store(); }
void clearLogs()
{
    (void)kCapturing;
    store().clear();
}

std::vector<std::string> linesAt(int prio)
{
    std::vector<std::string> out;
    for (const LogLine &l : store())
        if (prio < 0 || l.prio == prio)
            out.push_back(l.fn + ": " + l.text);
    return out;
}

std::vector<std::string> lines() { return linesAt(-1); }

std::vector<uint8_t> hex(const std::string &text)
{
    std::vector<uint8_t> out;
    int hi = -1;
    for (char c : text) {
        int v = c >= '0' && c <= '9' ? c - '0'
                : c >= 'a' && c <= 'f' ? c - 'a' + 10
                : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                       : -1;
        if (v < 0)
            continue;
        if (hi < 0) {
            hi = v;
        } else {
            out.push_back((uint8_t)(hi << 4 | v));
            hi = -1;
        }
    }
    return out;
}

namespace {

void put32(std::vector<uint8_t> &b, uint32_t v)
{
    for (int s = 24; s >= 0; s -= 8)
        b.push_back((uint8_t)(v >> s));
}

uint64_t number(const std::string &s)
{
    return s[0] == '-' ? (uint64_t)(uint32_t)strtol(s.c_str(), nullptr, 0)
                       : strtoull(s.c_str(), nullptr, 0);
}

void token(std::vector<uint8_t> &b, const std::string &t)
{
    size_t colon = t.find(':');
    if (colon == std::string::npos || !strchr("swt", t[0])) {
        std::vector<uint8_t> raw = hex(t);
        EXPECT_EQ(t.size(), raw.size() * 2) << "bad wire token " << t;
        b.insert(b.end(), raw.begin(), raw.end());
        return;
    }
    std::string tags = t.substr(1, colon - 1), value = t.substr(colon + 1);
    uint32_t from = (uint32_t)atoi(tags.c_str()), to = from;
    if (size_t dash = tags.find('-'); dash != std::string::npos)
        to = (uint32_t)atoi(tags.c_str() + dash + 1);
    if (t[0] == 's') {
        for (uint32_t tag = from; tag <= to; ++tag)
            put32(b, tag), put32(b, 4), put32(b, (uint32_t)number(value));
    } else if (t[0] == 'w') {
        uint64_t v = number(value);
        put32(b, 0), put32(b, from), put32(b, 0), put32(b, 8);
        put32(b, (uint32_t)(v >> 32)), put32(b, (uint32_t)v);
    } else {
        if (size_t star = value.find('*'); star == 1)
            value = std::string((size_t)atoi(value.c_str() + 2), value[0]);
        uint32_t len = (((uint32_t)value.size() + 1) & ~3u) + 4;
        put32(b, from), put32(b, len);
        b.insert(b.end(), value.begin(), value.end());
        b.insert(b.end(), len - value.size(), 0);
    }
}

// Items up to the end or to the closing brace of a group.
void items(std::vector<uint8_t> &b, std::istream &in)
{
    for (std::string t; in >> t;) {
        if (t == "{") {
            std::vector<uint8_t> group;
            items(group, in);
            std::string times;
            in >> times;  // "*<n>" after the closing brace
            for (int i = atoi(times.c_str() + 1); i > 0; --i)
                b.insert(b.end(), group.begin(), group.end());
        } else if (t == "}") {
            return;
        } else {
            token(b, t);
        }
    }
}

}  // namespace

std::vector<uint8_t> wire(const std::string &notation)
{
    // Braces stand apart from the items around them.
    std::string spaced;
    for (char c : notation) {
        if (c == '{' || c == '}')
            spaced += std::string(" ") + c + " ";
        else
            spaced += c;
    }
    std::istringstream in(spaced);
    std::vector<uint8_t> b;
    items(b, in);
    return b;
}

std::string toHex(const uint8_t *p, size_t n)
{
    std::string s;
    char b[4];
    for (size_t i = 0; i < n; ++i) {
        snprintf(b, sizeof b, i ? " %02X" : "%02X", p[i]);
        s += b;
    }
    return s;
}

std::string at(const void *p)
{
    char b[32];
    snprintf(b, sizeof b, "%p", p);
    return b;
}

std::string unserializeFn(const char *type)
{
    return std::string("intfVelmor_") + type + "_unserialize";
}

std::string tlLine(const std::string &fn, const void *base, unsigned long long tag,
                   unsigned long long len, unsigned expected)
{
    return fn + ": pBody(" + at(base) + "): Tl(" + std::to_string(tag) + "-" +
           std::to_string(len) + ") expectded(" + std::to_string(expected) + ")\n";
}

std::string errorBeforeLine(const std::string &fn, const void *base, int tag)
{
    return fn + ": pBody(" + at(base) + "): Type(" + std::to_string(tag) + ") -> Error Before\n";
}

Lines errorBeforeLines(const std::string &fn, const void *base, int from, int to, int times)
{
    Lines out;
    for (int t = from; t <= to; ++t)
        for (int i = 0; i < times; ++i)
            out.push_back(errorBeforeLine(fn, base, t));
    return out;
}

Lines operator+(Lines a, const Lines &b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

}  // namespace ivtest
