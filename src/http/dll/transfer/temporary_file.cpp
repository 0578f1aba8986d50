#include "transfer/temporary_file.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "platform/kernel32.h"

namespace qv {
namespace {

constexpr std::size_t kLongestName = 255;  // bytes of a name in its folder
constexpr unsigned char kContinuationMask = 0xC0;
constexpr unsigned char kContinuation = 0x80;

bool IsContinuation(char c) {
  return (static_cast<unsigned char>(c) & kContinuationMask) == kContinuation;
}

// The name with a suffix of its own, cut between two characters where both do not fit.
std::string NameBeside(const std::string& path) {
  char suffix[16];
  std::snprintf(suffix, sizeof(suffix), ".%lx", static_cast<unsigned long>(GetTickCount()));
  const std::string_view tail(suffix);
  const std::size_t separator = path.find_last_of("/\\");
  const std::size_t name = separator == path.npos ? 0 : separator + 1;
  std::size_t end = std::min(path.size(), name + kLongestName - tail.size());
  while (end > name && end < path.size() && IsContinuation(path[end])) --end;
  return path.substr(0, end).append(tail);
}

}  // namespace

Result<TemporaryFile> TemporaryFile::CreateFor(const std::string& path) {
  std::string name = NameBeside(path);
  Result<LocalFile> file = LocalFile::CreateNew(name);
  if (!file) return file.error();
  return TemporaryFile(std::move(name), *std::move(file));
}

TemporaryFile::~TemporaryFile() {
  if (path_.empty()) return;
  file_.Close();
  DeleteLocalFile(path_);
}

Error TemporaryFile::Replace(const std::string& path) {
  file_.Close();
  if (Error error = ReplaceLocalFile(path_, path)) return error;
  path_.clear();
  return kNoError;
}

}  // namespace qv
