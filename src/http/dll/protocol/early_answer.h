// Answers of servers that do not want the whole of a body.
#ifndef QV_PROTOCOL_EARLY_ANSWER_H_
#define QV_PROTOCOL_EARLY_ANSWER_H_

#include "frame/error.h"

namespace qv {

struct Session;

// What became of a request whose body broke off with `error`: where the connection broke, the
// answer that the server gave before it closed (RFC 9112 section 9.5). The result code of an answer
// that passes as data, the error of one that does not, else `error`: a success is not believed
// while a part of the body is missing.
Result<INT> AnswerToBrokenRequest(Session& session, Error error);

}  // namespace qv

#endif  // QV_PROTOCOL_EARLY_ANSWER_H_
