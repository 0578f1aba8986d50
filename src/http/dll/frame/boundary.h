// The edge of the library: every exported function runs its body through one of these helpers.
//
// They turn the Error or Result of internal code into the function's failure value and write the
// thread's error slot, and they let no exception out.
#ifndef QV_FRAME_BOUNDARY_H_
#define QV_FRAME_BOUNDARY_H_

#include <new>
#include <type_traits>

#include "frame/error_slot.h"
#include "frame/session_table.h"

namespace qv {

// Runs body() -> Result<T>; a failure with an error sets the slot and returns `failure`.
template <class T, class Body>
T Boundary(T failure, Body&& body) noexcept {
  static_assert(std::is_same_v<std::invoke_result_t<Body>, Result<T>>);
  try {
    Result<T> result = body();
    if (result.ok()) return *result;
    if (result.error()) SetLastError(result.error());
  } catch (const std::bad_alloc&) {
    SetLastError(QV_ERROR_OUT_OF_MEMORY);
  } catch (...) {
    SetLastError(QV_ERROR_INTERNAL_FAILURE);
  }
  return failure;
}

// The same for a function on a session: body(Session&) -> Result<T> runs with the session that the
// calling thread may use (owner check).
template <class T, class Body>
T SessionBoundary(HCLIENT handle, T failure, Body&& body) noexcept {
  return Boundary<T>(failure, [&]() -> Result<T> {
    Result<SessionRef> session = SessionTable::Get().Validate(handle);
    if (!session) return session.error();
    return body(**session);
  });
}

// Runs body() -> T of a function that converts text and calls its twin, which reports for itself.
template <class T, class Body>
T TwinBoundary(T failure, Body&& body) noexcept {
  return Boundary<T>(failure, [&]() -> Result<T> { return body(); });
}

}  // namespace qv

#endif  // QV_FRAME_BOUNDARY_H_
