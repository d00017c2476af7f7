// intfvelmor-bus's JSON, all of it through the wire tool's code: JSON to the
// library's bytes by its encoder, bytes to a body by the library's bounded
// reader (wiretool::decodeBody), a body back to JSON by the library's
// serializer and the same reader and printer as intfvelmor-wire decode.
#include "tools/bus_tool_json.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <nlohmann/json.hpp>

#include "tools/wire/base.h"
#include "tools/wire/catalogue.h"
#include "tools/wire/encoder.h"
#include "tools/wire/input.h"
#include "tools/wire/json.h"
#include "tools/wire/output.h"
#include "tools/wire/reading.h"

using json = nlohmann::ordered_json;

namespace {

// JSON text to the library's bytes of one body, by the wire tool's encoder;
// throws its InputError or UsageError.
std::vector<uint8_t> encodeJson(const iv::MsgDesc &m, int32_t type, const std::string &text)
{
    json j = wiretool::parseJson(text);
    return wiretool::encode(wiretool::target({m.name, wiretool::typeWord(type), ""}, j));
}

const wiretool::Message &messageOf(const iv::MsgDesc &m)
{
    for (const wiretool::Message &msg : wiretool::messages())
        if (msg.m == &m)
            return msg;
    fprintf(stderr, "intfvelmor-bus: %s is not in the wire tool's catalogue\n", m.name);
    exit(1);
}

}  // namespace

const iv::MsgDesc &findMessage(const char *name)
{
    try {
        return *wiretool::findMessage(name).m;
    } catch (const wiretool::UsageError &e) {
        fprintf(stderr, "intfvelmor-bus: %s\n", e.what.c_str());
        exit(2);
    }
}

bool bodyFromJson(const iv::MsgDesc &m, int32_t type, const std::string &text, void *body,
                  std::string &why)
{
    const wiretool::Message &msg = messageOf(m);
    try {
        std::vector<uint8_t> bytes = encodeJson(m, type, text);
        wiretool::Decoded r = wiretool::decodeBody(msg, type, bytes);
        if (!r.ok()) {
            why = wiretool::reason(r);
            return false;
        }
        memcpy(body, r.value, m.size[type]);
        return true;
    } catch (const wiretool::InputError &e) {
        why = e.what;
    } catch (const wiretool::UsageError &e) {
        why = e.what;
    }
    // The wire tool's reasons may span lines; a call's reason is one.
    for (char &c : why)
        if (c == '\n')
            c = ' ';
    while (!why.empty() && why.back() == ' ')
        why.pop_back();
    return false;
}

std::string bodyJson(const iv::MsgDesc &m, int32_t type, const void *body)
{
    const wiretool::Message &msg = messageOf(m);
    uint8_t *buf = nullptr;
    uint32_t len = 0;
    std::vector<uint8_t> bytes;
    if (msg.entry->serializeBody(type, const_cast<void *>(body), &buf, &len) == 0)
        bytes.assign(buf, buf + len);
    free(buf);
    wiretool::Decoded r = wiretool::decodeBody(msg, type, bytes);
    std::string out = r.ok() ? wiretool::jsonOf(r, false) : std::string("{}");
    while (!out.empty() && out.back() == '\n')
        out.pop_back();
    return out;
}

bool readServeFile(const char *file, ServeFile &out, std::string &why)
{
    std::string text;
    try {
        text = wiretool::readAll(file);
    } catch (const wiretool::InputError &e) {
        why = e.what;
        return false;
    }
    json j;
    try {
        j = json::parse(text);
    } catch (const json::exception &e) {
        why = std::string(file) + ": not JSON: " + e.what();
        return false;
    }
    auto refuse = [&why, file](const std::string &what) {
        why = std::string(file) + ": " + what;
        return false;
    };
    if (!j.is_object())
        return refuse("a serve file is an object with \"commands\", \"notifications\", \"interval\"");
    for (auto it = j.begin(); it != j.end(); ++it)
        if (it.key() != "commands" && it.key() != "notifications" && it.key() != "interval")
            return refuse("unknown key \"" + it.key() +
                          "\" (a serve file holds commands, notifications and interval)");
    if (j.contains("commands")) {
        if (!j["commands"].is_object())
            return refuse("\"commands\" maps command names to response bodies");
        for (auto it = j["commands"].begin(); it != j["commands"].end(); ++it) {
            ServeFile::Answer a;
            a.command = it.key();
            const json &v = it.value();
            if (v.is_object() && v.size() == 1 && v.contains("code")) {
                if (!v["code"].is_number_unsigned() || v["code"].get<uint64_t>() == 0 ||
                    v["code"].get<uint64_t>() > 0xffffffffu)
                    return refuse(a.command + ": \"code\" is a non-zero 32-bit code");
                a.code = v["code"].get<uint32_t>();
            } else {
                a.json = v.dump();
            }
            out.answers.push_back(a);
        }
    }
    if (j.contains("notifications")) {
        if (!j["notifications"].is_array())
            return refuse("\"notifications\" is a list of {\"message\", \"body\"}");
        for (const json &v : j["notifications"]) {
            if (!v.is_object() || !v.contains("message") || !v["message"].is_string())
                return refuse("each notification is {\"message\": NAME, \"body\": {...}}");
            ServeFile::Notification n;
            n.message = v["message"].get<std::string>();
            n.json = v.contains("body") ? v["body"].dump() : "{}";
            out.notifications.push_back(n);
        }
    }
    if (j.contains("interval")) {
        if (!j["interval"].is_number() || j["interval"].get<double>() < 0)
            return refuse("\"interval\" is a number of seconds, 0 or more");
        out.interval = j["interval"].get<double>();
    }
    return true;
}
