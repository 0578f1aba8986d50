#include "request_body.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <istream>
#include <limits>
#include <system_error>

#include "failure.h"
#include "interrupt.h"
#include "multipart.h"
#include "qvhttp12.h"

namespace fs = std::filesystem;

namespace {

// Up to this size a body is held in memory. Its response can then be read whole, which the
// library's streamed upload does not offer.
constexpr std::uintmax_t kLargestInMemory = std::uintmax_t{64} << 20;

constexpr const char* kStandardInput = "-";
constexpr const char* kDefaultField = "file";

// The library takes these in the name of a local file for references to the environment, and for
// separators.
constexpr const char* kSpecialInNames = "%\\";

void CheckSize(std::size_t size) {
  if (size > std::numeric_limits<DWORD>::max()) {
    throw Failure(ExitCode::kFailure, "a body of 4 GiB or more cannot be sent from memory");
  }
}

// Reads to the end; a device may have none.
std::string ReadWhole(std::istream& stream, const std::string& name) {
  constexpr std::size_t kBlock = std::size_t{1} << 20;
  std::string content;
  while (stream) {
    CheckInterrupted();
    const std::size_t have = content.size();
    content.resize(have + kBlock);
    stream.read(content.data() + have, kBlock);
    content.resize(have + static_cast<std::size_t>(stream.gcount()));
    CheckSize(content.size());
  }
  if (stream.bad()) throw Failure(ExitCode::kFailure, "cannot read " + name);
  return content;
}

std::string ReadFile(const std::string& name) {
  if (name == kStandardInput) return ReadWhole(std::cin, name);
  std::error_code ignored;
  std::ifstream file(name, std::ios::binary);
  if (!file || fs::is_directory(name, ignored)) {
    throw Failure(ExitCode::kFailure, "cannot read " + name);
  }
  return ReadWhole(file, name);
}

void CheckSize(const RequestBody& body) { CheckSize(body.content.size()); }

bool IsStreamed(const std::string& name) {
  std::error_code error;
  return fs::is_regular_file(name, error) && fs::file_size(name, error) > kLargestInMemory &&
         !error && name.find_first_of(kSpecialInNames) == std::string::npos;
}

// "[NAME=]PATH" into its parts. What has a separator in front of "=" is a path.
FormFile FormFileOf(const std::string& argument) {
  const auto equals = argument.find('=');
  const bool named = equals != std::string::npos && equals > 0 && argument.find('/') > equals;
  FormFile file;
  file.field = named ? argument.substr(0, equals) : kDefaultField;
  const std::string path = named ? argument.substr(equals + 1) : argument;
  file.file_name = path == kStandardInput ? "stdin" : fs::path(path).filename().string();
  file.content = ReadFile(path);
  return file;
}

}  // namespace

RequestBody TextBody(const std::string& argument, const std::string& content_type) {
  const bool is_file = !argument.empty() && argument.front() == '@';
  RequestBody body{is_file ? ReadFile(argument.substr(1)) : argument, content_type, ""};
  CheckSize(body);
  return body;
}

RequestBody FileBody(const std::string& name) {
  RequestBody body;
  if (IsStreamed(name)) {
    body.streamed_file = fs::absolute(name).string();
  } else {
    body.content = ReadFile(name);
  }
  CheckSize(body);
  return body;
}

RequestBody FormBody(const std::vector<std::string>& arguments) {
  std::vector<FormFile> files;
  files.reserve(arguments.size());
  for (const std::string& argument : arguments) files.push_back(FormFileOf(argument));
  RequestBody body = ComposeMultipart(files);
  CheckSize(body);
  return body;
}
