#include "status.h"

#include <iostream>

namespace {

constexpr int kNoContent = 204;
constexpr int kNotModified = 304;

}  // namespace

bool StatusHasBody(int status) {
  return status >= 200 && status != kNoContent && status != kNotModified;
}

bool IsSuccess(int status) { return status >= 200 && status <= 299; }

bool IsRedirect(int status) {
  return (status >= 301 && status <= 303) || status == 307 || status == 308;
}

ExitCode ReportStatus(const Answer& answer) {
  const int status = answer.status;
  if (IsSuccess(status)) return ExitCode::kSuccess;
  std::cerr << "qvhttp: the server answered: " << status << ' ' << answer.session->ReasonPhrase()
            << '\n';
  if (IsRedirect(status)) {
    std::cerr << "qvhttp: " << answer.redirect_note << '\n';
    return ExitCode::kRedirectStatus;
  }
  if (status >= 500) return ExitCode::kServerStatus;
  return status >= 400 ? ExitCode::kClientStatus : ExitCode::kSuccess;
}
