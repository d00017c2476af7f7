// Prints the message rows of messages/catalogue.h and the record type lists
// of the public header as one JSON object, for tools/gen_header.py:
//
//   {"domains": [{"name": "radio", "types": ["ccaStats", ...]}, ...],
//    "commands": [{"index": 0, "name": ..., "entry": ..., "magic": "0x29170612",
//                  "stamp": 1, "magicName": ..., "request": [[type, name], ...],
//                  "response": [...]}, ...],
//    "notifications": [{"index": 0, "name": ..., "Name": ..., "entry": ...,
//                       "magic": ..., "stamp": ..., "magicName": ...,
//                       "members": [...]}, ...]}
//
// Every value is what the compiler makes of the rows (an entry name is the
// text its expression points to), yet the program needs neither the library
// nor the generated prototypes: it builds from a catalogue whose new row the
// header does not declare yet.
#include <stdint.h>
#include <stdio.h>

#include "intfVelmor/config.h"
#include "intfVelmor/radio.h"
#include "intfVelmor/station.h"
#include "messages/catalogue.h"

namespace {

const char *g_sep = "";

void item(const char *text)
{
    printf("%s\"%s\"", g_sep, text);
    g_sep = ", ";
}

void members(const char *key)
{
    printf(", \"%s\": [", key);
    g_sep = "";
}

void member(const char *type, const char *name)
{
    printf("%s[\"%s\", \"%s\"]", g_sep, type, name);
    g_sep = ", ";
}

void message(const char *sep, unsigned index, const char *name, const char *entry, uint32_t magic,
             unsigned stamp, const char *magicName)
{
    printf("%s\n  {\"index\": %u, \"name\": \"%s\", \"entry\": \"%s\", \"magic\": \"0x%08x\", "
           "\"stamp\": %u, \"magicName\": %s",
           sep, index, name, entry, (unsigned)magic, stamp, magicName);
}

const char *first(unsigned index) { return index ? "," : ""; }

}  // namespace

#define IVC_TYPE(T) item(#T);
#define IVC_MEMBER(i, type, name) member(#type, #name);
#define IVC_COMMAND(idx, name, entry, magic, stamp, magicName, req, res)              \
    message(first(idx), idx, #name, entry, magic, stamp, "\"" magicName "\"");       \
    members("request");                                                              \
    IV_EACH(IVC_MEMBER, req) printf("]");                                            \
    members("response");                                                             \
    IV_EACH(IVC_MEMBER, res) printf("]}");
#define IVC_NOTIFICATION(idx, name, Name, entry, magic, stamp, magicName, list)      \
    message(first(idx), idx, #name, entry, magic, stamp, "\"" magicName "\"");       \
    printf(", \"Name\": \"%s\"", #Name);                                             \
    members("members");                                                              \
    IV_EACH(IVC_MEMBER, list) printf("]}");

int main()
{
    printf("{\"domains\": [");
    g_sep = "";
    printf("\n  {\"name\": \"radio\", \"types\": [");
    INTFVELMOR_RADIO_TYPES(IVC_TYPE)
    g_sep = "";
    printf("]},\n  {\"name\": \"config\", \"types\": [");
    INTFVELMOR_CONFIG_TYPES(IVC_TYPE)
    g_sep = "";
    printf("]},\n  {\"name\": \"station\", \"types\": [");
    INTFVELMOR_STATION_TYPES(IVC_TYPE)
    printf("]}],\n\"commands\": [");
    IV_COMMANDS(IVC_COMMAND)
    printf("],\n\"notifications\": [");
    IV_NOTIFICATIONS(IVC_NOTIFICATION)
    printf("]}\n");
    return 0;
}
