/*
 * QVHTTP12: TLS: credentials, and what was negotiated. Included by qvhttp12.h, which says what holds for every
 * function.
 */
#ifndef QVHTTP12_SECURITY_H
#define QVHTTP12_SECURITY_H

#include "qvhttp12.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* QVHTTP12_SECURITY_H */
