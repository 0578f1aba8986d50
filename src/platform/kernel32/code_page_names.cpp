#include "kernel32/code_page_names.h"

#include <algorithm>
#include <iterator>

namespace platform {
namespace {

struct CodePageName {
  UINT code_page;
  const char* name;
};

// The first entry of a name is the code page that a locale of that character set has.
constexpr CodePageName kCodePages[] = {
    {437, "CP437"},         {850, "CP850"},          {852, "CP852"},
    {866, "CP866"},         {874, "CP874"},          {932, "CP932"},
    {936, "GBK"},           {949, "CP949"},          {950, "CP950"},
    {1250, "CP1250"},       {1251, "CP1251"},        {1252, "CP1252"},
    {1253, "CP1253"},       {1254, "CP1254"},        {1255, "CP1255"},
    {1256, "CP1256"},       {1257, "CP1257"},        {1258, "CP1258"},
    {20127, "US-ASCII"},    {20866, "KOI8-R"},       {20932, "EUC-JP"},
    {20936, "EUC-CN"},      {21866, "KOI8-U"},       {28591, "ISO-8859-1"},
    {28592, "ISO-8859-2"},  {28593, "ISO-8859-3"},   {28594, "ISO-8859-4"},
    {28595, "ISO-8859-5"},  {28596, "ISO-8859-6"},   {28597, "ISO-8859-7"},
    {28598, "ISO-8859-8"},  {28599, "ISO-8859-9"},   {28600, "ISO-8859-10"},
    {28601, "ISO-8859-11"}, {28603, "ISO-8859-13"},  {28604, "ISO-8859-14"},
    {28605, "ISO-8859-15"}, {50220, "ISO-2022-JP"},  {50221, "ISO-2022-JP"},
    {50222, "ISO-2022-JP"}, {50225, "ISO-2022-KR"},  {50227, "ISO-2022-CN"},
    {51932, "EUC-JP"},      {51936, "EUC-CN"},       {51949, "EUC-KR"},
    {52936, "HZ"},          {CP_GB18030, "GB18030"}, {CP_UTF7, "UTF-7"},
    {CP_UTF8, "UTF-8"},
};

// Names that locales use beside those of the table.
constexpr CodePageName kAliases[] = {
    {932, "SJIS"}, {932, "SHIFT_JIS"}, {950, "BIG5"}, {20936, "GB2312"}, {874, "TIS-620"},
};

constexpr UINT kFlagsRefused[] = {50220, 50221, 50222, 50225, 50227, 50229, 52936, CP_UTF7};

bool IsNameCharacter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
}

// Compares letters and digits only, without case: "utf8" is "UTF-8".
bool SameName(std::string_view left, std::string_view right) {
  const auto next = [](std::string_view text, size_t position) {
    while (position < text.size() && !IsNameCharacter(text[position])) ++position;
    return position;
  };
  const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; };
  size_t at_left = next(left, 0);
  size_t at_right = next(right, 0);
  while (at_left < left.size() && at_right < right.size()) {
    if (upper(left[at_left]) != upper(right[at_right])) return false;
    at_left = next(left, at_left + 1);
    at_right = next(right, at_right + 1);
  }
  return at_left == left.size() && at_right == right.size();
}

}  // namespace

const char* ConverterName(UINT code_page) noexcept {
  const auto* const found =
      std::find_if(std::begin(kCodePages), std::end(kCodePages),
                   [=](const CodePageName& entry) { return entry.code_page == code_page; });
  return found != std::end(kCodePages) ? found->name : nullptr;
}

UINT CodePageOfCharset(std::string_view charset) noexcept {
  for (const CodePageName& entry : kCodePages) {
    if (SameName(charset, entry.name)) return entry.code_page;
  }
  for (const CodePageName& entry : kAliases) {
    if (SameName(charset, entry.name)) return entry.code_page;
  }
  return CP_UTF8;
}

bool RefusesFlags(UINT code_page) noexcept {
  return std::find(std::begin(kFlagsRefused), std::end(kFlagsRefused), code_page) !=
         std::end(kFlagsRefused);
}

}  // namespace platform
