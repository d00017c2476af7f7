/*
 * libIntfVelmor: the Wi-Fi service interface of the home gateway.
 *
 * One header for both sides of the interface: the interface descriptor,
 * its lifecycle and user registration (here), the 75 record types
 * (intfVelmor/radio.h, config.h, station.h) with their operations
 * (intfVelmor/records.h), and the fourteen commands and three notifications
 * (intfVelmor/messages.h). Every export is declared by name. Compiles as C99
 * and as C++.
 */
#ifndef INTFVELMOR_H
#define INTFVELMOR_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Result codes ------------------------------------------------------ */
#define INTFVELMOR_OK              0u
#define INTFVELMOR_ERR_TYPE        1u  /* unknown body type, block not registered */
#define INTFVELMOR_ERR_FRAME       2u  /* serialized frame refused on receipt */
#define INTFVELMOR_ERR_STATE       3u  /* descriptor in the wrong state */
#define INTFVELMOR_ERR_BODY        4u  /* null body or malformed member */
#define INTFVELMOR_ERR_ALLOC       5u  /* allocation failure */
#define INTFVELMOR_RES_NO_HANDLER 20u  /* response code: no handler or callback */

/* ---- Body callbacks held by every descriptor entry --------------------- */
typedef void (*intfVelmor_recvFn)(void *ctx, void *body, void *handler, uint32_t ref);
typedef void (*intfVelmor_freeBodyFn)(int32_t type, void *body);
typedef uint32_t (*intfVelmor_serializeBodyFn)(int32_t type, void *body,
                                               uint8_t **out, uint32_t *outLen);
typedef uint32_t (*intfVelmor_unserializeBodyFn)(int32_t type, const uint8_t *bytes,
                                                 void **outBody, uint32_t *outSize);
typedef void (*intfVelmor_logBodyFn)(uint32_t w1, uint32_t w2, uint32_t w3, char **outText);
typedef void (*intfVelmor_unregFn)(uint16_t mngtNum);

/* Body types: the first argument of every body callback. */
#define INTFVELMOR_BODY_REQ 0
#define INTFVELMOR_BODY_RES 1

/* One message of a block: eight pointer-sized words. */
typedef struct intfVelmor_entry {
    intfVelmor_recvFn recv;              /* server-side receive handler */
    uintptr_t reserved;                  /* 0, handed to the core */
    const char *name;
    intfVelmor_freeBodyFn freeBody;
    intfVelmor_serializeBodyFn serializeBody;
    intfVelmor_unserializeBodyFn unserializeBody;
    intfVelmor_logBodyFn logBody;
    uintptr_t index;                     /* position in its block */
} intfVelmor_entry;

/* The block sizes: written by tools/gen_header.py from the catalogue. */
#define INTFVELMOR_CMD_COUNT  14u
#define INTFVELMOR_NTFY_COUNT 3u
#define INTFVELMOR_MNGT_NONE  0xFFFFu

typedef struct intfVelmor_cmdBlock {
    uint32_t magic;
    const char *name;
    intfVelmor_unregFn unreg;
    uint16_t mngtNum;                    /* 0xFFFF: not registered */
    uint16_t entryCount;
    intfVelmor_entry entries[INTFVELMOR_CMD_COUNT];
} intfVelmor_cmdBlock;

typedef struct intfVelmor_ntfyBlock {
    uint32_t magic;
    const char *name;
    intfVelmor_unregFn unreg;
    uint16_t mngtNum;
    uint16_t entryCount;
    intfVelmor_entry entries[INTFVELMOR_NTFY_COUNT];
} intfVelmor_ntfyBlock;

typedef struct intfVelmor_descriptor {
    uint32_t magic;
    const char *name;
    intfVelmor_cmdBlock cmd;
    intfVelmor_ntfyBlock ntfy;
    uint32_t debug;
    uint8_t state;
    uint8_t flags;
} intfVelmor_descriptor;

#define INTFVELMOR_MAGIC_BASE       0x93555841u
#define INTFVELMOR_MAGIC_BLOCK_CMD  0x93555842u
#define INTFVELMOR_MAGIC_BLOCK_NTFY 0x93555843u
#define INTFVELMOR_STATE_BASE_WAIT_INIT 0u
#define INTFVELMOR_STATE_BASE_INIT      1u
#define INTFVELMOR_FLAGS_BASE_REG_CMD   1u
#define INTFVELMOR_FLAGS_BASE_REG_NTFY  2u

/* Registration selectors of regUser/unregUser. */
#define INTFVELMOR_SEL_BOTH 0u
#define INTFVELMOR_SEL_CMD  1u
#define INTFVELMOR_SEL_NTFY 2u

/* The one interface descriptor of the process. */
extern intfVelmor_descriptor intfVelmor_base;

/* ---- Base lifecycle ----------------------------------------------------- */
/* Once per process, on the event-loop thread: intfVelmor_addBase, logging a failure. */
uint32_t intfVelmor_initialize(void);
/* Registers both blocks with the core and the descriptor with the event loop; state 0 -> 1. */
uint32_t intfVelmor_addBase(void);
/* Returns both blocks' management numbers to the core; state 1 -> 0. */
uint32_t intfVelmor_delBase(void);
/* The event loop's callback: event 0 deletes the base, others are logged. */
void intfVelmor_cbEvtBase(void *ctx, int32_t event);
/* The core's message-error callback; does nothing. */
void intfVelmor_cbEvtMsgError(void);

/* ---- Users and management lookup --------------------------------------- */
/* Registers user with the command and/or notification management (INTFVELMOR_SEL_*). */
uint32_t intfVelmor_regUser_msgMngt(void *user, uint32_t word, void *ref, uint32_t selector);
/* Undoes intfVelmor_regUser_msgMngt for the selected managements. */
uint32_t intfVelmor_unregUser_msgMngt(void *user, uint32_t selector);
/* The core's lookup of a service method or notification user, under this interface's name. */
void *intfVelmor_findSrvMthdNtfyUser(int32_t a, uint32_t b, uint16_t c, uint32_t d);
/* The command block's management number; 0xFFFF when not registered. */
uint16_t intfVelmor_getCmdIntfNum(void);
/* The notification block's management number; 0xFFFF when not registered. */
uint16_t intfVelmor_getNtfyIntfNum(void);
/* The command block's unregister callback: the core withdrew its management. */
void intfVelmor_cbEvtMsgMngt_unreg_msgCmd(uint16_t mngtNum);
/* The notification block's unregister callback: the core withdrew its management. */
void intfVelmor_cbEvtMsgMngt_unreg_msgNtfy(uint16_t mngtNum);
/* Stores a debug word that nothing reads. */
void intfVelmor_modDebug(uint32_t level);

#ifdef __cplusplus
}
#endif

#include "intfVelmor/records.h"
#include "intfVelmor/messages.h"

#endif /* INTFVELMOR_H */
