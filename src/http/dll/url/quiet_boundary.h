// The edge of the exported functions whose result is their only report.
#ifndef QV_URL_QUIET_BOUNDARY_H_
#define QV_URL_QUIET_BOUNDARY_H_

namespace qv {

// Runs body() -> T. The error slot stays as it is; `failure` stands for an exception, too.
template <class T, class Body>
T QuietBoundary(T failure, Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return failure;
  }
}

}  // namespace qv

#endif  // QV_URL_QUIET_BOUNDARY_H_
