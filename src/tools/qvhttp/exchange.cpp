#include "exchange.h"

#include <iostream>

#include "redirect.h"
#include "status.h"

namespace {

// The next request of a redirect, or the note why there is none.
std::optional<Request> NextRequest(const Options& options, Answer& answer,
                                   unsigned int redirect_count) {
  const HeaderList headers = answer.session->Headers(HTTP_HEADERS_RESPONSE);
  const std::string location = FindField(headers, "Location").value_or("");
  if (location.empty()) {
    answer.redirect_note = "the redirect names no location";
    return std::nullopt;
  }
  if (!options.follow) {
    answer.redirect_note = "redirects are not followed: " + location + " (--follow does)";
    return std::nullopt;
  }
  if (redirect_count == options.max_redirects) {
    answer.redirect_note =
        "more than " + std::to_string(redirect_count) + " redirects, the next to " + location;
    return std::nullopt;
  }
  auto next = RedirectedRequest(answer.session->request(), answer.status, location, options.url);
  if (!next) answer.redirect_note = "redirected to what is no http or https URL: " + location;
  return next;
}

}  // namespace

Answer Ask(const Options& options, Request request, Progress& progress) {
  for (unsigned int redirect_count = 0;;) {
    Answer answer;
    answer.session = std::make_unique<Session>(options, request, progress);
    answer.status = answer.session->Send();
    if (answer.session->MustAskPlainly()) {
      request.decodes = false;
      continue;
    }
    if (!IsRedirect(answer.status)) return answer;
    auto next = NextRequest(options, answer, redirect_count);
    if (!next) return answer;
    if (options.verbose) std::cerr << "* redirected to " << next->url << '\n';
    request = *std::move(next);
    ++redirect_count;
  }
}
