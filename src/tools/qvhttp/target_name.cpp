#include "target_name.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "url_parts.h"

namespace {

constexpr const char* kNameOfFolder = "index.html";  // of a URL that ends in "/"
// Leaves room for a number, and for what the partial file's name adds, in the 255 bytes of most
// file systems.
constexpr std::size_t kMaxBytes = 200;

std::string Unescape(std::string_view text) {
  const auto digit = [](char c) {
    return c <= '9' ? c - '0' : std::tolower(static_cast<unsigned char>(c)) - 'a' + 10;
  };
  const auto is_digit = [&](std::size_t i) {
    return i < text.size() && std::isxdigit(static_cast<unsigned char>(text[i])) != 0;
  };
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && is_digit(i + 1) && is_digit(i + 2)) {
      plain += static_cast<char>(digit(text[i + 1]) * 16 + digit(text[i + 2]));
      i += 2;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

bool IsHarmless(char c) {
  constexpr char kDelete = 0x7F;
  return c != '/' && c != '\\' && c != kDelete && (c < 0 || c >= ' ');
}

// Cuts within a character of UTF-8 leave none of it.
void CutTo(std::string& text, std::size_t size) {
  if (text.size() <= size) return;
  while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) --size;
  text.resize(size);
}

std::string SafeName(const std::string& url) {
  const UrlParts parts = ParseRequestUrl(url);
  const std::string path = parts->lpszResource;
  std::string name = Unescape(std::string_view(path).substr(path.rfind('/') + 1));
  std::replace_if(
      name.begin(), name.end(), [](char c) { return !IsHarmless(c); }, '_');
  if (name.empty()) name = kNameOfFolder;
  if (name.front() == '.') name.front() = '_';
  CutTo(name, kMaxBytes);
  return name;
}

}  // namespace

std::string TargetNames::ForUrl(const std::string& url) {
  const std::string name = SafeName(url);
  const auto dot = name.rfind('.');
  std::string candidate = name;
  for (unsigned int number = 2; !Take(candidate); ++number) {
    candidate = name.substr(0, dot) + "-" + std::to_string(number);
    if (dot != std::string::npos) candidate += name.substr(dot);
  }
  return candidate;
}

bool IsPlainName(const std::string& name) {
  return !name.empty() && name.front() != '.' && name.size() <= kMaxBytes &&
         std::all_of(name.begin(), name.end(), IsHarmless);
}
