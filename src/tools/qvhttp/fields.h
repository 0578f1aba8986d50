#ifndef TOOLS_QVHTTP_FIELDS_H_
#define TOOLS_QVHTTP_FIELDS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Header fields and the texts in them.

using HeaderList = std::vector<std::pair<std::string, std::string>>;  // name and value, in order

// Letters of ASCII only, as the names of fields and schemes are compared.
bool EqualsIgnoringCase(std::string_view a, std::string_view b);
bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix);

// The value of the first field of that name, in any case of letters.
std::optional<std::string> FindField(const HeaderList& headers, std::string_view name);

// Without spaces and tabs at both ends.
std::string_view TrimBlanks(std::string_view text);

// RFC 9110 section 5.6.2.
bool IsToken(std::string_view text);

// A number of digits and nothing else that fits 64 bits.
std::optional<std::uint64_t> ParseNumber(std::string_view text);

#endif  // TOOLS_QVHTTP_FIELDS_H_
