#include "multipart.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <string_view>

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr int kBoundaryLength = 32;  // RFC 2046 section 5.1.1 allows 70

std::string RandomBoundary() {
  constexpr std::string_view kLetters = "0123456789abcdefghijklmnopqrstuvwxyz";
  std::random_device random;
  std::uniform_int_distribution<std::size_t> pick(0, kLetters.size() - 1);
  std::string boundary = "qvhttp";
  std::generate_n(std::back_inserter(boundary), kBoundaryLength,
                  [&] { return kLetters[pick(random)]; });
  return boundary;
}

// No part may hold the line that ends it.
std::string BoundaryFor(const std::vector<FormFile>& files) {
  for (;;) {
    std::string boundary = RandomBoundary();
    const bool taken = std::any_of(files.begin(), files.end(), [&](const FormFile& file) {
      return file.content.find(boundary) != std::string::npos;
    });
    if (!taken) return boundary;
  }
}

// A quoted parameter, with what would end it escaped as browsers do.
std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"') {
      quoted += "%22";
    } else if (c == '\r') {
      quoted += "%0D";
    } else if (c == '\n') {
      quoted += "%0A";
    } else {
      quoted += c;
    }
  }
  return quoted + '"';
}

}  // namespace

RequestBody ComposeMultipart(const std::vector<FormFile>& files) {
  const std::string boundary = BoundaryFor(files);
  RequestBody body;
  body.content_type = "multipart/form-data; boundary=" + boundary;
  for (const FormFile& file : files) {
    body.content.append("--").append(boundary).append(kLineEnd);
    body.content.append("Content-Disposition: form-data; name=").append(Quoted(file.field));
    body.content.append("; filename=").append(Quoted(file.file_name)).append(kLineEnd);
    body.content.append("Content-Type: application/octet-stream").append(kLineEnd).append(kLineEnd);
    body.content.append(file.content).append(kLineEnd);
  }
  body.content.append("--").append(boundary).append("--").append(kLineEnd);
  return body;
}
