// What a status code means as an error of the library.
#ifndef QV_PROTOCOL_STATUS_TABLE_H_
#define QV_PROTOCOL_STATUS_TABLE_H_

#include "frame/error.h"

namespace qv {

// 0 for success. A code that is not in the table is an error from 400 on.
Error StatusToError(INT status);

}  // namespace qv

#endif  // QV_PROTOCOL_STATUS_TABLE_H_
