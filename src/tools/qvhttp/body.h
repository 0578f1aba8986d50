#ifndef TOOLS_QVHTTP_BODY_H_
#define TOOLS_QVHTTP_BODY_H_

#include <cstdint>
#include <functional>
#include <string_view>

#include "progress.h"
#include "session.h"

using BodySink = std::function<void(std::string_view)>;

// Hands the body of the response to `sink`, whole: a body that ends early throws Failure. `present`
// bytes of the resource were there before.
void CopyBody(Session& session, Progress& progress, std::uint64_t present, const BodySink& sink);

#endif  // TOOLS_QVHTTP_BODY_H_
