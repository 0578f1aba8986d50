#include "body.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "chunked_decoder.h"
#include "failure.h"

namespace {

constexpr std::size_t kReadSize = 64 * 1024;

bool EqualsIgnoringCase(std::string_view text, std::string_view lower_case) {
  return std::equal(text.begin(), text.end(), lower_case.begin(), lower_case.end(),
                    [](char a, char b) {
                      return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b;
                    });
}

bool IsChunked(const Session& session) {
  bool chunked = false;
  for (const auto& [name, value] : session.Headers(HTTP_HEADERS_RESPONSE)) {
    if (!EqualsIgnoringCase(name, "transfer-encoding")) continue;
    if (chunked || !EqualsIgnoringCase(value, "chunked")) {
      throw Failure(ExitCode::kFailure, "cannot decode the transfer coding \"" + value + "\"");
    }
    chunked = true;
  }
  return chunked;
}

void CopyChunked(Session& session, Output& output) {
  ChunkedDecoder decoder;
  const auto write = [&](std::string_view content) { output.Write(content); };
  std::vector<char> buffer(kReadSize);
  while (!decoder.AtEnd()) {
    const std::size_t count = session.Read(buffer.data(), buffer.size());
    if (count == 0) {
      throw Failure(ExitCode::kFailure, "the server closed the connection before the last chunk");
    }
    decoder.Decode(std::string_view(buffer.data(), count), write);
  }
}

void CopyPlain(Session& session, Output& output) {
  const auto announced = session.AnnouncedLength();
  std::vector<char> buffer(kReadSize);
  std::uint64_t received = 0;
  while (!announced || received < *announced) {
    const std::size_t count = session.Read(buffer.data(), buffer.size());
    if (count == 0) break;
    output.Write(std::string_view(buffer.data(), count));
    received += count;
  }
  if (announced && received != *announced) {
    throw Failure(ExitCode::kFailure, "the server sent " + std::to_string(received) + " of " +
                                          std::to_string(*announced) + " announced bytes");
  }
}

}  // namespace

void CopyBody(Session& session, Output& output) {
  if (IsChunked(session)) {
    CopyChunked(session, output);
  } else {
    CopyPlain(session, output);
  }
}
