// Names of hosts as applications give them.
#ifndef QV_TRANSPORT_HOST_NAME_H_
#define QV_TRANSPORT_HOST_NAME_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace qv {

inline constexpr std::size_t kMinHostName = 3;
inline constexpr std::size_t kMaxHostName = 255;
inline constexpr std::size_t kMaxLabel = 63;  // RFC 1035 section 2.3.4

// Whether a name of kMinHostName to kMaxHostName bytes has the form of a host name. UTF-8 beyond
// ASCII counts only where it can be converted (IdnAvailable).
bool CheckHostSyntax(std::string_view name);

// The form in which a host is looked up and compared: without blanks around it and a final dot, in
// lower case; an address in its canonical text, a name beyond ASCII in its ASCII-compatible form.
// Nothing when it is no name of a host. An address in brackets is none.
std::optional<std::string> NormalizeHost(const char* name);

// The ASCII-compatible form (RFC 3490) of a name in UTF-8, of at most kMaxHostName characters;
// nothing when it has none or the conversion is not available.
std::optional<std::string> ToAsciiName(std::string_view name);

}  // namespace qv

#endif  // QV_TRANSPORT_HOST_NAME_H_
