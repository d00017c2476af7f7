// The demo's exchanges, independent of the host that carries them.
//
// Three parties: the Wi-Fi service "wifi", a client "client" and a second
// subscriber "monitor". The client sends every command of the catalogue,
// the service answers each, then publishes every notification to both
// subscribers. What each body holds is fixed (tools/demo_kit.cpp), so every
// process can list all the exchanges before any of them happens: a program
// that plays one party, or all three, checks what reaches its own parties
// against that list.
//
// A host adapter (the in-process demo, or one process of the demo on a bus)
// creates the users, installs the handlers below with its own tokens, and
// reports each crossing through observed() before the receiver's handler
// runs.
#pragma once

#include <stdint.h>
#include <stdio.h>

#include <string>
#include <vector>

#include "messages/frame.h"

namespace demo {

// The parties; each handler's reference word says which one it belongs to.
enum Who : uint32_t { kClient, kWifi, kMonitor, kParties };
extern const char *const kNames[kParties];
// The service's user name, as clients and subscribers address it.
constexpr const char *kService = "wifi";
// Who subscribes to the notifications.
constexpr Who kSubscribers[] = {kClient, kMonitor};

struct Exchange {
    const iv::MsgDesc *m;
    int32_t type;
    Who from, to;
    std::vector<uint8_t> sent;  // the library's serialization of the body sent
    std::vector<uint8_t> wire;  // the bytes that crossed, as the host reported them
    bool traced = false;
    int deliveries = 0;
    bool exact = false;  // crossed as sent, and the receiver's values give the same bytes
};

struct Options {
    bool json = false;   // one JSON object per exchange instead of the tree
    bool quiet = false;  // only the closing line
    FILE *bytes = nullptr;  // when set: one line per exchange received, for comparisons
};

// Lists every exchange of the demo (call once, after intfVelmor_initialize).
void plan(const Options &o);
std::vector<Exchange> &exchanges();

// The opening line of a run.
std::string opening(const char *where);

// A token for a handler, in the host's own terms.
using Handler = void (*)(void);
using TokenFn = uint32_t (*)(Handler);

// The service installs every command handler; a subscriber every
// notification handler, for the service kService; returns the first failing
// code, 0 when all succeeded.
uint32_t serve(void *wifi, TokenFn token);
uint32_t subscribe(void *user, Who who, TokenFn token);

// The client sends every command, the service publishes every notification.
void sendCommands(void *client);
void publish(void *wifi);

// The host reports bytes crossing to `to` (from is ignored when unknown).
// Returns false (and counts a fault) when no exchange of the list expects it.
bool observed(const iv::MsgDesc &m, int32_t type, const char *from, const char *to,
              const uint8_t *bytes, uint32_t length);

// Index of a party by user name, kParties when none.
Who partyOf(const char *name);

// Exchanges addressed to one of the parties in `mine` not yet delivered.
size_t pending(const std::vector<Who> &mine);

// Records a fault (printed on stderr, counted).
void fault(const std::string &what);
int faults();

// Checks that every exchange to one of `mine` was delivered exactly and that
// the host holds nothing, prints the closing line and returns the process's
// exit status.
int finish(const std::vector<Who> &mine, uint32_t bodiesHeld, uint32_t contextsOpen);

}  // namespace demo
