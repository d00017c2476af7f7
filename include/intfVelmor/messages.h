/* Commands and notifications. */
#ifndef INTFVELMOR_MESSAGES_H
#define INTFVELMOR_MESSAGES_H

#include <stdint.h>

#endif /* INTFVELMOR_MESSAGES_H */
