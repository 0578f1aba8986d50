#include "transport/host_name.h"

#include <algorithm>

#include "frame/text.h"
#include "frame/wide.h"
#include "platform/kernel32.h"
#include "transport/address.h"
#include "transport/socket_binding.h"

namespace qv {
namespace {

constexpr unsigned char kLastBlank = 32;
constexpr int kWideCapacity = static_cast<int>(kMaxHostName);

bool IsBlank(char c) { return static_cast<unsigned char>(c) <= kLastBlank; }

// A character of the text form of an address, in lower case.
bool IsAddressCharacter(char c) {
  return c == '.' || c == ':' || IsDigit(c) || (c >= 'a' && c <= 'f');
}

bool IsNameCharacter(char c) {
  const char lower = ToLower(c);
  return c == '-' || IsDigit(c) || (lower >= 'a' && lower <= 'z');
}

// The bytes of the UTF-8 sequence of two to four bytes at the start of a text, 0 when there is
// none.
std::size_t Utf8SequenceLength(std::string_view text) {
  struct Lead {
    unsigned char mask, value;
    std::size_t length;
  };
  constexpr Lead kLeads[] = {{0xE0, 0xC0, 2}, {0xF0, 0xE0, 3}, {0xF8, 0xF0, 4}};
  constexpr unsigned char kFollowMask = 0xC0;
  constexpr unsigned char kFollowValue = 0x80;
  for (const Lead& lead : kLeads) {
    if ((static_cast<unsigned char>(text.front()) & lead.mask) != lead.value) continue;
    if (text.size() < lead.length) return 0;
    const std::string_view following = text.substr(1, lead.length - 1);
    const bool well_formed = std::all_of(following.begin(), following.end(), [](char c) {
      return (static_cast<unsigned char>(c) & kFollowMask) == kFollowValue;
    });
    return well_formed ? lead.length : 0;
  }
  return 0;
}

// Between the blanks around a name, which also end it.
std::string_view BlankDelimited(const char* name) {
  std::string_view text(name);
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  const auto end = std::find_if(text.begin(), text.end(), IsBlank);
  return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

// The canonical form of a name that is an address.
std::optional<std::string> CanonicalAddress(const std::string& text) {
  if (!std::all_of(text.begin(), text.end(), IsAddressCharacter)) return std::nullopt;
  for (int family : {ws2::kFamilyInet, ws2::kFamilyInet6}) {
    InternetAddress address;
    if (AddressFromText(family, text.c_str(), address.bytes) == 1) {
      return AddressToText(family, address.bytes);
    }
  }
  return std::nullopt;
}

bool HasHostLength(std::string_view name) {
  return name.size() >= kMinHostName && name.size() <= kMaxHostName;
}

// One conversion of the name functions, from and to at most kMaxHostName characters.
template <typename Convert>
std::optional<std::u16string> ConvertWide(Convert convert, const std::u16string& source) {
  std::u16string target(kMaxHostName, u'\0');
  const int length =
      convert(0, source.data(), static_cast<int>(source.size()), target.data(), kWideCapacity);
  if (length <= 0) return std::nullopt;
  target.resize(static_cast<std::size_t>(length));
  return target;
}

}  // namespace

bool CheckHostSyntax(std::string_view name) {
  if (!HasHostLength(name) || name.front() == '-' || name.front() == '.') return false;
  const bool beyond_ascii = IdnAvailable();
  std::size_t label = 0;
  while (!name.empty()) {
    const char c = name.front();
    std::size_t consumed = 1;
    if (c == '.') {
      label = 0;
    } else if (IsNameCharacter(c)) {
      if (++label > kMaxLabel) return false;
    } else {
      // The converted form decides about the length of such a label.
      consumed = beyond_ascii ? Utf8SequenceLength(name) : 0;
      if (consumed == 0) return false;
    }
    name.remove_prefix(consumed);
  }
  return true;
}

std::optional<std::string> NormalizeHost(const char* name) {
  if (name == nullptr) return std::nullopt;
  const std::string_view trimmed = BlankDelimited(name);
  if (trimmed.size() > kMaxHostName) return std::nullopt;
  std::string host = ToLowerCopy(trimmed);
  if (!host.empty() && host.back() == '.') host.pop_back();
  if (host.size() < kMinHostName) return std::nullopt;

  if (std::optional<std::string> address = CanonicalAddress(host)) return address;
  if (!CheckHostSyntax(host)) return std::nullopt;
  if (!IdnAvailable()) return host;
  std::optional<std::string> ascii = ToAsciiName(host);
  if (!ascii || !HasHostLength(*ascii)) return std::nullopt;
  return ascii;
}

std::optional<std::string> ToAsciiName(std::string_view name) {
  if (!IdnAvailable()) return std::nullopt;
  const std::optional<std::u16string> wide = WideFromUtf8Strict(name);
  if (!wide || wide->empty() || wide->size() > kMaxHostName) return std::nullopt;

  const NameConversionApi& api = NameConversion();
  const std::optional<std::u16string> prepared = ConvertWide(api.IdnToNameprepUnicode, *wide);
  if (!prepared) return std::nullopt;
  const std::optional<std::u16string> encoded = ConvertWide(api.IdnToAscii, *prepared);
  if (!encoded) return std::nullopt;

  std::string ascii(kMaxHostName, '\0');
  const int length =
      WideCharToMultiByte(CP_US_ASCII, 0, encoded->data(), static_cast<int>(encoded->size()),
                          ascii.data(), kWideCapacity, nullptr, nullptr);
  if (length <= 0) return std::nullopt;
  ascii.resize(static_cast<std::size_t>(length));
  return ascii;
}

}  // namespace qv
