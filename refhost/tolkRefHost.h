/*
 * Reference host: an in-process message core and event loop.
 *
 * It implements every function of tolkHost.h inside one process, so that
 * tests, tools and the demo can run both sides of the interface (client,
 * service, subscribers) against libIntfVelmor without the real platform.
 * Users stand for processes; bytes still cross between them through the
 * entries' serializeBody/unserializeBody callbacks, exactly as they would
 * between two processes.
 *
 * Word conventions of this host:
 *  - tolkIntf_modSrv_mthd / tolkIntf_modCliNtfyUser_mthd: word1 is a token
 *    (refhost_token) for the handler function, word2 its reference word.
 *  - tolkCore_sendMsgReq_toNameUser: word1 is the reference word stored in
 *    the message context for the response callback.
 *  - tolkIntf_findSrvMthdNtfyUser(a, b, intfName, c, d): a = 0 finds the
 *    first user serving command entry c, a = 1 the first user subscribed to
 *    notification entry c; b and d are ignored; NULL when there is none.
 *  - tolkIntf_getCore_user returns the user itself.
 *  - Received bytes are unserialized through the library's
 *    intfVelmor_unserializeBodyBounded (looked up at run time) when the
 *    entry's callback lives in the same object, else through the entry's
 *    unserializeBody directly.
 *  - A body handed to the core is freed even when the call fails, through
 *    its entry's freeBody. With a management number that the host does not
 *    know (sent before the interface registered it, or after it returned
 *    it), the entry is looked up where the interface's users installed it:
 *    for a request, the named service's method for that index; for a
 *    notification, the notification block of the named interface, which the
 *    host learns from any modSrv / modCliNtfyUser / needUpdate call. When
 *    neither exists (nobody serves that name, or it serves the index for two
 *    interfaces), the body is not freed: only the library's freeBody may
 *    release a body, and the host has none that surely matches it.
 *    Every server-side tolkCore_sendMsgRes ends its context.
 *
 * Threads: one lock serializes every function of this header and of
 * tolkHost.h, held while the library's callbacks and the users' handlers run
 * (they may call the host again on the same thread). Management numbers are
 * read from the interface's blocks with relaxed atomic loads.
 * Compiles as C99 and as C++.
 */
#ifndef TOLK_REFHOST_H
#define TOLK_REFHOST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Codes returned by host calls, beyond the ones a fault injection chooses. */
#define REFHOST_ERR_NO_SERVER 0x100u /* no user of that name serves the entry */
#define REFHOST_ERR_MNGT      0x101u /* unknown management number or entry index */
#define REFHOST_ERR_USER      0x102u /* unknown user, or user not registered */
#define REFHOST_ERR_CTX       0x103u /* unknown or finished message context */
#define REFHOST_ERR_STATE     0x104u /* call not valid now (no response expected...) */
#define REFHOST_ERR_ARG       0x105u /* null block, index outside the block */

/* One value per host function, for fault injection. */
typedef enum refhost_call {
    REFHOST_CALL_ADD_EVT_BASE = 0,
    REFHOST_CALL_GET_BASE_MSG_MNGT,
    REFHOST_CALL_PUT_BASE_MSG_MNGT,
    REFHOST_CALL_REG_USER,
    REFHOST_CALL_UNREG_USER,
    REFHOST_CALL_FIND_SRV_MTHD_NTFY_USER, /* any code: returns NULL */
    REFHOST_CALL_GET_CORE_USER,           /* any code: returns NULL */
    REFHOST_CALL_SEND_MSG_REQ,
    REFHOST_CALL_SEND_MSG_RES,
    REFHOST_CALL_IS_MSG_NEED_RES,         /* returns the code itself */
    REFHOST_CALL_MOD_SRV_MTHD,
    REFHOST_CALL_MOD_CLI_NTFY_USER_MTHD,
    REFHOST_CALL_MOD_SRV_NTFY_NEED_UPDATE,
    REFHOST_CALL_SEND_REQ_NTFY,
    REFHOST_CALL_COUNT
} refhost_call;

/* What crossed between two users. */
typedef enum refhost_traceKind {
    REFHOST_TRACE_REQUEST = 0,   /* client -> service, body type 0 */
    REFHOST_TRACE_RESPONSE,      /* service -> client, body type 1 */
    REFHOST_TRACE_NOTIFICATION,  /* publisher -> subscriber, body type 0 */
    REFHOST_TRACE_CODE           /* a response code sent without a body */
} refhost_traceKind;

typedef struct refhost_traceEvent {
    refhost_traceKind kind;
    const char *entryName;      /* from the management record, may be NULL */
    uint16_t mngtNum;
    uint32_t index;
    int32_t bodyType;           /* 0 or 1; -1 for REFHOST_TRACE_CODE */
    const uint8_t *bytes;       /* serialized body, NULL for a code */
    uint32_t length;
    uint32_t code;              /* REFHOST_TRACE_CODE only */
    const char *sender;         /* user names, "" when unknown */
    const char *receiver;
} refhost_traceEvent;

typedef void (*refhost_traceFn)(void *arg, const refhost_traceEvent *ev);

/* Counters since the last refhost_reset (contextsOpen/bodiesHeld: current). */
typedef struct refhost_statsInfo {
    uint32_t serialized;        /* successful serializeBody calls */
    uint32_t unserialized;      /* successful unserializeBody calls */
    uint32_t bodiesFreed;       /* freeBody calls made by the host */
    uint32_t buffersFreed;      /* serialized buffers released with free */
    uint32_t contextsOpen;      /* message contexts alive now */
    uint32_t bodiesHeld;        /* unserialized bodies handed out, not yet freed */
    uint32_t deliveries;        /* calls of an entry's recv or of a recvRes */
    uint32_t codeResponses;     /* non-zero codes sent through tolkCore_sendMsgRes */
    uint32_t needUpdates;       /* tolkIntf_modSrv_ntfy_needUpdate registrations */
} refhost_statsInfo;

/* Forget everything: frees every management record, user, context and held
 * body (through its freeBody), and clears tokens, event callbacks, fault
 * injections, counters, the trace hook and the last response code. */
void refhost_reset(void);

/* Event loop: call every callback added with tick_addEvtBase. */
void refhost_deliverEvent(int32_t event);

/* Withdraw a management on the core's initiative: calls the record's unreg
 * callback with the number, then frees the record. 0, or REFHOST_ERR_MNGT. */
uint32_t refhost_withdrawMngt(uint16_t mngtNum);

/* Number of managements currently handed out. */
uint32_t refhost_mngtCount(void);

/* Users stand for processes. freeUser drops its registrations, methods and
 * subscriptions. */
void *refhost_newUser(const char *userName);
void refhost_freeUser(void *user);
/* 1 when the user is registered with the management, else 0. */
int refhost_isUserRegistered(void *user, uint16_t mngtNum);

/* Tokens stand for function pointers in 32-bit caller words. A handler of
 * any type is passed cast to refhost_fn, a cast ISO C allows between
 * function pointer types (unlike one to void *). */
typedef void (*refhost_fn)(void);
uint32_t refhost_token(refhost_fn fn);
refhost_fn refhost_fromToken(uint32_t token);

/* The next call of that host function fails with the code (0 cancels). */
void refhost_failNext(refhost_call which, uint32_t code);

/* The 32-bit words of the last call of a host function, in argument order
 * (pointers left out), and its text argument (interface, service or block
 * name) when it has one. Kept across refhost_reset. */
typedef struct refhost_callWords {
    uint32_t count;
    uint32_t words[12];
    const char *text;
} refhost_callWords;
refhost_callWords refhost_lastWords(refhost_call which);

void refhost_setTrace(refhost_traceFn fn, void *arg);
refhost_statsInfo refhost_stats(void);
/* Last non-zero code sent through tolkCore_sendMsgRes, 0 if none. */
uint32_t refhost_lastResCode(void);

#ifdef __cplusplus
}
#endif

#endif /* TOLK_REFHOST_H */
