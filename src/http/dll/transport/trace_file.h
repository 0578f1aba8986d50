// The file of a trace log.
#ifndef QV_TRANSPORT_TRACE_FILE_H_
#define QV_TRANSPORT_TRACE_FILE_H_

#include <optional>
#include <string>
#include <string_view>

namespace qv::trace {

// The path of the log file that a name stands for: an empty name is the default file in the user's
// documents folder, a bare name lies there, an existing folder holds the default file. Nothing for
// a path that is too long, a refused extension, or an existing folder, device, system or read-only
// file.
std::optional<std::string> ResolveLogFile(std::string_view name);

// Deletes the file if it exists and is not read-only.
void DeleteLogFile(const std::string& path);

// Appends text; the file is opened and closed around it, so that it survives a crash. A file that
// is created can be read by its owner only.
void AppendToLogFile(const std::string& path, std::string_view text);

}  // namespace qv::trace

#endif  // QV_TRANSPORT_TRACE_FILE_H_
