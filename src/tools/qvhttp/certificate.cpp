#include <array>
#include <cstdio>
#include <iostream>

#include "commands.h"
#include "connection.h"
#include "failure.h"
#include "interrupt.h"
#include "library_scope.h"
#include "text.h"
#include "url_parts.h"

namespace {

struct Name {
  DWORD value;
  const char* text;
};

constexpr Name kProtocols[] = {{SECURITY_PROTOCOL_TLS10, "TLS 1.0"},
                               {SECURITY_PROTOCOL_TLS11, "TLS 1.1"},
                               {SECURITY_PROTOCOL_TLS12, "TLS 1.2"},
                               {SECURITY_PROTOCOL_TLS13, "TLS 1.3"}};
constexpr Name kCiphers[] = {
    {SECURITY_CIPHER_RC4, "RC4"}, {SECURITY_CIPHER_3DES, "3DES"}, {SECURITY_CIPHER_AES, "AES"}};
constexpr Name kHashes[] = {{SECURITY_HASH_MD5, "MD5"},
                            {SECURITY_HASH_SHA1, "SHA-1"},
                            {SECURITY_HASH_SHA256, "SHA-256"},
                            {SECURITY_HASH_SHA384, "SHA-384"},
                            {SECURITY_HASH_SHA512, "SHA-512"}};
constexpr Name kKeyExchanges[] = {
    {SECURITY_KEYEX_RSA, "RSA"}, {SECURITY_KEYEX_DH, "DH"}, {SECURITY_KEYEX_ECDH, "ECDH"}};

template <std::size_t kCount>
const char* NameOf(const Name (&names)[kCount], DWORD value) {
  for (const Name& name : names) {
    if (name.value == value) return name.text;
  }
  return "other";
}

std::string WithBits(const char* name, DWORD bits) {
  return bits == 0 ? name : std::string(name) + ", " + std::to_string(bits) + " bits";
}

std::string Time(const SYSTEMTIME& time) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04u-%02u-%02u %02u:%02u:%02u UTC",
                static_cast<unsigned int>(time.wYear), static_cast<unsigned int>(time.wMonth),
                static_cast<unsigned int>(time.wDay), static_cast<unsigned int>(time.wHour),
                static_cast<unsigned int>(time.wMinute), static_cast<unsigned int>(time.wSecond));
  return text.data();
}

void PrintLine(const char* name, const std::string& value) {
  constexpr std::size_t kValueColumn = 14;
  std::string label = std::string(name) + ":";
  label.resize(kValueColumn, ' ');
  std::cout << label << PrintableText(value) << '\n';
}

void PrintText(const char* name, LPCSTR value) {
  if (value != nullptr) PrintLine(name, value);
}

void Print(const SECURITYINFOA& info, const std::string& fault) {
  PrintLine("protocol", NameOf(kProtocols, info.dwProtocol));
  PrintLine("cipher", WithBits(NameOf(kCiphers, info.dwCipher), info.dwCipherStrength));
  PrintLine("hash", WithBits(NameOf(kHashes, info.dwHash), info.dwHashStrength));
  PrintLine("key exchange", NameOf(kKeyExchanges, info.dwKeyExchange));
  PrintText("subject", info.lpszCertSubject);
  PrintText("issuer", info.lpszCertIssuer);
  PrintLine("valid from", Time(info.stCertIssued));
  PrintLine("valid until", Time(info.stCertExpires));
  PrintText("fingerprint", info.lpszFingerprint);
  PrintLine("status", fault.empty() ? "valid" : "not valid: " + fault);
  if (!std::cout.flush()) throw Failure(ExitCode::kFailure, "cannot write the output");
}

}  // namespace

ExitCode RunCertificate(const Options& options) {
  const UrlParts parts = ParseRequestUrl(options.url);
  if (parts->nScheme != HTTP_SCHEME_HTTPS) {
    throw Failure(ExitCode::kUsage, options.url + ": only an https URL leads to a certificate");
  }
  const LibraryScope library;
  const ConnectingScope connecting;
  const HCLIENT client = ConnectUnchecked(*parts, options, true);
  SECURITYINFOA info{};
  info.dwSize = sizeof(info);
  if (!HttpGetSecurityInformationA(client, &info)) {
    throw LibraryFailure(ExitCode::kFailure, HostAndPort(*parts));
  }
  const std::string fault = CertificateFaultText(info.dwCertStatus);
  Print(info, fault);
  if (fault.empty() || options.tls.insecure) return ExitCode::kSuccess;
  throw Failure(ExitCode::kConnect, "cannot trust " + HostAndPort(*parts) + ": " + fault);
}
