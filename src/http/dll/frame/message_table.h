// The library's message table: the text of every error code, as a module resource.
#ifndef QV_FRAME_MESSAGE_TABLE_H_
#define QV_FRAME_MESSAGE_TABLE_H_

#include <span>

#include "platform/module.h"

namespace qv {

std::span<const platform::ModuleMessage> MessageTable();

}  // namespace qv

#endif  // QV_FRAME_MESSAGE_TABLE_H_
