// The channel of a session without TLS: the socket itself.
#ifndef QV_PROTOCOL_PLAIN_CHANNEL_H_
#define QV_PROTOCOL_PLAIN_CHANNEL_H_

#include "protocol/channel.h"

namespace qv {

class PlainChannel final : public Channel {
 public:
  Result<INT> Receive(Session& session, void* buffer, INT size) override;
  Result<INT> Send(Session& session, const void* data, INT size) override;
  DWORD Pending() const override { return 0; }
  bool HasInput(Session& session) override;
};

}  // namespace qv

#endif  // QV_PROTOCOL_PLAIN_CHANNEL_H_
