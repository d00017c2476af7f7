/* The public header as a C99 program sees it. */
#include <stdio.h>
#include <string.h>

#include "intfVelmor.h"

int main(void)
{
    AftSta sta;
    uint8_t buf[64];
    uint8_t *w = buf;
    const uint8_t *r = buf;
    AftSta back;
    memset(&sta, 0, sizeof sta);
    memset(buf, 0, sizeof buf);
    memset(&back, 0, sizeof back);
    sta.v3 = 1;
    strcpy(sta.mac, "ab");
    if (intfVelmor_AftSta_serialize_lg(&sta) != 48 || intfVelmor_AftSta_serialize(&sta, &w) != 0 ||
        w - buf != 48 || intfVelmor_AftSta_unserialize(&back, &r) != 0 || back.v3 != 1 ||
        strcmp(back.mac, "ab") != 0) {
        printf("record round trip failed\n");
        return 1;
    }
    if (intfVelmor_base.magic != INTFVELMOR_MAGIC_BASE || intfVelmor_getCmdIntfNum() != 0xFFFF) {
        printf("descriptor not as loaded\n");
        return 1;
    }
    printf("c consumer ok\n");
    return 0;
}
