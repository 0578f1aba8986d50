#include "client_certificate.h"

#include <openssl/bio.h>
#include <openssl/pkcs12.h>
#include <openssl/rand.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <system_error>
#include <utility>

#include "certificate_file.h"
#include "failure.h"

namespace {

[[noreturn]] void OutOfResources() {
  throw Failure(ExitCode::kFailure, "cannot prepare the client certificate");
}

// What follows a colon is the password, where only so the rest names a file.
std::pair<std::string, std::string> SplitArgument(const std::string& argument) {
  std::error_code ignored;
  auto colon = std::string::npos;
  do {
    const std::string name = argument.substr(0, colon);
    if (std::filesystem::is_regular_file(name, ignored)) {
      return {name, colon == std::string::npos ? std::string() : argument.substr(colon + 1)};
    }
    colon = argument.find(':', colon == std::string::npos ? 0 : colon + 1);
  } while (colon != std::string::npos);
  throw Failure(ExitCode::kFailure,
                "--cert: cannot read the file " + argument.substr(0, argument.find(':')));
}

std::string RandomPassword() {
  constexpr const char* kDigits = "0123456789abcdef";
  std::array<unsigned char, 16> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) OutOfResources();
  std::string password;
  for (const unsigned char byte : bytes) password.append({kDigits[byte >> 4], kDigits[byte & 15]});
  return password;
}

std::string Pack(const CertificateWithKey& identity, const std::string& password) {
  // The file is not stored, so it needs no slow derivation of its key.
  constexpr int kIterations = 1;
  const std::unique_ptr<PKCS12, FreeWith<PKCS12_free>> packed(PKCS12_create(
      password.c_str(), ClientCertificate::kName, identity.key.get(), identity.certificate.get(),
      identity.issuers.get(), 0, 0, kIterations, kIterations, 0));
  const std::unique_ptr<BIO, FreeWith<BIO_free>> memory(BIO_new(BIO_s_mem()));
  if (packed == nullptr || memory == nullptr || i2d_PKCS12_bio(memory.get(), packed.get()) != 1) {
    OutOfResources();
  }
  char* bytes = nullptr;
  const long length = BIO_get_mem_data(memory.get(), &bytes);
  return std::string(bytes, static_cast<std::size_t>(length));
}

}  // namespace

ClientCertificate::ClientCertificate(const std::string& argument) : password_(RandomPassword()) {
  const auto [name, password] = SplitArgument(argument);
  const std::string content = Pack(ReadCertificateFile(name, password), password_);
  file_ = memfd_create("qvhttp-certificate", MFD_CLOEXEC);
  if (file_ < 0) OutOfResources();
  if (write(file_, content.data(), content.size()) != static_cast<ssize_t>(content.size())) {
    close(file_);
    OutOfResources();
  }
}

ClientCertificate::~ClientCertificate() { close(file_); }
