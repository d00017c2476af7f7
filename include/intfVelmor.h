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

/**
 * @defgroup intfVelmor_interface The interface descriptor, its lifecycle and users
 * @ingroup intfVelmor
 * Result codes, the body callbacks of a descriptor entry, the descriptor
 * itself and the functions that register it and its users with the host.
 * @{
 */

/* ---- Result codes ------------------------------------------------------ */
#define INTFVELMOR_OK              0u  /**< success */
#define INTFVELMOR_ERR_TYPE        1u  /**< unknown body type, block not registered */
#define INTFVELMOR_ERR_FRAME       2u  /**< serialized frame refused on receipt */
#define INTFVELMOR_ERR_STATE       3u  /**< descriptor in the wrong state */
#define INTFVELMOR_ERR_BODY        4u  /**< null body or malformed member */
#define INTFVELMOR_ERR_ALLOC       5u  /**< allocation failure */
#define INTFVELMOR_RES_NO_HANDLER 20u  /**< response code: no handler or callback */

/* ---- Body callbacks held by every descriptor entry --------------------- */
/** The server-side receive handler of an entry: checks the body, calls the handler. */
typedef void (*intfVelmor_recvFn)(void *ctx, void *body, void *handler, uint32_t ref);
/** Frees a body of the given type (INTFVELMOR_BODY_REQ or _RES). */
typedef void (*intfVelmor_freeBodyFn)(int32_t type, void *body);
/** Serializes a body into a new buffer, freed by the caller. */
typedef uint32_t (*intfVelmor_serializeBodyFn)(int32_t type, void *body,
                                               uint8_t **out, uint32_t *outLen);
/** Reads a serialized body into a new body; 2 for a refused frame. */
typedef uint32_t (*intfVelmor_unserializeBodyFn)(int32_t type, const uint8_t *bytes,
                                                 void **outBody, uint32_t *outSize);
/** Writes a new text naming the body to *outText, freed by the caller. */
typedef void (*intfVelmor_logBodyFn)(uint32_t w1, uint32_t w2, uint32_t w3, char **outText);
/** A block's unregister callback: the core withdrew management mngtNum. */
typedef void (*intfVelmor_unregFn)(uint16_t mngtNum);

/* Body types: the first argument of every body callback. */
#define INTFVELMOR_BODY_REQ 0  /**< body type of a request */
#define INTFVELMOR_BODY_RES 1  /**< body type of a response */

/** One message of a block: eight pointer-sized words. */
typedef struct intfVelmor_entry {
    intfVelmor_recvFn recv;              /**< server-side receive handler */
    uintptr_t reserved;                  /**< 0, handed to the core */
    const char *name;                    /**< the entry's name */
    intfVelmor_freeBodyFn freeBody;      /**< frees a body */
    intfVelmor_serializeBodyFn serializeBody;      /**< writes a body's bytes */
    intfVelmor_unserializeBodyFn unserializeBody;  /**< reads a body's bytes */
    intfVelmor_logBodyFn logBody;        /**< names a body for the log */
    uintptr_t index;                     /**< position in its block */
} intfVelmor_entry;

/** The number of commands, the entries of the command block (this and the
 *  next count are written by tools/gen_header.py from the catalogue). */
#define INTFVELMOR_CMD_COUNT  14u
/** The number of notifications, the entries of the notification block. */
#define INTFVELMOR_NTFY_COUNT 3u
#define INTFVELMOR_MNGT_NONE  0xFFFFu  /**< management number of a block not registered */

/** The command block: one entry per command, registered as one management. */
typedef struct intfVelmor_cmdBlock {
    uint32_t magic;                      /**< INTFVELMOR_MAGIC_BLOCK_CMD */
    const char *name;                    /**< the management's name */
    intfVelmor_unregFn unreg;            /**< called when the core withdraws it */
    uint16_t mngtNum;                    /**< 0xFFFF: not registered */
    uint16_t entryCount;                 /**< INTFVELMOR_CMD_COUNT */
    intfVelmor_entry entries[INTFVELMOR_CMD_COUNT];  /**< by command index */
} intfVelmor_cmdBlock;

/** The notification block: one entry per notification, registered as one management. */
typedef struct intfVelmor_ntfyBlock {
    uint32_t magic;                      /**< INTFVELMOR_MAGIC_BLOCK_NTFY */
    const char *name;                    /**< the management's name */
    intfVelmor_unregFn unreg;            /**< called when the core withdraws it */
    uint16_t mngtNum;                    /**< 0xFFFF: not registered */
    uint16_t entryCount;                 /**< INTFVELMOR_NTFY_COUNT */
    intfVelmor_entry entries[INTFVELMOR_NTFY_COUNT];  /**< by notification index */
} intfVelmor_ntfyBlock;

/** The interface descriptor: both blocks, the state and the registration flags. */
typedef struct intfVelmor_descriptor {
    uint32_t magic;                      /**< INTFVELMOR_MAGIC_BASE */
    const char *name;                    /**< the interface's name */
    intfVelmor_cmdBlock cmd;             /**< the commands */
    intfVelmor_ntfyBlock ntfy;           /**< the notifications */
    uint32_t debug;                      /**< the word of intfVelmor_modDebug */
    uint8_t state;                       /**< INTFVELMOR_STATE_BASE_* */
    uint8_t flags;                       /**< INTFVELMOR_FLAGS_BASE_* */
} intfVelmor_descriptor;

#define INTFVELMOR_MAGIC_BASE       0x93555841u  /**< magic of the descriptor */
#define INTFVELMOR_MAGIC_BLOCK_CMD  0x93555842u  /**< magic of the command block */
#define INTFVELMOR_MAGIC_BLOCK_NTFY 0x93555843u  /**< magic of the notification block */
#define INTFVELMOR_STATE_BASE_WAIT_INIT 0u  /**< state: not added to the host yet */
#define INTFVELMOR_STATE_BASE_INIT      1u  /**< state: added by intfVelmor_addBase */
#define INTFVELMOR_FLAGS_BASE_REG_CMD   1u  /**< flag: the command block is registered */
#define INTFVELMOR_FLAGS_BASE_REG_NTFY  2u  /**< flag: the notification block is registered */

/* Registration selectors of regUser/unregUser. */
#define INTFVELMOR_SEL_BOTH 0u  /**< selector: both managements */
#define INTFVELMOR_SEL_CMD  1u  /**< selector: the command management */
#define INTFVELMOR_SEL_NTFY 2u  /**< selector: the notification management */

/** The one interface descriptor of the process. */
extern intfVelmor_descriptor intfVelmor_base;

/* ---- Base lifecycle ----------------------------------------------------- */
/** Once per process, on the event-loop thread: intfVelmor_addBase, logging a failure. */
uint32_t intfVelmor_initialize(void);
/** Registers both blocks with the core and the descriptor with the event loop; state 0 -> 1. */
uint32_t intfVelmor_addBase(void);
/** Returns both blocks' management numbers to the core; state 1 -> 0. */
uint32_t intfVelmor_delBase(void);
/** The event loop's callback: event 0 deletes the base, others are logged. */
void intfVelmor_cbEvtBase(void *ctx, int32_t event);
/** The core's message-error callback; does nothing. */
void intfVelmor_cbEvtMsgError(void);

/* ---- Users and management lookup --------------------------------------- */
/** Registers user with the command and/or notification management (INTFVELMOR_SEL_*). */
uint32_t intfVelmor_regUser_msgMngt(void *user, uint32_t word, void *ref, uint32_t selector);
/** Undoes intfVelmor_regUser_msgMngt for the selected managements. */
uint32_t intfVelmor_unregUser_msgMngt(void *user, uint32_t selector);
/** The core's lookup of a service method or notification user, under this interface's name. */
void *intfVelmor_findSrvMthdNtfyUser(int32_t a, uint32_t b, uint16_t c, uint32_t d);
/** The command block's management number; 0xFFFF when not registered. */
uint16_t intfVelmor_getCmdIntfNum(void);
/** The notification block's management number; 0xFFFF when not registered. */
uint16_t intfVelmor_getNtfyIntfNum(void);
/** The command block's unregister callback: the core withdrew its management. */
void intfVelmor_cbEvtMsgMngt_unreg_msgCmd(uint16_t mngtNum);
/** The notification block's unregister callback: the core withdrew its management. */
void intfVelmor_cbEvtMsgMngt_unreg_msgNtfy(uint16_t mngtNum);
/** Stores a debug word that nothing reads. */
void intfVelmor_modDebug(uint32_t level);

/** @} */

#ifdef __cplusplus
}
#endif

#include "intfVelmor/records.h"
#include "intfVelmor/messages.h"

#endif /* INTFVELMOR_H */
