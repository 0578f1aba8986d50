// The public record of credentials: building, freeing and converting it.
#ifndef QV_TLS_CREDENTIALS_RECORD_H_
#define QV_TLS_CREDENTIALS_RECORD_H_

#include "frame/secret.h"
#include "frame/wide.h"
#include "qvhttp12.h"

namespace qv {

// One block with the record and its texts, to be given back with FreeCredentials; NULL when there
// is not enough memory.
SECURITYCREDENTIALSA* CopyCredentials(const SECURITYCREDENTIALSA& record);
SECURITYCREDENTIALSW* CopyCredentials(const SECURITYCREDENTIALSW& record);

// Leaves nothing of the texts in memory. NULL is allowed.
void FreeCredentials(void* record);

// The narrow form of a record; its texts live as long as it does.
class NarrowCredentials {
 public:
  explicit NarrowCredentials(const SECURITYCREDENTIALSW& wide)
      : host_(wide.lpszHostName),
        user_(wide.lpszUserName),
        password_(Utf8FromWide(wide.lpszPassword != nullptr ? wide.lpszPassword : u"")),
        store_(wide.lpszCertStore),
        name_(wide.lpszCertName),
        key_(wide.lpszKeyFile),
        record_{sizeof(record_),
                wide.dwProtocol,
                wide.dwOptions,
                wide.dwReserved,
                host_,
                user_,
                wide.lpszPassword != nullptr ? password_.text().c_str() : nullptr,
                store_,
                name_,
                key_} {}

  SECURITYCREDENTIALSA* get() { return &record_; }

 private:
  NarrowText host_, user_;
  Secret password_;
  NarrowText store_, name_, key_;
  SECURITYCREDENTIALSA record_;
};

}  // namespace qv

#endif  // QV_TLS_CREDENTIALS_RECORD_H_
