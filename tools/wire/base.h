// What every part of intfvelmor-wire shares: its two kinds of failure, text
// formatting, and the library's log lines, taken through the library's log
// seam instead of syslog.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

namespace wiretool {

// Bad input (bytes, hex, JSON, values): exit 1. Bad command line: exit 2.
struct InputError {
    std::string what;
};
struct UsageError {
    std::string what;
};

[[noreturn]] void reject(const std::string &what);
[[noreturn]] void usage(const std::string &what);

std::string format(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

// n bytes as hex pairs separated by blanks.
std::string hexBytes(const uint8_t *p, size_t n);

// A member path: path.name, or name alone at the top.
std::string join(const std::string &path, const std::string &name);

struct LogLine {
    int prio;  // syslog priority, facility masked off
    std::string text;  // without its newline
};

// Installs the sink that takes the library's lines; called once, first.
void takeLibraryLog();
// Forgets the lines taken so far, and returns them.
std::vector<LogLine> libraryLog();
void clearLibraryLog();

// Lines as "<prio> text", each led by `indent`.
std::string logText(const std::vector<LogLine> &log, const char *indent);

}  // namespace wiretool
