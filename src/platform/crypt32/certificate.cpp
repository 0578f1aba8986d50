#include "crypt32/certificate.h"

#include <algorithm>
#include <ctime>
#include <new>

namespace platform::crypt32 {
namespace {

std::vector<BYTE> Encode(X509* certificate) {
  unsigned char* bytes = nullptr;
  const int size = i2d_X509(certificate, &bytes);
  if (size < 0) throw std::bad_alloc();
  std::vector<BYTE> encoded(bytes, bytes + size);
  OPENSSL_free(bytes);
  return encoded;
}

std::vector<BYTE> SerialNumber(X509* certificate) {
  const ASN1_INTEGER* const serial = X509_get0_serialNumber(certificate);
  const unsigned char* const bytes = ASN1_STRING_get0_data(serial);
  std::vector<BYTE> reversed(bytes, bytes + ASN1_STRING_length(serial));
  std::reverse(reversed.begin(), reversed.end());
  return reversed;
}

// The encoding lives as long as the certificate.
CERT_NAME_BLOB NameBlob(const X509_NAME* name) {
  const unsigned char* bytes = nullptr;
  std::size_t size = 0;
  if (X509_NAME_get0_der(name, &bytes, &size) != 1) return {};
  return {static_cast<DWORD>(size), const_cast<BYTE*>(bytes)};
}

FILETIME FileTime(const ASN1_TIME* time) {
  constexpr LONGLONG kSecondsFrom1601To1970 = 11644473600;
  constexpr LONGLONG kUnitsPerSecond = 10000000;
  constexpr unsigned kHighShift = 32;
  tm parts{};
  if (ASN1_TIME_to_tm(time, &parts) != 1) return {};
  const LONGLONG seconds = timegm(&parts) + kSecondsFrom1601To1970;
  const auto units = static_cast<ULONGLONG>(std::max<LONGLONG>(seconds, 0) * kUnitsPerSecond);
  return {static_cast<DWORD>(units), static_cast<DWORD>(units >> kHighShift)};
}

}  // namespace

CertificateContext::CertificateContext(StoreRef store, std::size_t index)
    : CERT_CONTEXT{}, store_{std::move(store)}, index_(index) {
  X509* const x509 = certificate()->x509();
  encoded_ = Encode(x509);
  serial_ = SerialNumber(x509);
  info_.dwVersion = static_cast<DWORD>(X509_get_version(x509));
  info_.SerialNumber = {static_cast<DWORD>(serial_.size()), serial_.data()};
  info_.Issuer = NameBlob(X509_get_issuer_name(x509));
  info_.NotBefore = FileTime(X509_get0_notBefore(x509));
  info_.NotAfter = FileTime(X509_get0_notAfter(x509));
  info_.Subject = NameBlob(X509_get_subject_name(x509));

  dwCertEncodingType = X509_ASN_ENCODING;
  pbCertEncoded = encoded_.data();
  cbCertEncoded = static_cast<DWORD>(encoded_.size());
  pCertInfo = &info_;
  hCertStore = &store_;
}

PCCERT_CONTEXT NewContext(CertificateList certificates) {
  if (certificates.empty()) return nullptr;
  auto store = std::make_shared<const CertificateList>(std::move(certificates));
  return new CertificateContext(std::move(store), 0);
}

}  // namespace platform::crypt32
