#include "tools/wire/input.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "tools/wire/base.h"

namespace wiretool {

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

namespace {

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


}  // namespace

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

}  // namespace wiretool
