#include "crypt32/names.h"

#include <openssl/asn1.h>
#include <openssl/objects.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string_view>

#include "crypt32/certificate.h"
#include "crypt32/guard.h"
#include "crypt32/text.h"

namespace platform::crypt32 {
namespace {

using NamePtr = std::unique_ptr<X509_NAME, OpenSslDelete<X509_NAME_free>>;

struct Label {
  int nid;
  std::string_view text;
};
constexpr std::array kLabels = {
    Label{NID_commonName, "CN"},
    Label{NID_countryName, "C"},
    Label{NID_stateOrProvinceName, "S"},
    Label{NID_localityName, "L"},
    Label{NID_organizationName, "O"},
    Label{NID_organizationalUnitName, "OU"},
    Label{NID_streetAddress, "STREET"},
    Label{NID_pkcs9_emailAddress, "E"},
    Label{NID_domainComponent, "DC"},
    Label{NID_surname, "SN"},
    Label{NID_givenName, "G"},
    Label{NID_initials, "I"},
    Label{NID_title, "T"},
    Label{NID_serialNumber, "SERIALNUMBER"},
};

std::string LabelOf(const ASN1_OBJECT* type) {
  const int nid = OBJ_obj2nid(type);
  const auto* const known = std::find_if(kLabels.begin(), kLabels.end(),
                                         [nid](const Label& label) { return label.nid == nid; });
  if (known != kLabels.end()) return std::string(known->text);
  constexpr std::size_t kMaxIdentifier = 128;
  char identifier[kMaxIdentifier] = {};
  OBJ_obj2txt(identifier, kMaxIdentifier, type, 1);
  return std::string("OID.") + identifier;
}

std::string ValueOf(const X509_NAME_ENTRY* entry) {
  unsigned char* bytes = nullptr;
  const int size = ASN1_STRING_to_UTF8(&bytes, X509_NAME_ENTRY_get_data(entry));
  if (size < 0) return {};
  std::string value(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
  OPENSSL_free(bytes);
  std::replace(value.begin(), value.end(), '\0', '?');  // or what is behind it would not be seen
  return value;
}

bool NeedsQuotes(const std::string& value) {
  constexpr std::string_view kSpecial = ",+=\"\n<>#;";
  return value.empty() || value.front() == ' ' || value.back() == ' ' ||
         value.find_first_of(kSpecial) != std::string::npos;
}

// In quotation marks, with those inside doubled, when it could be taken for something else.
std::string Quoted(const std::string& value) {
  if (!NeedsQuotes(value)) return value;
  std::string quoted = "\"";
  for (const char c : value) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}

// Puts a text, cut to the capacity and with a terminator, into the caller's buffer.
DWORD Deliver(const std::string& utf8, LPSTR text, DWORD capacity) {
  const std::string ansi = FromWide(ToWide(utf8, CP_UTF8), CP_ACP);
  const auto needed = static_cast<DWORD>(ansi.size() + 1);
  if (text == nullptr || capacity == 0) return needed;
  const DWORD copied = std::min(needed, capacity);
  std::memcpy(text, ansi.c_str(), copied - 1);
  text[copied - 1] = '\0';
  return copied;
}

}  // namespace

std::string NameText(const X509_NAME* name, NameForm form, const char* separator) {
  constexpr const char* kRelativeNameSeparator = ", ";
  std::string text;
  int previous_set = -1;
  for (int i = 0; i < X509_NAME_entry_count(name); ++i) {
    const X509_NAME_ENTRY* const entry = X509_NAME_get_entry(name, i);
    const int set = X509_NAME_ENTRY_set(entry);
    if (i != 0) text += set == previous_set ? separator : kRelativeNameSeparator;
    previous_set = set;
    if (form == NameForm::kX500) text += LabelOf(X509_NAME_ENTRY_get_object(entry)) + '=';
    text += Quoted(ValueOf(entry));
  }
  return text;
}

std::string DisplayName(const X509_NAME* name) {
  for (const int nid :
       {NID_commonName, NID_organizationalUnitName, NID_organizationName, NID_pkcs9_emailAddress}) {
    const int index = X509_NAME_get_index_by_NID(name, nid, -1);
    if (index >= 0) return ValueOf(X509_NAME_get_entry(name, index));
  }
  if (X509_NAME_entry_count(name) <= 0) return {};
  return ValueOf(X509_NAME_get_entry(name, 0));
}

DWORD WINAPI CertGetNameStringA(PCCERT_CONTEXT context, DWORD type, DWORD flags,
                                LPVOID /*type_parameter*/, LPSTR text, DWORD capacity) noexcept {
  return Guarded(DWORD{0}, [&]() -> DWORD {
    if (context == nullptr) return Deliver({}, text, capacity);
    const Certificate& certificate = *FromHandle(context)->certificate();
    const bool of_issuer = (flags & CERT_NAME_ISSUER_FLAG) != 0;
    const X509_NAME* const name = of_issuer ? X509_get_issuer_name(certificate.x509())
                                            : X509_get_subject_name(certificate.x509());
    if (type == CERT_NAME_FRIENDLY_DISPLAY_TYPE && !of_issuer &&
        !certificate.friendly_name().empty()) {
      return Deliver(FromWide(certificate.friendly_name(), CP_UTF8), text, capacity);
    }
    const bool displayed =
        type == CERT_NAME_SIMPLE_DISPLAY_TYPE || type == CERT_NAME_FRIENDLY_DISPLAY_TYPE;
    return Deliver(displayed ? DisplayName(name) : std::string(), text, capacity);
  });
}

DWORD WINAPI CertNameToStrA(DWORD /*encoding*/, PCERT_NAME_BLOB name, DWORD type, LPSTR text,
                            DWORD capacity) noexcept {
  return Guarded(DWORD{0}, [&]() -> DWORD {
    constexpr DWORD kFormMask = 0xFF;
    const DWORD form = type & kFormMask;
    if (name == nullptr || (form != CERT_SIMPLE_NAME_STR && form != CERT_X500_NAME_STR)) {
      return Deliver({}, text, capacity);
    }
    const unsigned char* bytes = name->pbData;
    const NamePtr decoded(d2i_X509_NAME(nullptr, &bytes, static_cast<long>(name->cbData)));
    if (decoded == nullptr) return Deliver({}, text, capacity);
    const bool plus = (type & CERT_NAME_STR_NO_PLUS_FLAG) == 0;
    return Deliver(
        NameText(decoded.get(), form == CERT_X500_NAME_STR ? NameForm::kX500 : NameForm::kValues,
                 plus ? " + " : " "),
        text, capacity);
  });
}

}  // namespace platform::crypt32
