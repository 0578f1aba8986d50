#include "failure.h"

#include <array>
#include <cstdio>

#include "qvhttp12.h"

namespace {

constexpr std::size_t kMaxErrorText = 256;

}  // namespace

std::string ErrorText(unsigned int error) {
  std::array<char, kMaxErrorText> text{};
  if (HttpGetErrorStringA(error, text.data(), static_cast<INT>(text.size())) > 0) {
    return text.data();
  }
  std::snprintf(text.data(), text.size(), "error 0x%08X", error);
  return text.data();
}

Failure LibraryFailure(ExitCode code, const std::string& what) {
  const DWORD error = HttpGetLastError();
  if (error == QV_ERROR_OPERATION_TIMEOUT) code = ExitCode::kTimeout;
  return Failure(code, what + ": " + ErrorText(error));
}
