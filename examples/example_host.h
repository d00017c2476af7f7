/*
 * The few host functions the examples' shared sources need, under one set of
 * names: the reference host by default, the bus host when the program is
 * built with EXAMPLE_BUS_HOST defined. Everything else the examples call is
 * the library's own and the same on both hosts.
 */
#ifndef EXAMPLE_HOST_H
#define EXAMPLE_HOST_H

#ifdef EXAMPLE_BUS_HOST
#include "tolkBusHost.h"
#define example_newUser tolkbus_newUser
#define example_freeUser tolkbus_freeUser
#define example_token(fn) tolkbus_token((tolkbus_fn)(fn))
#define EXAMPLE_ERR_USER TOLKBUS_ERR_USER
#else
#include "tolkRefHost.h"
#define example_newUser refhost_newUser
#define example_freeUser refhost_freeUser
#define example_token(fn) refhost_token((refhost_fn)(fn))
#define EXAMPLE_ERR_USER REFHOST_ERR_USER
#endif

#endif /* EXAMPLE_HOST_H */
