/*
 * QVHTTP12: transfers in the background. Included by qvhttp12.h, which says what holds for every
 * function.
 */
#ifndef QVHTTP12_TASKS_H
#define QVHTTP12_TASKS_H

#include "qvhttp12.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* QVHTTP12_TASKS_H */
