// HTTP/0.9, 1.0 and 1.1.
#ifndef QV_PROTOCOL_HTTP1_ENGINE_H_
#define QV_PROTOCOL_HTTP1_ENGINE_H_

#include "protocol/engine.h"

namespace qv {

// Has no state of its own: everything is in the session.
class Http1Engine final : public Engine {
 public:
  static Http1Engine& Get();

  Result<INT> Command(Session& session, const CommandArguments& arguments) override;
  Error ReadResponse(Session& session) override;
  Result<INT> Read(Session& session, void* buffer, INT size) override;
  Result<std::size_t> ReadBody(Session& session, char* buffer, std::size_t size) override;
  Result<INT> Write(Session& session, const void* data, INT size) override;
  Result<bool> IsReadable(Session& session, INT timeout, DWORD* available) override;
  Result<bool> IsWritable(Session& session, INT timeout) override;
  Error CloseRequest(Session& session) override;
  Error Reconnect(Session& session) override;
  Error Disconnect(Session& session) override;
};

}  // namespace qv

#endif  // QV_PROTOCOL_HTTP1_ENGINE_H_
