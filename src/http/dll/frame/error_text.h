// Texts of error codes.
#ifndef QV_FRAME_ERROR_TEXT_H_
#define QV_FRAME_ERROR_TEXT_H_

#include "qvplatform.h"

namespace qv {

// The contract of HttpGetErrorStringA.
INT FormatErrorText(DWORD code, LPSTR target, INT capacity);

}  // namespace qv

#endif  // QV_FRAME_ERROR_TEXT_H_
