// Fetching a resource into memory.
#ifndef QV_TRANSFER_RETRIEVE_H_
#define QV_TRANSFER_RETRIEVE_H_

#include <string_view>

#include "frame/error.h"
#include "transfer/memory_sink.h"

namespace qv {

struct Session;

// A fetched resource: its body and the result code of the response.
struct RetrievedData {
  MemoryBody body;
  INT result_code = 0;
};

// One complete exchange: GET, response header, body, decoding, line ends; the session is idle
// afterwards. `options`: HTTP_TRANSFER_* bits.
Result<RetrievedData> Retrieve(Session& session, std::string_view resource, DWORD options);

// The content class (HTTP_CONTENT_*) of the response: of its Content-Type, or without that field
// the one that the name of the resource suggests.
INT ContentClassOf(const Session& session);

}  // namespace qv

#endif  // QV_TRANSFER_RETRIEVE_H_
