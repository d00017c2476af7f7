#include "tools/wire/base.h"

#include <stdarg.h>
#include <stdio.h>

#include "base/log.h"

namespace wiretool {

namespace {

std::vector<LogLine> gLog;

void capture(int prio, const char *line)
{
    std::string s = line;
    while (!s.empty() && s.back() == '\n')
        s.pop_back();
    gLog.push_back({prio & 7, s});
}

}  // namespace

void reject(const std::string &what) { throw InputError{what}; }
void usage(const std::string &what) { throw UsageError{what}; }

std::string format(const char *fmt, ...)
{
    char buf[512];
    va_list ap;
    va_start(ap, fmt);
    vsnprintf(buf, sizeof buf, fmt, ap);
    va_end(ap);
    return buf;
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

std::string join(const std::string &path, const std::string &name)
{
    return path.empty() ? name : path + "." + name;
}

void takeLibraryLog() { iv::setLogSink(capture); }

std::vector<LogLine> libraryLog()
{
    std::vector<LogLine> lines;
    lines.swap(gLog);
    return lines;
}

void clearLibraryLog() { gLog.clear(); }

std::string logText(const std::vector<LogLine> &log, const char *indent)
{
    std::string out;
    for (const LogLine &l : log)
        out += format("%s<%d> ", indent, l.prio) + l.text + "\n";
    return out;
}

}  // namespace wiretool
