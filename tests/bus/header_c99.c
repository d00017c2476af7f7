/* The bus host's header compiles as pedantic C99 with the library's. */
#include "intfVelmor.h"
#include "tolkBusHost.h"

static void onStats(void *ctx, uint32_t ref, ccaStats *stats)
{
    (void)ctx, (void)ref, (void)stats;
}

uint32_t ivBusHeaderC99(void);
uint32_t ivBusHeaderC99(void)
{
    return tolkbus_token((tolkbus_fn)onStats);
}
