// Errors of OpenSSL that belong to the application.
#include <new>

#include "crypt32/openssl_ptr.h"

namespace platform::crypt32 {

void ErrorQueueGuard::PutAside() noexcept {
  const char* file = nullptr;
  const char* function = nullptr;
  const char* data = nullptr;
  int line = 0;
  int flags = 0;
  try {
    while (const unsigned long code = ERR_get_error_all(&file, &line, &function, &data, &flags)) {
      const bool has_text = (flags & ERR_TXT_STRING) != 0;
      aside_.push_back({code, file, line, function, has_text ? data : ""});
    }
  } catch (const std::bad_alloc&) {
    ERR_clear_error();
  }
}

void ErrorQueueGuard::PutBack() noexcept {
  for (const Entry& entry : aside_) {
    ERR_new();
    ERR_set_debug(entry.file.c_str(), entry.line, entry.function.c_str());
    ERR_set_error(ERR_GET_LIB(entry.code), ERR_GET_REASON(entry.code), "%s", entry.data.c_str());
  }
}

}  // namespace platform::crypt32
