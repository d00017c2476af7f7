// Descriptions with one mistake each (MISTAKE=n), for describe_checks.sh:
// each must stop the compilation with one error that names the struct
// member and the fix. MISTAKE=0 is the same structs described correctly.
#include <stdint.h>

#include "wire/describe.h"

struct Pair {
    uint32_t a;
    uint32_t b;
};
struct Counted {
    uint32_t v;
    uint8_t count;
    uint32_t items[4];
};
struct CountAfter {
    uint32_t items[4];
    uint8_t count;
};
struct Hidden {
    uint8_t a;
    uint8_t hidden;
    uint32_t b;
};
struct Away {
    uint32_t v;
    uint8_t count;
    uint32_t other;
    uint32_t items[4];
};

#if MISTAKE == 1  // numbers swapped
IV_RECORD(Pair, IV_MEMBER(a, 4), IV_MEMBER(b, 3))
#elif MISTAKE == 2  // described out of declaration order
IV_RECORD(Pair, IV_MEMBER(b, 4), IV_MEMBER(a, 3))
#elif MISTAKE == 3  // a member left out before another
IV_RECORD(Pair, IV_MEMBER(b, 3))
#elif MISTAKE == 4  // the last member left out
IV_RECORD(Pair, IV_MEMBER(a, 3))
#elif MISTAKE == 5  // a count declared before its array, the numbers swapped
IV_RECORD(Counted, IV_MEMBER(v, 3), IV_COUNTED(count, 5, items, 4))
#elif MISTAKE == 6  // a count declared after its array, numbered as if before
IV_RECORD(CountAfter, IV_COUNTED(count, 3, items, 4))
#elif MISTAKE == 7  // a member hidden in padding
IV_RECORD(Hidden, IV_MEMBER(a, 3), IV_MEMBER(b, 4))
#elif MISTAKE == 8  // a count with another member between it and its array
IV_RECORD(Away, IV_MEMBER(v, 3), IV_COUNTED(count, 4, items, 5), IV_MEMBER(other, 6))
#else
IV_RECORD(Pair, IV_MEMBER(a, 3), IV_MEMBER(b, 4))
IV_RECORD(Counted, IV_MEMBER(v, 3), IV_COUNTED(count, 4, items, 5))
IV_RECORD(CountAfter, IV_COUNTED(count, 4, items, 3))
#endif
