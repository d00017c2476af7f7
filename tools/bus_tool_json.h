// intfvelmor-bus's JSON: bodies to and from the wire tool's JSON, through
// the wire tool's own code, and the canned answers of `serve`.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "messages/frame.h"

// A message by any of the names the wire tool accepts; a bad command line
// (exit 2, with the tool's message) when none matches.
const iv::MsgDesc &findMessage(const char *name);

// Fills `body` (zeroed, head set, as large as the message's body) from a
// JSON body, or an envelope {"message", "type", "body"} naming the same
// message and type. False, with the reason, when the JSON or a value is
// refused.
bool bodyFromJson(const iv::MsgDesc &m, int32_t type, const std::string &json, void *body,
                  std::string &why);

// The envelope {"message", "type", "body"} of a body, on one line.
std::string bodyJson(const iv::MsgDesc &m, int32_t type, const void *body);

// serve's FILE.
struct ServeFile {
    struct Answer {
        std::string command;
        uint32_t code = 0;  // non-zero: answer with this code instead of a body
        std::string json;   // the response body
    };
    struct Notification {
        std::string message;
        std::string json;  // its body
    };
    std::vector<Answer> answers;
    std::vector<Notification> notifications;
    double interval = 0;  // seconds between publications; 0: once
};
bool readServeFile(const char *file, ServeFile &out, std::string &why);
