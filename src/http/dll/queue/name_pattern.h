// Patterns for the names of queued files.
#ifndef QV_QUEUE_NAME_PATTERN_H_
#define QV_QUEUE_NAME_PATTERN_H_

#include <string_view>

namespace qv {

// Whether a name matches a pattern: "?" stands for any one character, "*" for any number of them,
// everything else for itself, letters exactly. White space at the start of either does not count,
// and what is empty then matches nothing. A pattern without a separator looks only at the part of
// the name behind its last "\" (or "/", when it has none).
//
// There is no way back behind a "*": it ends at the first character that equals the one after it in
// the pattern, or at the last such character when no more wildcards follow. So "*.zip" finds
// "a.b.zip", but "*a?" does not find "aabc".
bool MatchesName(std::string_view name, std::string_view pattern);

}  // namespace qv

#endif  // QV_QUEUE_NAME_PATTERN_H_
