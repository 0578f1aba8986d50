#include "body.h"

#include <vector>

#include "chunked_decoder.h"
#include "failure.h"

namespace {

constexpr std::size_t kReadSize = std::size_t{64} << 10;

bool IsChunked(const Session& session) {
  bool chunked = false;
  for (const auto& [name, value] : session.Headers(HTTP_HEADERS_RESPONSE)) {
    if (!EqualsIgnoringCase(name, "Transfer-Encoding")) continue;
    if (chunked || !EqualsIgnoringCase(value, "chunked")) {
      throw Failure(ExitCode::kFailure, "cannot decode the transfer coding \"" + value + "\"");
    }
    chunked = true;
  }
  return chunked;
}

void CopyChunked(Session& session, const BodySink& sink) {
  ChunkedDecoder decoder;
  std::vector<char> buffer(kReadSize);
  while (!decoder.AtEnd()) {
    const std::size_t count = session.Read(buffer.data(), buffer.size());
    if (count == 0) {
      throw Failure(ExitCode::kFailure, "the server closed the connection before the last chunk");
    }
    decoder.Decode(std::string_view(buffer.data(), count), sink);
  }
}

void CopyPlain(Session& session, std::optional<std::uint64_t> announced, const BodySink& sink) {
  std::vector<char> buffer(kReadSize);
  std::uint64_t received = 0;
  while (!announced || received < *announced) {
    const std::size_t count = session.Read(buffer.data(), buffer.size());
    if (count == 0) break;
    sink(std::string_view(buffer.data(), count));
    received += count;
  }
  if (announced && received != *announced) {
    throw Failure(ExitCode::kFailure, "the server sent " + std::to_string(received) + " of " +
                                          std::to_string(*announced) + " announced bytes");
  }
}

}  // namespace

void CopyBody(Session& session, Progress& progress, std::uint64_t present, const BodySink& sink) {
  const bool chunked = IsChunked(session);
  const auto announced = chunked ? std::nullopt : session.AnnouncedLength();
  std::optional<std::uint64_t> total;
  if (announced) total = present + *announced;
  std::uint64_t done = present;
  progress.Start(present);
  const auto count_and_pass = [&](std::string_view content) {
    sink(content);
    done += content.size();
    progress.Update(done, total);
  };
  if (chunked) {
    CopyChunked(session, count_and_pass);
  } else {
    CopyPlain(session, announced, count_and_pass);
  }
  progress.Finish();
}
