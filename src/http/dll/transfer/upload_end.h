// How an upload ends.
#ifndef QV_TRANSFER_UPLOAD_END_H_
#define QV_TRANSFER_UPLOAD_END_H_

#include "frame/error.h"
#include "qvplatform.h"

namespace qv {

struct Session;
class TransferScope;

// Ends an upload whose body was streamed: reads the response, or gives up after an error. The
// result code; QV_ERROR_CONNECTION_CLOSED when the server ended the connection without an answer.
Result<INT> FinishUpload(Session& session, TransferScope& transfer, Error error);

}  // namespace qv

#endif  // QV_TRANSFER_UPLOAD_END_H_
