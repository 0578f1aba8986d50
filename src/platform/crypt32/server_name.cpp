#include "crypt32/server_name.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "crypt32/text.h"

namespace platform::crypt32 {
namespace {

std::optional<std::string> Ipv6Address(std::string_view name) {
  if (name.size() >= 2 && name.front() == '[' && name.back() == ']') {
    name = name.substr(1, name.size() - 2);
  }
  const std::string address(name.substr(0, name.find('%')));  // the zone is no part of it
  in6_addr binary{};
  if (inet_pton(AF_INET6, address.c_str(), &binary) != 1) return std::nullopt;
  return address;
}

// In all forms that name resolution takes for an address: "127.1" is one.
std::optional<std::string> Ipv4Address(const std::string& name) {
  in_addr binary{};
  if (name.empty() || inet_aton(name.c_str(), &binary) == 0) return std::nullopt;
  std::array<char, INET_ADDRSTRLEN> text{};
  inet_ntop(AF_INET, &binary, text.data(), text.size());
  return text.data();
}

std::string AsciiForm(const std::string& name) {
  using IdnToAsciiFn = int(WINAPI*)(DWORD, LPCWSTR, int, LPWSTR, int) noexcept;
  constexpr int kMaxName = 256;
  static const FARPROC found = GetProcAddress(LoadLibraryA("normaliz.dll"), "IdnToAscii");
  if (found == nullptr) return {};
  const auto to_ascii = reinterpret_cast<IdnToAsciiFn>(reinterpret_cast<void (*)()>(found));
  const std::u16string wide = ToWide(name, CP_UTF8);
  std::array<WCHAR, kMaxName> ascii{};
  const int length =
      to_ascii(0, wide.data(), static_cast<int>(wide.size()), ascii.data(), kMaxName);
  return FromWide({ascii.data(), static_cast<std::size_t>(std::max(length, 0))}, CP_UTF8);
}

}  // namespace

ServerName ParseServerName(std::string name) {
  if (auto address = Ipv6Address(name)) return {std::move(*address), true};
  if (!name.empty() && name.back() == '.') name.pop_back();
  if (auto address = Ipv4Address(name)) return {std::move(*address), true};
  const bool is_ascii = std::none_of(name.begin(), name.end(),
                                     [](char c) { return static_cast<signed char>(c) < 0; });
  return {is_ascii ? std::move(name) : AsciiForm(name), false};
}

}  // namespace platform::crypt32
