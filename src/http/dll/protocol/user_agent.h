// The User-Agent that requests get when the application set none.
#ifndef QV_PROTOCOL_USER_AGENT_H_
#define QV_PROTOCOL_USER_AGENT_H_

#include <string>
#include <string_view>

namespace qv {

inline constexpr std::size_t kUserAgentCapacity = 1024;

// One value for the process, built from the platform's version on first use.
std::string DefaultUserAgent();

// An empty text brings the built one back.
void SetDefaultUserAgent(std::string_view text);

}  // namespace qv

#endif  // QV_PROTOCOL_USER_AGENT_H_
