/*
 * QVHTTP12: forms that are filled in and submitted. Included by qvhttp12.h, which says what holds
 * for every function.
 */
#ifndef QVHTTP12_FORMS_H
#define QVHTTP12_FORMS_H

#include "qvhttp12.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif /* QVHTTP12_FORMS_H */
