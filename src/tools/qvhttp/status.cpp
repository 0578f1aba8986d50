#include "status.h"

#include <iostream>

namespace {

constexpr int kNoContent = 204;
constexpr int kNotModified = 304;

std::string Sentence(const Answer& answer) {
  return "the server answered: " + std::to_string(answer.status) + " " +
         answer.session->ReasonPhrase();
}

}  // namespace

bool StatusHasBody(int status) {
  return status >= 200 && status != kNoContent && status != kNotModified;
}

bool IsSuccess(int status) { return status >= 200 && status <= 299; }

bool IsRedirect(int status) {
  return (status >= 301 && status <= 303) || status == 307 || status == 308;
}

ExitCode ExitCodeOfStatus(int status) {
  if (IsRedirect(status)) return ExitCode::kRedirectStatus;
  if (status >= 500) return ExitCode::kServerStatus;
  return status >= 400 ? ExitCode::kClientStatus : ExitCode::kSuccess;
}

ExitCode ReportStatus(const Answer& answer) {
  if (IsSuccess(answer.status)) return ExitCode::kSuccess;
  std::cerr << "qvhttp: " << Sentence(answer) << '\n';
  if (IsRedirect(answer.status)) std::cerr << "qvhttp: " << answer.redirect_note << '\n';
  return ExitCodeOfStatus(answer.status);
}

Failure StatusFailure(const Answer& answer) {
  std::string sentence = Sentence(answer);
  if (IsRedirect(answer.status)) sentence += ", " + answer.redirect_note;
  const ExitCode code = ExitCodeOfStatus(answer.status);
  return Failure(code == ExitCode::kSuccess ? ExitCode::kFailure : code, sentence);
}
