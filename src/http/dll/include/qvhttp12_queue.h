/*
 * QVHTTP12: queues of files to transfer. Included by qvhttp12.h, which says what holds for every
 * function.
 */
#ifndef QVHTTP12_QUEUE_H
#define QVHTTP12_QUEUE_H

#include "qvhttp12.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* QVHTTP12_QUEUE_H */
