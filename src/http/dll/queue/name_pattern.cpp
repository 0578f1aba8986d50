#include "queue/name_pattern.h"

#include "frame/text.h"

namespace qv {
namespace {

constexpr char kAny = '*';
constexpr char kOne = '?';
constexpr std::string_view kWildcards = "*?";
constexpr std::string_view kSeparators = "\\/";

std::string_view LastPart(std::string_view name) {
  std::size_t at = name.rfind('\\');
  if (at == name.npos) at = name.rfind('/');
  return at == name.npos ? name : name.substr(at + 1);
}

// How many characters of a name a "*" takes that stands before this (not empty) rest of a pattern.
std::size_t TakenByAny(std::string_view name, std::string_view rest) {
  if (rest.front() == kOne) return 0;
  const bool more = rest.find_first_of(kWildcards) != rest.npos;
  const std::size_t at = more ? name.find(rest.front()) : name.rfind(rest.front());
  return at == name.npos ? name.size() : at;
}

bool MatchesWhole(std::string_view name, std::string_view pattern) {
  while (!pattern.empty()) {
    if (pattern.front() == kAny) {
      const std::size_t rest = pattern.find_first_not_of(kAny);
      if (rest == pattern.npos) return true;
      pattern.remove_prefix(rest);
      name.remove_prefix(TakenByAny(name, pattern));
      continue;
    }
    if (name.empty()) return false;
    if (pattern.front() != kOne && pattern.front() != name.front()) return false;
    name.remove_prefix(1);
    pattern.remove_prefix(1);
  }
  return name.empty();
}

}  // namespace

bool MatchesName(std::string_view name, std::string_view pattern) {
  name = TrimLeft(name);
  pattern = TrimLeft(pattern);
  if (name.empty() || pattern.empty()) return false;
  if (pattern.find_first_of(kSeparators) == pattern.npos) name = LastPart(name);
  return MatchesWhole(name, pattern);
}

}  // namespace qv
