// How failures travel inside the library.
//
// Internal functions return an Error (0 = success) or a Result with a value. Only the boundary of
// an exported function (frame/boundary.h) writes the thread's error slot.
#ifndef QV_FRAME_ERROR_H_
#define QV_FRAME_ERROR_H_

#include <cassert>
#include <optional>
#include <utility>

#include "qverror.h"
#include "qvplatform.h"

namespace qv {

// An error code of the library: 0, or 0x80040000 plus a number below 0x10000.
class [[nodiscard]] Error {
 public:
  constexpr Error() = default;
  constexpr Error(DWORD code) : code_(code) {}  // NOLINT(google-explicit-constructor)

  constexpr DWORD code() const { return code_; }
  constexpr explicit operator bool() const { return code_ != 0; }
  friend constexpr bool operator==(Error a, Error b) { return a.code_ == b.code_; }

 private:
  DWORD code_ = 0;
};

inline constexpr Error kNoError{};

// Facility bits that every code of the library carries.
inline constexpr DWORD kErrorBase = 0x80040000u;

// The error that a platform error number (of the socket interface, below 0x10000) stands for.
constexpr Error ErrorFromPlatform(DWORD number) {
  return Error(number == 0 ? 0 : number | kErrorBase);
}

// A value, or the reason why there is none. A Result can also fail with the error 0: the caller
// then reports failure and leaves the error slot as the interface says for "nothing there".
template <class T>
class [[nodiscard]] Result {
 public:
  Result(T value) : value_(std::move(value)) {}  // NOLINT(google-explicit-constructor)
  Result(Error error) : error_(error) {}         // NOLINT(google-explicit-constructor)

  bool ok() const { return value_.has_value(); }
  explicit operator bool() const { return ok(); }
  Error error() const { return error_; }
  const T& value() const { return *value_; }
  T& operator*() & { return *value_; }
  const T& operator*() const& { return *value_; }
  T&& operator*() && { return *std::move(value_); }
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }

 private:
  std::optional<T> value_;
  Error error_;
};

}  // namespace qv

#endif  // QV_FRAME_ERROR_H_
