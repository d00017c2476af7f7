// The interface descriptor, its lifecycle and the registration of users.
#include "base/log.h"
#include "base/relaxed.h"
#include "intfVelmor.h"
#include "tolkHost.h"

namespace {

using iv::FnName;

constexpr char kIntfName[] = "IntfVelmor";
constexpr uint16_t kNone = INTFVELMOR_MNGT_NONE;

}  // namespace

// Entry names are the rows' texts (entries 4 and 7 share one stored text),
// laid out after the names above.
#include "messages/catalogue.h"

#define IV_CMD_ENTRY(idx, X, entryName, magic, stamp, magicName, ...)                \
    {intfVelmor_recvReq_##X, 0, entryName, intfVelmor_cbEvtMsgMngt_freeBody_msgCmd_##X, \
     intfVelmor_cbEvtMsgMngt_serializeBody_msgCmd_##X,                                  \
     intfVelmor_cbEvtMsgMngt_unserializeBody_msgCmd_##X,                                \
     intfVelmor_cbEvtMsgMngt_logBody_msgCmd_##X, idx},
#define IV_NTFY_ENTRY(idx, x, X, entryName, magic, stamp, magicName, ...)                \
    {intfVelmor_recvReq_ntfy##X, 0, entryName, intfVelmor_cbEvtMsgMngt_freeBody_msgNtfy_##x, \
     intfVelmor_cbEvtMsgMngt_serializeBody_msgNtfy_##x,                                 \
     intfVelmor_cbEvtMsgMngt_unserializeBody_msgNtfy_##x,                               \
     intfVelmor_cbEvtMsgMngt_logBody_msgNtfy_##x, idx},

extern "C" {
IV_EXPORT intfVelmor_descriptor intfVelmor_base = {
    INTFVELMOR_MAGIC_BASE,
    kIntfName,
    {INTFVELMOR_MAGIC_BLOCK_CMD, "IntfVelmorCmd", intfVelmor_cbEvtMsgMngt_unreg_msgCmd, kNone,
     INTFVELMOR_CMD_COUNT, {IV_COMMANDS(IV_CMD_ENTRY)}},
    {INTFVELMOR_MAGIC_BLOCK_NTFY, "IntfVelmorNtfy", intfVelmor_cbEvtMsgMngt_unreg_msgNtfy, kNone,
     INTFVELMOR_NTFY_COUNT, {IV_NOTIFICATIONS(IV_NTFY_ENTRY)}},
    0,
    INTFVELMOR_STATE_BASE_WAIT_INIT,
    0,
};
}

namespace {

intfVelmor_descriptor &base = intfVelmor_base;

using iv::loadRelaxed;
using iv::storeRelaxed;

uint8_t flags() { return loadRelaxed(base.flags); }
uint8_t state() { return loadRelaxed(base.state); }

constexpr FnName kAddBase{"intfVelmor_addBase", nullptr};
constexpr FnName kDelBase{"intfVelmor_delBase", nullptr};

void warnFlagSet(const FnName &fn, int line, const char *flagName, unsigned bit)
{
    iv::log(iv::kWarning, fn, line, "Set Flag[%s-%X] in ctx(%p) already set[%X] text[%s]\n",
            flagName, bit, (void *)&base, flags(), "");
}

void warnFlagClear(const FnName &fn, int line, const char *flagName, unsigned bit)
{
    iv::log(iv::kWarning, fn, line, "Unset Flag[%s-%X] in ctx(%p) not set[%X] text[%s]\n",
            flagName, bit, (void *)&base, flags(), "");
}

// Copies a block into the core's management record: name, unregister
// callback, then six words per entry (the receive handler and index stay out).
template <class Block>
void fillMngt(tolkCore_mngt *rec, const Block &blk)
{
    rec->name = blk.name;
    rec->unreg = blk.unreg;
    tolkCore_mngtEntry *out = tolkCore_mngtEntries(rec);
    for (uint16_t i = 0; i < blk.entryCount; ++i) {
        const intfVelmor_entry &e = blk.entries[i];
        out[i].reserved = e.reserved;
        out[i].name = e.name;
        out[i].freeBody = (void *)e.freeBody;
        out[i].serializeBody = (void *)e.serializeBody;
        out[i].unserializeBody = (void *)e.unserializeBody;
        out[i].logBody = (void *)e.logBody;
    }
}

// Registers one block; 0, or 1 when the core refuses it.
template <class Block>
uint32_t addBlock(Block &blk, uint32_t count, uint8_t bit, const char *flagName,
                  const char *failText)
{
    if (blk.entryCount == 0)
        return 0;
    tolkCore_mngt *rec = nullptr;
    uint16_t num = tolkCore_getBase_msgMngt(blk.name, &rec, count);
    if (num == kNone || !rec) {
        iv::publishMngt(blk.mngtNum, num);
        IV_LOG(iv::kErr, kAddBase, "%s", failText);
        return INTFVELMOR_ERR_TYPE;
    }
    // Senders take the number only once the record is complete.
    fillMngt(rec, blk);
    iv::publishMngt(blk.mngtNum, num);
    if (flags() & bit)
        warnFlagSet(kAddBase, __LINE__, flagName, bit);
    storeRelaxed(base.flags, flags() | bit);
    return 0;
}

// Returns one block's management to the core; 0 or the core's code.
template <class Block>
uint32_t putBlock(Block &blk, uint8_t bit, const char *flagName, const char *failFmt)
{
    if (!(flags() & bit))
        return 0;
    uint16_t num = iv::loadMngt(blk.mngtNum);
    uint32_t rc = tolkCore_putBase_msgMngt(num, 0);
    if (rc) {
        iv::log(iv::kErr, kDelBase, __LINE__, failFmt, (unsigned)num, (int)rc);
        return rc;
    }
    iv::publishMngt(blk.mngtNum, kNone);
    if (!(flags() & bit))
        warnFlagClear(kDelBase, __LINE__, flagName, bit);
    storeRelaxed(base.flags, flags() & ~bit);
    return 0;
}

template <class Block>
void unregBlock(const FnName &fn, Block &blk, uint16_t num, uint8_t bit, const char *flagName)
{
    if (num != iv::loadMngt(blk.mngtNum)) {
        IV_LOG(iv::kErr, fn, "Message management(%d) unknown\n", (int)num);
        return;
    }
    if (!(flags() & bit))
        warnFlagClear(fn, __LINE__, flagName, bit);
    storeRelaxed(base.flags, flags() & ~bit);
}

}  // namespace

extern "C" {

IV_EXPORT uint32_t intfVelmor_addBase(void)
{
    if (base.magic != INTFVELMOR_MAGIC_BASE)
        iv::magicBroken(kAddBase, __LINE__, "Magic", "INTFVELMOR_MAGIC_BASE",
                        INTFVELMOR_MAGIC_BASE, &base, base.magic);
    if (state() != INTFVELMOR_STATE_BASE_WAIT_INIT) {
        IV_LOG(iv::kErr, kAddBase, "Check State[%s-%X] Ctx[ptr(%p) state(%X)] text[%s]\n",
               "INTFVELMOR_STATE_BASE_WAIT_INIT", INTFVELMOR_STATE_BASE_WAIT_INIT, (void *)&base,
               state(), "");
        return INTFVELMOR_ERR_STATE;
    }
    storeRelaxed(base.flags, 0);
    uint32_t rc = addBlock(base.cmd, INTFVELMOR_CMD_COUNT, INTFVELMOR_FLAGS_BASE_REG_CMD,
                           "INTFVELMOR_FLAGS_BASE_REG_CMD",
                           "Add command message management failed\n");
    if (rc)
        return rc;
    rc = addBlock(base.ntfy, INTFVELMOR_NTFY_COUNT, INTFVELMOR_FLAGS_BASE_REG_NTFY,
                  "INTFVELMOR_FLAGS_BASE_REG_NTFY",
                  "Add notification message management failed\n");
    if (rc)
        return rc;
    rc = tick_addEvtBase(intfVelmor_cbEvtBase, &intfVelmor_base);
    if (rc) {
        IV_LOG(iv::kErr, kAddBase, "Add event base failed(%d)\n", (int)rc);
        return rc;
    }
    if (state() == INTFVELMOR_STATE_BASE_INIT)
        IV_LOG(iv::kWarning, kAddBase, "Set State[%s-%d] in ctx(%p) already set\n",
               "INTFVELMOR_STATE_BASE_INIT", INTFVELMOR_STATE_BASE_INIT, (void *)&base);
    storeRelaxed(base.state, INTFVELMOR_STATE_BASE_INIT);
    return 0;
}

IV_EXPORT uint32_t intfVelmor_initialize(void)
{
    uint32_t rc = intfVelmor_addBase();
    if (rc) {
        IV_LOG(iv::kErr, (FnName{"intfVelmor_initialize", nullptr}), "Add Base failed(%d)\n",
               (int)rc);
        return rc;
    }
    return 0;
}

IV_EXPORT uint32_t intfVelmor_delBase(void)
{
    if (state() != INTFVELMOR_STATE_BASE_INIT) {
        IV_LOG(iv::kErr, kDelBase, "Check State[%s-%X] Ctx[ptr(%p) state(%X)] text[%s]\n",
               "INTFVELMOR_STATE_BASE_INIT", INTFVELMOR_STATE_BASE_INIT, (void *)&base,
               state(), "");
        return INTFVELMOR_ERR_STATE;
    }
    uint32_t rc = putBlock(base.cmd, INTFVELMOR_FLAGS_BASE_REG_CMD,
                           "INTFVELMOR_FLAGS_BASE_REG_CMD",
                           "Put command message management(%u) failed(%d)\n");
    if (rc)
        return rc;
    rc = putBlock(base.ntfy, INTFVELMOR_FLAGS_BASE_REG_NTFY, "INTFVELMOR_FLAGS_BASE_REG_NTFY",
                  "Put notification message management(%u) failed(%d)\n");
    if (rc)
        return rc;
    if (state() == INTFVELMOR_STATE_BASE_WAIT_INIT)
        IV_LOG(iv::kWarning, kDelBase, "Set State[%s-%d] in ctx(%p) already set\n",
               "INTFVELMOR_STATE_BASE_WAIT_INIT", INTFVELMOR_STATE_BASE_WAIT_INIT, (void *)&base);
    storeRelaxed(base.state, INTFVELMOR_STATE_BASE_WAIT_INIT);
    return 0;
}

IV_EXPORT void intfVelmor_cbEvtBase(void *ctx, int32_t event)
{
    (void)ctx;
    constexpr FnName fn{"intfVelmor_cbEvtBase", nullptr};
    if (event == 0) {
        if (intfVelmor_delBase())
            IV_LOG(iv::kErr, fn, "Delete Base\n");
        return;
    }
    IV_LOG(iv::kErr, fn, "Unknown event(%d)\n", (int)event);
}

IV_EXPORT void intfVelmor_cbEvtMsgError(void) {}

// ---- users ------------------------------------------------------------------

IV_EXPORT uint32_t intfVelmor_regUser_msgMngt(void *user, uint32_t word, void *ref,
                                              uint32_t selector)
{
    constexpr FnName fn{"intfVelmor_regUser_msgMngt", nullptr};
    const uint16_t nums[2] = {iv::loadMngt(base.cmd.mngtNum), iv::loadMngt(base.ntfy.mngtNum)};
    for (int i = 0; i < 2; ++i) {
        bool wanted = selector == INTFVELMOR_SEL_BOTH || selector == (uint32_t)(i + 1);
        if (!wanted || nums[i] == kNone)
            continue;
        uint32_t rc = tolkIntf_regUser_msgMngt(user, word, ref, nums[i], kNone, 0);
        if (rc) {
            IV_LOG(iv::kErr, fn,
                   "user(%p): regUser message management failed(%d) -> num(%d) ref(%p)\n", user,
                   (int)rc, (int)nums[i], ref);
            return rc;
        }
    }
    return 0;
}

IV_EXPORT uint32_t intfVelmor_unregUser_msgMngt(void *user, uint32_t selector)
{
    constexpr FnName fn{"intfVelmor_unregUser_msgMngt", nullptr};
    const uint16_t nums[2] = {iv::loadMngt(base.cmd.mngtNum), iv::loadMngt(base.ntfy.mngtNum)};
    for (int i = 0; i < 2; ++i) {
        bool wanted = selector == INTFVELMOR_SEL_BOTH || selector == (uint32_t)(i + 1);
        if (!wanted || nums[i] == kNone)
            continue;
        uint32_t rc = tolkIntf_unregUser_msgMngt(user, nums[i], kNone, 0);
        if (rc) {
            IV_LOG(iv::kErr, fn, "user(%p): unregUser message management failed(%d) -> num(%d)\n",
                   user, (int)rc, (int)nums[i]);
            return rc;
        }
    }
    return 0;
}

IV_EXPORT void *intfVelmor_findSrvMthdNtfyUser(int32_t a, uint32_t b, uint16_t c, uint32_t d)
{
    return tolkIntf_findSrvMthdNtfyUser(a, b, kIntfName, c, d);
}

IV_EXPORT uint16_t intfVelmor_getCmdIntfNum(void) { return iv::loadMngt(base.cmd.mngtNum); }

IV_EXPORT uint16_t intfVelmor_getNtfyIntfNum(void) { return iv::loadMngt(base.ntfy.mngtNum); }

IV_EXPORT void intfVelmor_cbEvtMsgMngt_unreg_msgCmd(uint16_t mngtNum)
{
    unregBlock(FnName{"intfVelmor_cbEvtMsgMngt_unreg_msgCmd", nullptr}, base.cmd, mngtNum,
               INTFVELMOR_FLAGS_BASE_REG_CMD, "INTFVELMOR_FLAGS_BASE_REG_CMD");
}

IV_EXPORT void intfVelmor_cbEvtMsgMngt_unreg_msgNtfy(uint16_t mngtNum)
{
    unregBlock(FnName{"intfVelmor_cbEvtMsgMngt_unreg_msgNtfy", nullptr}, base.ntfy, mngtNum,
               INTFVELMOR_FLAGS_BASE_REG_NTFY, "INTFVELMOR_FLAGS_BASE_REG_NTFY");
}

IV_EXPORT void intfVelmor_modDebug(uint32_t level) { base.debug = level; }

}  // extern "C"
