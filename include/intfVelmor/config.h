#ifndef INTFVELMOR_CONFIG_H
#define INTFVELMOR_CONFIG_H

#include <stdint.h>

#define INTFVELMOR_CONFIG_TYPES(X)

#endif /* INTFVELMOR_CONFIG_H */
