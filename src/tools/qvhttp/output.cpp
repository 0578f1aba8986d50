#include "output.h"

#include <cerrno>
#include <cstring>
#include <random>
#include <system_error>
#include <utility>

#include "failure.h"

namespace fs = std::filesystem;

namespace {

constexpr int kMaxNameAttempts = 16;

bool IsStandardOutput(const std::string& name) { return name.empty() || name == "-"; }

}  // namespace

bool IsReplaceableFile(const std::string& name) {
  std::error_code ignored;
  const fs::file_status status = fs::status(name, ignored);
  return !IsStandardOutput(name) && (!fs::exists(status) || fs::is_regular_file(status));
}

Output::Output(const std::string& name) {
  if (IsStandardOutput(name)) {
    file_ = stdout;
    return;
  }
  target_ = name;
  if (IsReplaceableFile(name)) {
    // Through a link, it is the file behind it that gets replaced.
    if (fs::exists(target_)) target_ = fs::canonical(target_);
    OpenTemporaryFile();
  } else {
    file_ = std::fopen(target_.c_str(), "wb");
  }
  if (file_ == nullptr) Fail();
}

Output::~Output() {
  if (file_ != nullptr && file_ != stdout) std::fclose(file_);
  std::error_code ignored;
  if (!temporary_.empty()) fs::remove(temporary_, ignored);
}

void Output::OpenTemporaryFile() {
  std::random_device random;
  for (int attempt = 0; attempt < kMaxNameAttempts && file_ == nullptr; ++attempt) {
    fs::path candidate = target_;
    candidate += "." + std::to_string(random()) + ".part";
    file_ = std::fopen(candidate.c_str(), "wbx");  // never an existing file
    if (file_ != nullptr) {
      temporary_ = std::move(candidate);
    } else if (errno != EEXIST) {
      return;
    }
  }
}

void Output::Write(std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) Fail();
}

void Output::Finish() {
  if (file_ == stdout) {
    if (std::fflush(stdout) != 0) Fail();
    return;
  }
  std::FILE* file = std::exchange(file_, nullptr);
  if (std::fclose(file) != 0) Fail();
  if (temporary_.empty()) return;
  std::error_code error;
  fs::rename(temporary_, target_, error);
  if (error) {
    errno = error.value();
    Fail();
  }
  temporary_.clear();
}

void Output::Fail() const {
  const std::string reason = std::strerror(errno);
  throw Failure(
      ExitCode::kFailure,
      "cannot write " + (target_.empty() ? "the output" : target_.string()) + ": " + reason);
}
