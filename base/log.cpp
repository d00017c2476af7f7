#include "base/log.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <syslog.h>

namespace iv {

namespace {

// Function name into buf, composed when the name has a variable part.
const char *fnText(const FnName &fn, char *buf, size_t size)
{
    if (!fn.arg)
        return fn.fmt;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    snprintf(buf, size, fn.fmt, fn.arg, fn.arg2);
#pragma GCC diagnostic pop
    return buf;
}

LogSink gSink = nullptr;

}  // namespace

void setLogSink(LogSink sink) { __atomic_store_n(&gSink, sink, __ATOMIC_RELEASE); }

void log(int prio, const FnName &fn, int line, const char *fmt, ...)
{
    char name[128];
    char text[256];
    va_list ap;
    va_start(ap, fmt);
    vsnprintf(text, sizeof text, fmt, ap);
    va_end(ap);
    const char *who = fnText(fn, name, sizeof name);
    if (LogSink sink = __atomic_load_n(&gSink, __ATOMIC_ACQUIRE)) {
        char whole[sizeof name + sizeof text + 32];
        snprintf(whole, sizeof whole, "[INTFVELMOR] -> %s(%d): %s", who, line, text);
        sink(prio, whole);
        return;
    }
    syslog(prio, "[INTFVELMOR] -> %s(%d): %s", who, line, text);
}

void magicBroken(const FnName &fn, int line, const char *what, const char *magicName,
                 uint32_t expected, const void *ctx, uint32_t found)
{
    log(kEmerg, fn, line, "%s[%s-%X] Ctx[ptr(%p) magic(%X)] text[%s]\n", what, magicName,
        expected, ctx, found, "");
    abort();
}

}  // namespace iv
