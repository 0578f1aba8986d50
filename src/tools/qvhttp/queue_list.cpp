#include "queue_list.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include "failure.h"
#include "fields.h"
#include "target_name.h"
#include "url_parts.h"

namespace {

struct Line {
  std::size_t number;
  std::string url;
  std::string name;  // empty: by the URL
};

[[noreturn]] void Refuse(const std::string& file, std::size_t number, const std::string& reason) {
  throw Failure(ExitCode::kUsage, file + ", line " + std::to_string(number) + ": " + reason);
}

std::vector<Line> ReadLines(const std::string& name) {
  std::error_code ignored;
  std::ifstream file(name);
  if (!file || std::filesystem::is_directory(name, ignored)) {
    throw Failure(ExitCode::kFailure, "cannot read " + name);
  }
  std::vector<Line> lines;
  std::string text;
  for (std::size_t number = 1; std::getline(file, text); ++number) {
    if (!text.empty() && text.back() == '\r') text.pop_back();
    const std::string_view line = TrimBlanks(text);
    if (line.empty() || line.front() == '#') continue;
    const auto end = line.find_first_of(" \t");
    const std::string_view rest = end == line.npos ? std::string_view() : line.substr(end);
    lines.push_back({number, std::string(line.substr(0, end)), std::string(TrimBlanks(rest))});
  }
  if (file.bad()) throw Failure(ExitCode::kFailure, "cannot read " + name);
  return lines;
}

}  // namespace

std::vector<QueueEntry> ReadQueueList(const std::string& file) {
  const std::vector<Line> lines = ReadLines(file);
  TargetNames names;
  for (const Line& line : lines) {
    if (line.name.empty()) continue;
    if (!IsPlainName(line.name)) Refuse(file, line.number, "not the name of a file: " + line.name);
    if (!names.Take(line.name)) Refuse(file, line.number, "named before: " + line.name);
  }
  std::vector<QueueEntry> entries;
  for (const Line& line : lines) {
    try {
      entries.push_back({line.url, line.name.empty() ? names.ForUrl(line.url) : line.name});
    } catch (const Failure& failure) {
      Refuse(file, line.number, failure.what());
    }
  }
  return entries;
}
