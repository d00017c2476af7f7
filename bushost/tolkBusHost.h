/*
 * Bus host: the message core and event loop of tolkHost.h over D-Bus.
 *
 * Every function of tolkHost.h is implemented on one libdbus-1 connection
 * per process, so that a Wi-Fi service and its clients run as separate
 * programs on a D-Bus daemon (the system bus, a session bus, or a private
 * one). The library itself is unchanged: it sees the same calls as on the
 * reference host (tolkRefHost.h), with the same word conventions.
 *
 * Names on the bus (TOLKBUS_PREFIX is "org.intfvelmor"):
 *  - A user that serves commands or publishes notifications owns the
 *    well-known name TOLKBUS_PREFIX "." + tolkbus_busName(user name),
 *    requested from the daemon the first time it serves or publishes.
 *    Clients and subscribers use the connection's unique name only.
 *  - User names map to one bus name element: ASCII letters, digits and '-'
 *    stay; every other byte (and a leading digit) becomes "_XX", its value
 *    in upper-case hex ("wifi.5g" -> "wifi_2E5g", "2g" -> "_32g"). An
 *    empty name, or one whose bus name would exceed 255 characters, cannot
 *    be mapped: the call that needed it returns TOLKBUS_ERR_NAME and logs
 *    one line to syslog. Names are never changed any other way.
 *  - Interfaces are TOLKBUS_PREFIX "." + the management's name
 *    ("org.intfvelmor.IntfVelmorCmd", "org.intfvelmor.IntfVelmorNtfy").
 *  - Members are the entry names; one that begins with a digit gets a
 *    leading '_' ("11vActionFrame" -> "_11vActionFrame"). Entry names never
 *    begin with '_', so the mapping reverses by dropping it.
 *  - Objects: everything lives on TOLKBUS_PATH, which also answers
 *    org.freedesktop.DBus.Introspectable with every command (method, "ay"
 *    in, "ay" out) and notification (signal, "ay") of the managements the
 *    process registered.
 *
 * Messages:
 *  - A command is a method call to the service's well-known name with one
 *    "ay" argument: exactly the bytes of the entry's serializeBody. A
 *    request without a response callback goes out no-reply-expected, and
 *    tolkCore_isMsg_needRes says so on the receiving side.
 *  - Response code 0 is a method return with one "ay". Any other code goes
 *    back as the error TOLKBUS_ERROR_CODE, arguments (s text, u code), and
 *    reaches the client's failure hook, never its response callback.
 *  - A notification is a signal with one "ay" on TOLKBUS_PATH. Subscribing
 *    adds a match rule (with the publisher's well-known name as sender when
 *    the subscription names one). A needUpdate registration is counted and
 *    does not gate delivery: every subscriber gets every notification.
 *  - The receiver finds its own management number and entry index from the
 *    interface and member names (never from the sender's numbers or from
 *    the magic), and reads the bytes with the library's bounded reader and
 *    the array's length; trailing bytes are accepted. A call whose
 *    signature is not "ay" gets org.freedesktop.DBus.Error.InvalidArgs from
 *    the host and never reaches the library.
 *
 * Word conventions (as on the reference host):
 *  - tolkIntf_modSrv_mthd / tolkIntf_modCliNtfyUser_mthd: word1 is a token
 *    (tolkbus_token) for the handler, word2 its reference word.
 *  - tolkCore_sendMsgReq_toNameUser: word1 is the reference word for the
 *    response callback and for the failure hook; srvName is the service's
 *    user name (not its bus name).
 *  - tolkIntf_findSrvMthdNtfyUser(a, b, intfName, c, d): a = 0 finds the
 *    first local user serving command entry c, a = 1 the first local user
 *    subscribed to notification entry c; NULL when there is none.
 *  - tolkIntf_getCore_user returns the user itself.
 *  - A body handed to the host is freed through its entry's freeBody even
 *    when the call fails. tolkCore_putBase_msgMngt never calls the
 *    management's unregister callback.
 *
 * Event 0 reaches every tick_addEvtBase callback when the program is asked
 * to stop (tolkbus_stop, or SIGTERM/SIGINT after tolkbus_stopOnSignals) and
 * when the bus connection is lost; then tolkbus_run returns.
 *
 * Threads: none of its own. Every function of this header (except
 * tolkbus_stop) and of tolkHost.h runs on the thread that runs the loop.
 * Handlers, callbacks and hooks may send, answer and publish, but must not
 * disconnect or reset: they call tolkbus_stop, and the program disconnects
 * once tolkbus_run has returned.
 * Compiles as C99 and as C++.
 */
#ifndef TOLK_BUSHOST_H
#define TOLK_BUSHOST_H

#include <stdint.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#define TOLKBUS_PREFIX "org.intfvelmor"
#define TOLKBUS_PATH   "/org/intfvelmor/IntfVelmor"
/* Error name of a non-zero response code; arguments (s text, u code). */
#define TOLKBUS_ERROR_CODE TOLKBUS_PREFIX ".Error.Code"

/*
 * Codes: returned by host calls and given to the failure hook. Codes below
 * 0x100 are the library's or the service's: a non-zero response code comes
 * to the failure hook as it was sent (INTFVELMOR_RES_NO_HANDLER, 20, when
 * the service installed no handler; 1..5 when the service's library refused
 * the request bytes: 2 for a refused frame, 4 for a malformed member).
 */
#define TOLKBUS_ERR_NO_SERVER 0x100u /* nobody owns the service's name, or it serves no such entry */
#define TOLKBUS_ERR_MNGT      0x101u /* unknown management number or entry index */
#define TOLKBUS_ERR_USER      0x102u /* unknown user */
#define TOLKBUS_ERR_CTX       0x103u /* unknown or finished message context */
#define TOLKBUS_ERR_STATE     0x104u /* call not valid now (no response expected...) */
#define TOLKBUS_ERR_ARG       0x105u /* null block, index outside the block */
#define TOLKBUS_ERR_NAME      0x106u /* user or entry name that no bus name can carry */
#define TOLKBUS_ERR_BUS       0x107u /* not connected, connection lost, or out of memory */
#define TOLKBUS_ERR_TIMEOUT   0x108u /* no answer within the call timeout */
#define TOLKBUS_ERR_ACCESS    0x109u /* org.freedesktop.DBus.Error.AccessDenied: bus policy */
#define TOLKBUS_ERR_VANISHED  0x10Au /* the service left the bus before answering */
#define TOLKBUS_ERR_REMOTE    0x10Bu /* any other D-Bus error (detail has its name) */
#define TOLKBUS_ERR_NAME_TAKEN 0x10Cu /* another connection owns the well-known name */
#define TOLKBUS_ERR_REPLY     0x10Du /* an answer whose signature is not "ay" */

/* Returned by tolkbus_dispatch / tolkbus_run: after a stop request
 * (tolkbus_stop, a signal under tolkbus_stopOnSignals), or when not
 * connected (tolkbus_dispatch only). */
#define TOLKBUS_STOPPED 1u
/* Returned by tolkbus_dispatch / tolkbus_run after the bus connection was
 * lost (the daemon went away, the socket closed). Event 0 has been
 * delivered; the code stays, through tolkbus_disconnect, until the next
 * connect or tolkbus_reset. */
#define TOLKBUS_LOST 2u

/* ---- connection ------------------------------------------------------ */

/* Connects to a bus address ("unix:path=..."), registering with the daemon.
 * NULL: the session bus (DBUS_SESSION_BUS_ADDRESS). 0, or TOLKBUS_ERR_BUS.
 * Connect before serving, subscribing or sending: those need the bus. */
uint32_t tolkbus_connect(const char *address);
/* Connects to the system bus. 0, or TOLKBUS_ERR_BUS. */
uint32_t tolkbus_connectSystem(void);
/* The connection's unique name (":1.42"), "" when not connected. */
const char *tolkbus_uniqueName(void);
/* Closes the connection: pending calls fail (TOLKBUS_ERR_BUS through the
 * failure hook), open contexts and held bodies are freed, names released.
 * Users, managements, tokens and hooks stay. */
void tolkbus_disconnect(void);
/* Disconnects, then forgets everything as tolkbus_disconnect does not:
 * managements, users, tokens, event callbacks, hooks, counters. */
void tolkbus_reset(void);

/* ---- event loop ------------------------------------------------------ */

/* One descriptor to poll for input: when readable, call tolkbus_dispatch.
 * -1 when not connected. */
int tolkbus_fd(void);
/* Handles whatever is ready without blocking: bus traffic, timeouts, a
 * stop request. 0 while running; TOLKBUS_STOPPED after a stop request or
 * when not connected; TOLKBUS_LOST once the connection was lost. Event 0
 * has been delivered in both of the last two cases, unless never
 * connected. */
uint32_t tolkbus_dispatch(void);
/* Dispatches until stopped or disconnected; returns TOLKBUS_STOPPED after a
 * stop request, TOLKBUS_LOST after the connection was lost, or
 * TOLKBUS_ERR_BUS at once when not connected (or when waiting fails). */
uint32_t tolkbus_run(void);
/* Asks the loop to stop: event 0, then tolkbus_run returns. Safe in a
 * signal handler and from another thread. A stop asked before connecting
 * takes effect at the first dispatch; tolkbus_reset forgets it. */
void tolkbus_stop(void);
/* Installs SIGTERM and SIGINT handlers that call tolkbus_stop. 0 or errno. */
uint32_t tolkbus_stopOnSignals(void);
/* Calls every tick_addEvtBase callback with the event. */
void tolkbus_deliverEvent(int32_t event);

/* Call timeout in milliseconds (default 25000); 0 restores the default.
 * Applies to calls sent afterwards. */
void tolkbus_setCallTimeout(uint32_t ms);

/* ---- users, names and tokens ----------------------------------------- */

/* Users stand for the process's roles (a service, a client). The name is
 * mapped when the user first serves or publishes, not here. */
void *tolkbus_newUser(const char *userName);
/* Drops the user's registrations, methods and subscriptions; releases its
 * well-known name. */
void tolkbus_freeUser(void *user);

/* The bus name element of a user name (see above) into out, NUL included:
 * 0, or TOLKBUS_ERR_NAME (nothing logged). */
uint32_t tolkbus_busName(const char *userName, char *out, size_t size);
/* The well-known name of a user name: TOLKBUS_PREFIX "." + tolkbus_busName. */
uint32_t tolkbus_wellKnownName(const char *userName, char *out, size_t size);
/* The member name of an entry name, and back: 0 or TOLKBUS_ERR_NAME. */
uint32_t tolkbus_memberName(const char *entryName, char *out, size_t size);
uint32_t tolkbus_entryName(const char *memberName, char *out, size_t size);

/* Tokens stand for function pointers in 32-bit caller words. A handler of
 * any type is passed cast to tolkbus_fn. */
typedef void (*tolkbus_fn)(void);
uint32_t tolkbus_token(tolkbus_fn fn);
tolkbus_fn tolkbus_fromToken(uint32_t token);

/* ---- hooks and counters ---------------------------------------------- */

/* A call that failed after it was sent: ref is word1 of the request, code
 * one of the codes above (or the service's non-zero response code), entry
 * the entry name, detail the D-Bus error name or "" (never NULL). */
typedef void (*tolkbus_failFn)(void *arg, uint32_t ref, uint32_t code, const char *entry,
                               const char *detail);
void tolkbus_setFailHook(tolkbus_failFn fn, void *arg);

/* What crossed the bus, seen from this process. */
typedef enum tolkbus_traceKind {
    TOLKBUS_TRACE_REQUEST = 0,   /* client -> service, body type 0 */
    TOLKBUS_TRACE_RESPONSE,      /* service -> client, body type 1 */
    TOLKBUS_TRACE_NOTIFICATION,  /* publisher -> subscriber, body type 0 */
    TOLKBUS_TRACE_CODE           /* a response code without a body, or a failure */
} tolkbus_traceKind;

typedef struct tolkbus_traceEvent {
    tolkbus_traceKind kind;
    const char *entryName;      /* from the management record, may be NULL */
    uint16_t mngtNum;           /* this process's number */
    uint32_t index;
    int32_t bodyType;           /* 0 or 1; -1 for TOLKBUS_TRACE_CODE */
    const uint8_t *bytes;       /* the "ay" bytes, NULL for a code */
    uint32_t length;
    uint32_t code;              /* TOLKBUS_TRACE_CODE only */
    const char *sender;         /* local user names, bus names for peers */
    const char *receiver;
    int outgoing;               /* 1 when this process sent it, 0 received */
} tolkbus_traceEvent;

typedef void (*tolkbus_traceFn)(void *arg, const tolkbus_traceEvent *ev);
void tolkbus_setTrace(tolkbus_traceFn fn, void *arg);

/* Counters since the last tolkbus_reset (contextsOpen, pendingCalls,
 * bodiesHeld: current). */
typedef struct tolkbus_statsInfo {
    uint32_t serialized;        /* successful serializeBody calls */
    uint32_t unserialized;      /* successful unserializeBody calls */
    uint32_t bodiesFreed;       /* freeBody calls made by the host */
    uint32_t contextsOpen;      /* server-side contexts alive now */
    uint32_t pendingCalls;      /* client calls awaiting an answer now */
    uint32_t bodiesHeld;        /* unserialized bodies handed out, not yet freed */
    uint32_t deliveries;        /* calls of an entry's recv or of a recvRes */
    uint32_t codeResponses;     /* non-zero codes sent through tolkCore_sendMsgRes */
    uint32_t needUpdates;       /* tolkIntf_modSrv_ntfy_needUpdate registrations */
    uint32_t refused;           /* received bytes the library refused */
    uint32_t badSignatures;     /* calls answered InvalidArgs */
    uint32_t failures;          /* failure hook calls */
} tolkbus_statsInfo;
tolkbus_statsInfo tolkbus_stats(void);

/* Number of managements currently handed out. */
uint32_t tolkbus_mngtCount(void);

#ifdef __cplusplus
}
#endif

#endif /* TOLK_BUSHOST_H */
