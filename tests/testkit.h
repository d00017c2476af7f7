// Shared test kit: captured syslog lines, hex helpers.
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
// Lines at one priority.
std::vector<std::string> linesAt(int prio);

std::vector<uint8_t> hex(const std::string &text);
std::string toHex(const uint8_t *p, size_t n);
inline std::string toHex(const std::vector<uint8_t> &v) { return toHex(v.data(), v.size()); }

// Base fixture: every test starts with an empty log.
class LogTest : public ::testing::Test {
protected:
    void SetUp() override { clearLogs(); }
};

}  // namespace ivtest
