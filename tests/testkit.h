// Shared test kit: the library's captured log lines, hex helpers.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ivtest {

struct LogLine {
    int prio;
    std::string fn;    // reporting function
    int line;          // source line of the report
    std::string text;  // after "<fn>(<line>): "
    std::string raw;   // the whole rendered line
};

const std::vector<LogLine> &logs();
void clearLogs();
// "fn: text" for every captured line, in order: compares without line numbers.
std::vector<std::string> lines();
// Lines at one priority (all of them for a negative one).
std::vector<std::string> linesAt(int prio);

std::vector<uint8_t> hex(const std::string &text);

// Wire bytes as a peer writes them, from a compact notation:
//   s<tag>:<v>      a scalar32 item (v decimal, 0x hex or negative)
//   s<a>-<b>:<v>    one scalar32 item for each tag a..b, all carrying v
//   w<tag>:<v>      a scalar64 item
//   t<tag>:<text>   a string item: the text (<c>*<n> is n copies of c), its
//                   NUL and zero pad bytes
//   {...}*<n>       the items between the braces, n times
//   anything else   raw bytes in hex
std::vector<uint8_t> wire(const std::string &notation);
std::string toHex(const uint8_t *p, size_t n);
inline std::string toHex(const std::vector<uint8_t> &v) { return toHex(v.data(), v.size()); }

// Expected log lines, as lines() renders them ("fn: text").
using Lines = std::vector<std::string>;
std::string at(const void *p);  // a pointer as %p prints it
std::string unserializeFn(const char *type);  // "intfVelmor_<type>_unserialize"
std::string tlLine(const std::string &fn, const void *base, unsigned long long tag,
                   unsigned long long len, unsigned expected);
std::string errorBeforeLine(const std::string &fn, const void *base, int tag);
// "Error Before" for each tag from..to, `times` lines each.
Lines errorBeforeLines(const std::string &fn, const void *base, int from, int to, int times = 1);
Lines operator+(Lines a, const Lines &b);

// Base fixture: every test starts with an empty log.
class LogTest : public ::testing::Test {
protected:
    void SetUp() override { clearLogs(); }
};

}  // namespace ivtest
