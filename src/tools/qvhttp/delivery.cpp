#include "delivery.h"

#include <fstream>
#include <vector>

#include "body.h"
#include "content_coding.h"
#include "failure.h"
#include "output.h"
#include "status.h"

namespace {

constexpr std::size_t kReadSize = std::size_t{64} << 10;

// What the library has stored is whole where that can be told: by the length that was announced, or
// by the decoder.
void CheckDecoded(const Session& session) {
  const HeaderList headers = session.Headers(HTTP_HEADERS_RESPONSE);
  if (HasContentCoding(headers) && !HasKnownContentCoding(headers)) {
    throw Failure(ExitCode::kFailure, "cannot decode the content coding \"" +
                                          *FindField(headers, "Content-Encoding") + "\"");
  }
  if (FindField(headers, "Transfer-Encoding")) return;
  const auto announced = ParseNumber(FindField(headers, "Content-Length").value_or(""));
  const std::uint64_t received = session.ReceivedLength();
  if (announced && received < *announced) {
    throw Failure(ExitCode::kFailure, "the server sent " + std::to_string(received) + " of " +
                                          std::to_string(*announced) + " announced bytes");
  }
}

void CopyFile(const std::string& name, Output& output) {
  std::ifstream file(name, std::ios::binary);
  std::vector<char> buffer(kReadSize);
  while (file) {
    file.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    output.Write(std::string_view(buffer.data(), static_cast<std::size_t>(file.gcount())));
  }
  if (!file.eof()) throw Failure(ExitCode::kFailure, "cannot read the temporary file " + name);
}

void CheckFormResponse(const Session& session) {
  const std::uint64_t missing = session.MissingLength();
  if (missing == 0) return;
  throw Failure(ExitCode::kFailure, "the response ended early: at least " +
                                        std::to_string(missing) + " bytes are missing");
}

// The library reads no body after it has streamed a file.
bool HasBodyToRead(const Answer& answer) {
  const Request& request = answer.session->request();
  const bool streamed = request.body != nullptr && !request.body->streamed_file.empty();
  return StatusHasBody(answer.status) && request.method != "HEAD" && !streamed;
}

}  // namespace

void DeliverBody(const Answer& answer, Progress& progress, const std::string& output_name) {
  Session& session = *answer.session;
  const bool has_body = HasBodyToRead(answer);
  const bool is_decoded = has_body && session.request().decodes;
  const bool is_of_form = session.request().form != nullptr;
  if (is_decoded) CheckDecoded(session);
  if (is_of_form) CheckFormResponse(session);
  Output output(output_name);
  if (is_of_form) {
    output.Write(session.FormResponse());
  } else if (is_decoded) {
    CopyFile(session.DecodedFile(), output);
  } else if (has_body) {
    CopyBody(session, progress, 0, [&](std::string_view content) { output.Write(content); });
  }
  output.Finish();
}
