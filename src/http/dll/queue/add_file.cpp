#include "queue/add_file.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "frame/library.h"
#include "frame/text.h"
#include "frame/wide.h"
#include "platform/kernel32.h"
#include "protocol/transfer_counters.h"
#include "queue/queue_table.h"
#include "transport/host_name.h"
#include "url/url_composer.h"
#include "url/url_parser.h"

namespace qv {
namespace {

constexpr UINT kLargestPort = 65535;
constexpr UINT kLastAuthType = HTTP_AUTH_BEARER;
constexpr DWORD kPathRoom = kQueuedPathCapacity;

// The queue that is ready to take a file.
Result<QueueRef> AcceptingQueue(HQUEUE handle) {
  Result<QueueRef> queue = QueueTable::Get().Find(handle);
  if (!queue) return queue;
  if (Error error = (*queue)->CheckAccepts()) return error;
  return queue;
}

Result<QueueDefaults> DefaultsOf(HQUEUE handle, const AddArguments& arguments) {
  LibraryLock lock;
  Result<QueueRef> queue = QueueTable::Get().Find(handle);
  if (!queue) return queue.error();
  if (arguments.reserved != nullptr) return Error(QV_ERROR_INVALID_PARAMETER);
  if (Error error = (*queue)->CheckAccepts()) return error;
  return (*queue)->defaults();
}

// What HttpAddQueuedFileEx says of each argument by itself.
Error CheckArguments(const AddArguments& arguments, QueuedFile& file) {
  file.type = arguments.type & ~HTTP_QUEUE_LOCALNAME;
  if (Error error = CheckFileType(file.type)) return error;
  if (!TrimLeft(TextOf(arguments.host)).empty()) {
    const std::optional<std::string> host = NormalizeHost(arguments.host);
    if (!host) return QV_ERROR_INVALID_HOSTNAME;
    file.host = *host;
  }
  if (arguments.port > kLargestPort) return QV_ERROR_INVALID_SERVICE_PORT;
  if (arguments.auth_type > kLastAuthType) return QV_ERROR_INVALID_AUTHENTICATION_TYPE;
  file.port = arguments.port;
  file.auth_type = arguments.auth_type;
  file.user = TrimLeft(TextOf(arguments.user));
  file.password = TrimLeft(TextOf(arguments.password));
  if (arguments.local_file == nullptr || arguments.remote_file == nullptr) {
    return QV_ERROR_INVALID_PARAMETER;
  }
  if (TrimLeft(arguments.local_file).empty()) return QV_ERROR_INVALID_FILE_NAME;
  if (TrimLeft(arguments.remote_file).empty()) return QV_ERROR_INVALID_RESOURCE;
  return kNoError;
}

// The remote file as a URL: it decides about security, and about what no argument names.
Error TakeUrl(std::string_view text, QueuedFile& file) {
  const std::optional<Url> url = ParseUrl(text, HTTP_URLOPT_NORMALIZE);
  if (!url) return QV_ERROR_INVALID_RESOURCE;
  file.options &= ~HTTP_OPTION_SECURE;
  if (url->scheme == HTTP_SCHEME_HTTPS) file.options |= HTTP_OPTION_SECURE;
  if (file.host.empty()) file.host = url->host;
  if (file.port == 0) file.port = url->port;
  if (file.user.empty()) file.user = url->user.value_or("");
  if (file.password.empty()) file.password = url->password.value_or("");
  file.path = url->resource;
  file.query = url->query.value_or("");
  return kNoError;
}

// The remote file as a path on the host.
void TakePath(std::string_view text, QueuedFile& file) {
  std::string path(text);
  std::replace(path.begin(), path.end(), '\\', '/');
  const std::size_t mark = path.rfind('?');
  if (mark != path.npos) {
    file.query = std::string_view(path).substr(mark + 1);
    path.resize(mark);
  }
  file.path = path;
}

// A name is refused rather than cut: it would be that of another file.
Result<std::string> FullLocalPath(std::string_view name) {
  std::u16string wide = WideFromUtf8(name);
  std::replace(wide.begin(), wide.end(), u'/', u'\\');
  char16_t expanded[kPathRoom];
  const DWORD needed = ExpandEnvironmentStringsW(wide.c_str(), expanded, kPathRoom);
  if (needed == 0 || needed > kPathRoom) return Error(QV_ERROR_INVALID_FILE_NAME);
  char16_t full[kPathRoom];
  const DWORD length = GetFullPathNameW(expanded, kPathRoom, full, nullptr);
  if (length == 0 || length >= kPathRoom) return Error(QV_ERROR_INVALID_FILE_NAME);
  std::string path = Utf8FromWide({full, length});
  if (path.empty() || path.size() >= kQueuedPathCapacity) return Error(QV_ERROR_INVALID_FILE_NAME);
  return path;
}

Error CheckUploadSource(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(WideFromUtf8(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return QV_ERROR_FILE_NOT_FOUND;
  const bool unfit = (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) != 0;
  return unfit ? Error(QV_ERROR_INVALID_FILE_TYPE) : kNoError;
}

Error TakeLocalFile(std::string_view name, QueuedFile& file) {
  Result<std::string> path = FullLocalPath(name);
  if (!path) return path.error();
  if ((file.type & HTTP_QUEUE_UPLOAD) != 0) {
    if (Error error = CheckUploadSource(*path)) return error;
  }
  file.local_file = *path;
  return kNoError;
}

Error ComposeUrl(QueuedFile& file) {
  if (file.path.empty()) return QV_ERROR_INVALID_RESOURCE;
  const bool secure = (file.options & HTTP_OPTION_SECURE) != 0;
  Url url;
  url.scheme = secure ? HTTP_SCHEME_HTTPS : HTTP_SCHEME_HTTP;
  url.port = file.port;
  url.host = file.host;
  url.resource = file.path;
  url.query = file.query.str();
  const std::optional<std::string> text = CreateUrl(url, 0, kLargestUrlRoom);
  if (!text) return QV_ERROR_INVALID_RESOURCE;
  file.url = *text;
  if (file.port == 0) file.port = secure ? HTTP_PORT_SECURE : HTTP_PORT_DEFAULT;
  return kNoError;
}

Result<QueuedFile> MakeFile(const AddArguments& arguments, const QueueDefaults& defaults) {
  QueuedFile file;
  if (Error error = CheckArguments(arguments, file)) return error;
  const UINT timeout = arguments.timeout != 0 ? arguments.timeout : defaults.timeout;
  file.timeout = std::clamp(timeout, kShortestTimeout, kLongestTimeout);
  file.options = arguments.options != 0 ? arguments.options : defaults.options;
  const std::string_view remote = TrimLeft(arguments.remote_file);
  if (CheckUrl(remote) != 0) {
    if (Error error = TakeUrl(remote, file)) return error;
  } else {
    TakePath(remote, file);
  }
  if (file.host.empty()) return Error(QV_ERROR_INVALID_RESOURCE);
  if (Error error = TakeLocalFile(TrimLeft(arguments.local_file), file)) return error;
  if (Error error = ComposeUrl(file)) return error;
  file.added_tick = TransferCounters::Now();
  return file;
}

}  // namespace

Error CheckFileType(DWORD type) {
  type &= ~HTTP_QUEUE_LOCALNAME;
  const bool valid = type != 0 && (type & kBothFileTypes) != kBothFileTypes;
  return valid ? kNoError : Error(QV_ERROR_INVALID_QUEUE_HANDLE);
}

Result<DWORD> AddFile(HQUEUE queue, const AddArguments& arguments) {
  Result<QueueDefaults> defaults = DefaultsOf(queue, arguments);
  if (!defaults) return defaults.error();
  Result<QueuedFile> file = MakeFile(arguments, *defaults);
  if (!file) return file.error();
  LibraryLock lock;  // the queue may have filled up, started or gone meanwhile
  Result<QueueRef> target = AcceptingQueue(queue);
  if (!target) return target.error();
  return (*target)->Append(*std::move(file));
}

}  // namespace qv
