// Expected requests as readable text.
#ifndef SUPPORT_LIBRARY_REQUEST_TEXT_H_
#define SUPPORT_LIBRARY_REQUEST_TEXT_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace test {

// A request as it goes over the wire, from a text with plain line ends in which "{host}" stands for
// the server's address and port. The lines up to the blank one get CR LF, the body stays.
inline std::string RequestText(std::string_view text, std::uint16_t port) {
  constexpr std::string_view kHost = "{host}";
  const std::size_t blank = text.find("\n\n");
  const std::size_t head = blank == std::string_view::npos ? text.size() : blank + 2;
  std::string request;
  for (std::size_t i = 0; i < head; ++i) {
    if (text.substr(i).starts_with(kHost)) {
      request += "127.0.0.1:" + std::to_string(port);
      i += kHost.size() - 1;
    } else {
      if (text[i] == '\n') request += '\r';
      request += text[i];
    }
  }
  return request.append(text.substr(head));
}

}  // namespace test

#endif  // SUPPORT_LIBRARY_REQUEST_TEXT_H_
