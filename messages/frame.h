// The one frame of every command and notification: body allocation and
// filling, delivery to the core, receipt, and the four body callbacks, each
// driven by a message's description.
#pragma once

#include <stdint.h>

#include "wire/engine.h"

namespace iv {

// Every body starts with these two fields; its members follow.
struct BodyHead {
    uint32_t magic;
    uint16_t ref;  // non-zero: the body is held elsewhere and never freed here
};

struct MsgDesc {
    const char *name;      // as in the body callbacks' names: getCCAStatistic, beaconReport
    const char *sendName;  // as in sendReq/recvReq: getCCAStatistic, ntfyBeaconReport
    uint32_t magic;
    uint16_t stamp;
    uint8_t index;
    bool ntfy;
    const TypeDesc *members[2];  // by body type; null when the body has no members
    uint16_t size[2];            // whole body, head included
};

// A message's magic name, as the header spells it: the prefix of its kind,
// then its name in capitals. Not stored: lines compose it (magicNameOf), and
// each row's name is checked against it when the library is built.
constexpr char kMagicCmdPrefix[] = "INTFVELMOR_MAGIC_MSGCMD_";
constexpr char kMagicNtfyPrefix[] = "INTFVELMOR_MAGIC_MSGNTFY_";
constexpr unsigned kMagicNameSize = 64;
constexpr char capital(char c) { return c >= 'a' && c <= 'z' ? (char)(c - 'a' + 'A') : c; }
constexpr bool spellsMagicName(const char *magicName, const char *name, bool ntfy)
{
    for (const char *c = ntfy ? kMagicNtfyPrefix : kMagicCmdPrefix; *c; ++c)
        if (*magicName++ != *c)
            return false;
    for (; *name; ++name)
        if (*magicName++ != capital(*name))
            return false;
    return *magicName == 0;
}
template <unsigned N>
constexpr bool isMagicName(const char (&magicName)[N], const char *name, bool ntfy)
{
    return N <= kMagicNameSize && spellsMagicName(magicName, name, ntfy);
}

enum BodyType : int32_t { kReq = 0, kRes = 1 };

// Arguments of sendReq/sendRes/sendNtfy, one pointer per body member in
// member order: the record, the text, or the scalar's value.
using Args = const void *const *;

uint32_t sendReq(const MsgDesc &m, void *user, void *cbRes, void *recvRes, uint32_t word1,
                 uint32_t word2, const char *srvName, Args args);
void sendRes(const MsgDesc &m, void *ctx, Args args);
void sendNtfy(const MsgDesc &m, void *user, uint32_t word1, uint32_t word2, Args args);

// Check a received body; they return it when the caller's handler (or the
// context's response callback) is to be called with it, and null when the
// body was null or has been answered with code 20.
BodyHead *recvReq(const MsgDesc &m, void *ctx, void *body, void *handler);
BodyHead *recvRes(const MsgDesc &m, void *ctx, void *body);

// The entries behind the exported callbacks take the callback's own
// arguments first and the description last, so that the exports stay thin.
uint32_t modSrv(void *user, uint32_t w1, uint32_t w2, uint32_t w3, const MsgDesc &m);
uint32_t modCliNtfy(const MsgDesc &m, void *user, uint32_t w1, uint32_t w2, uint32_t w3,
                    const char *busName, void *userName);
uint32_t needUpdate(const MsgDesc &m, void *user, uint32_t w1, uint32_t w2, uint32_t w3);

void freeBody(int32_t type, void *body, const MsgDesc &m);
uint32_t serializeBody(int32_t type, void *body, uint8_t **out, uint32_t *outLen,
                       const MsgDesc &m);
// Reads trusting the item lengths; the bounded form never reads at or past end.
uint32_t unserializeBody(int32_t type, const uint8_t *bytes, void **out, uint32_t *outSize,
                         const MsgDesc &m);
uint32_t unserializeBodyBounded(const MsgDesc &m, int32_t type, const uint8_t *bytes,
                                const uint8_t *end, void **out, uint32_t *outSize);
// The bounded and unbounded readers both run this one (end null: trust item
// lengths). `fail` says why and where the bytes were refused with code 2 or 4
// from the bytes; after a body read in full, its offset is the body's length
// (bytes after it are not read). Nothing else touches it.
uint32_t readBody(const MsgDesc &m, int32_t type, const uint8_t *bytes, const uint8_t *end,
                  void **out, uint32_t *outSize, ReadFailure &fail);
void logBody(char **outText, const MsgDesc &m);

// The descriptions behind the descriptor's entries, by index.
extern const MsgDesc *const kCommands[];
extern const MsgDesc *const kNotifications[];

}  // namespace iv
