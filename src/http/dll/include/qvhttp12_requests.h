/*
 * QVHTTP12: whole requests in one call. Included by qvhttp12.h, which says what holds for every
 * function.
 */
#ifndef QVHTTP12_REQUESTS_H
#define QVHTTP12_REQUESTS_H

#include "qvhttp12.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* QVHTTP12_REQUESTS_H */
