// Log lines of the library: "[INTFVELMOR] -> <function>(<line>): <text>".
#pragma once

#include <stdint.h>

namespace iv {

enum Prio : int { kEmerg = 0, kErr = 3, kWarning = 4 };

// The reporting function's name, either literal (fmt alone) or composed from
// a printf pattern with one or two %s (as "intfVelmor_%s_unserialize" and a
// type). Composed only when a line is written.
struct FnName {
    const char *fmt;
    const char *arg;
    const char *arg2 = nullptr;
};

void log(int prio, const FnName &fn, int line, const char *fmt, ...)
    __attribute__((format(printf, 4, 5)));

// Where the lines go: syslog, unless a sink is installed. Tests, fuzzers and
// tools install one to take the lines themselves; never exported. The sink
// gets each line whole, as syslog would have it, and null restores syslog.
using LogSink = void (*)(int prio, const char *line);
void setLogSink(LogSink sink);

// Logs a broken magic at priority 0 and aborts the process.
[[noreturn]] void magicBroken(const FnName &fn, int line, const char *what, const char *magicName,
                              uint32_t expected, const void *ctx, uint32_t found);

}  // namespace iv

#define IV_LOG(prio, fn, ...) ::iv::log((prio), (fn), __LINE__, __VA_ARGS__)

// Marks a function or object as part of the library's ABI.
#define IV_EXPORT __attribute__((visibility("default")))
