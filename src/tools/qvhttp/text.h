#ifndef TOOLS_QVHTTP_TEXT_H_
#define TOOLS_QVHTTP_TEXT_H_

#include <cstdint>
#include <string>

// Texts for people.

// With "?" for control characters, by which what a server sends could steer the terminal.
std::string PrintableText(std::string text);

// "512 B", "1.5 MiB".
std::string SizeText(double bytes);

// Of seconds: "0:07", "1:02:03".
std::string DurationText(std::uint64_t seconds);

#endif  // TOOLS_QVHTTP_TEXT_H_
