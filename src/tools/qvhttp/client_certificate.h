#ifndef TOOLS_QVHTTP_CLIENT_CERTIFICATE_H_
#define TOOLS_QVHTTP_CLIENT_CERTIFICATE_H_

#include <string>

// A certificate with its key and issuers from a PEM or PKCS #12 file, in the form that the library
// takes: a PKCS #12 file in memory, with a password and a name known to nobody else.
class ClientCertificate {
 public:
  // Loads "FILE[:PASSWORD]". Throws Failure.
  explicit ClientCertificate(const std::string& argument);
  ~ClientCertificate();
  ClientCertificate(const ClientCertificate&) = delete;
  ClientCertificate& operator=(const ClientCertificate&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(file_); }
  const std::string& password() const { return password_; }
  static constexpr const char* kName = "qvhttp client certificate";

 private:
  int file_ = -1;
  std::string password_;
};

#endif  // TOOLS_QVHTTP_CLIENT_CERTIFICATE_H_
