/*
 * The host's message core and event loop, as this library calls them.
 *
 * These functions are not part of libIntfVelmor: the process that loads the
 * library provides them. Words the library passes through unchanged (caller
 * words, the constants 0xFFFF, 0 and 18) belong to the core.
 */
#ifndef TOLK_HOST_H
#define TOLK_HOST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup intfVelmor_host The host's message core and event loop
 * @ingroup intfVelmor
 * What the library calls in the process that loads it. A host provides
 * these functions; the reference host implements them in one process.
 * @{
 */

/** Event loop: the callback later receives ctx and an event number. */
typedef void (*tick_evtFn)(void *ctx, int32_t event);
/** Event loop: adds cb, called later with ctx and an event number. */
uint32_t tick_addEvtBase(tick_evtFn cb, void *ctx);

/**
 * Management record handed out by tolkCore_getBase_msgMngt. The library fills
 * the head's name and unregister callback and, for each entry in index order,
 * one tolkCore_mngtEntry; the core owns the rest.
 */
typedef struct tolkCore_mngtEntry {
    uintptr_t reserved;                  /**< the entry's reserved word */
    const char *name;                    /**< the entry's name */
    void *freeBody;                      /**< the entry's freeBody callback */
    void *serializeBody;                 /**< the entry's serializeBody callback */
    void *unserializeBody;               /**< the entry's unserializeBody callback */
    void *logBody;                       /**< the entry's logBody callback */
} tolkCore_mngtEntry;

/** The head of a management record; its entries follow it in memory. */
typedef struct tolkCore_mngt {
    const char *name;                    /**< the management's name */
    void (*unreg)(uint16_t mngtNum);     /**< called when the core withdraws it */
    uintptr_t core;                      /**< the core's own word */
    /* followed by one tolkCore_mngtEntry per entry */
} tolkCore_mngt;

/** The entries that follow the head m. */
static inline tolkCore_mngtEntry *tolkCore_mngtEntries(tolkCore_mngt *m)
{
    return (tolkCore_mngtEntry *)(void *)(m + 1);
}

/** Hands out a management record of count entries; returns its number, or 0xFFFF on failure. */
uint16_t tolkCore_getBase_msgMngt(const char *name, tolkCore_mngt **record, uint32_t count);
/** Returns management mngtNum to the core. */
uint32_t tolkCore_putBase_msgMngt(uint16_t mngtNum, uint32_t zero);

/** Registers user with management mngtNum. */
uint32_t tolkIntf_regUser_msgMngt(void *user, uint32_t word, void *ref, uint32_t mngtNum,
                                  uint32_t none, uint32_t zero);
/** Unregisters user from management mngtNum. */
uint32_t tolkIntf_unregUser_msgMngt(void *user, uint32_t mngtNum, uint32_t none, uint32_t zero);
/** Finds the user serving a method or subscribed to a notification of intfName. */
void *tolkIntf_findSrvMthdNtfyUser(int32_t a, uint32_t b, const char *intfName, uint32_t c,
                                   uint32_t d);

/**
 * Head of the core's message context: what the library reads back when a
 * response arrives. The core may keep more behind it.
 */
typedef struct tolkCore_msgCtx {
    void *cbRes;         /**< response callback given at sendReq, or null */
    uint32_t ref;        /**< reference word for that callback */
} tolkCore_msgCtx;

/** The core's side of user, as the send functions take it. */
void *tolkIntf_getCore_user(void *user);
/** Sends a request body to the user srvName serving entry index of management mngtNum. */
uint32_t tolkCore_sendMsgReq_toNameUser(void *coreUser, void *body, void *recvRes, void *cbRes,
                                        uint32_t word1, uint32_t word2, const char *srvName,
                                        uint32_t mngtNum, uint32_t index, uint32_t none,
                                        uint32_t eighteen);
/** Answers the request of ctx with body and code. */
uint32_t tolkCore_sendMsgRes(void *ctx, void *body, uint32_t code, uint32_t eighteen);
/** Whether the request of ctx expects a response. */
uint32_t tolkCore_isMsg_needRes(void *ctx);
/** Installs user as the service of a command entry (its method magic). */
uint32_t tolkIntf_modSrv_mthd(void *user, uint32_t word1, uint32_t word2, uint32_t word3,
                              uint32_t mthdMagic, const char *intfName, void *cmdBlock,
                              void *ntfyBlock, uint32_t index, uint32_t none1, uint32_t none2);
/** Subscribes user to a notification entry of the service busName. */
uint32_t tolkIntf_modCliNtfyUser_mthd(void *user, uint32_t word1, uint32_t word2, uint32_t word3,
                                      uint32_t mthdMagic, const char *busName, void *userName,
                                      const char *intfName, void *cmdBlock, void *ntfyBlock,
                                      uint32_t index);
/** Registers user as the publisher of a notification entry. */
uint32_t tolkIntf_modSrv_ntfy_needUpdate(void *user, uint32_t word1, uint32_t word2,
                                         uint32_t word3, const char *intfName, void *cmdBlock,
                                         void *ntfyBlock, uint32_t index);
/** Publishes a notification body to every subscriber of the entry. */
uint32_t tolkIntf_sendReq_ntfy(void *user, void *body, uint32_t z1, uint32_t z2, uint32_t z3,
                               uint32_t word1, uint32_t word2, const char *intfName,
                               uint32_t mngtNum, uint32_t index, uint32_t z4, uint32_t z5,
                               uint32_t eighteen);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* TOLK_HOST_H */
