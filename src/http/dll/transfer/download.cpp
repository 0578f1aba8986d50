#include <optional>

#include "events/raise_event.h"
#include "frame/session.h"
#include "frame/text.h"
#include "protocol/content_encoding.h"
#include "protocol/engine.h"
#include "protocol/headers.h"
#include "transfer/file_sink.h"
#include "transfer/file_transfer.h"
#include "transfer/inflate_file.h"
#include "transfer/retrieve.h"
#include "transfer/transfer_scope.h"

namespace qv {
namespace {

constexpr INT kOk = 200;
constexpr INT kTransformed = 203;
constexpr INT kPartialContent = 206;
constexpr std::size_t kLongestField = 1023;

// Asks for a compressed body. A resumed one takes back what an earlier transfer asked for.
Error AskForEncoding(Session& session, bool compress, uint64_t offset) {
  if (compress) return SetRequestHeader(session, "Accept-Encoding", kAcceptedEncodings);
  const HeaderEntry* header = session.request.headers.Find("Accept-Encoding");
  if (offset != 0 && header != nullptr && header->value == kAcceptedEncodings) {
    session.request.headers.Remove("Accept-Encoding");
  }
  return kNoError;
}

// Where the body of a 206 belongs (RFC 9110 section 14.4); nothing for a field that does not say.
std::optional<uint64_t> RangeStart(const Session& session) {
  const auto field = ResponseField(session, "Content-Range", kLongestField);
  constexpr std::string_view kUnit = "bytes ";
  if (!field || !StartsWithNoCase(*field, kUnit)) return std::nullopt;
  return ParseLeadingDecimal(TrimLeft(field->substr(kUnit.size())));
}

// Where the body of a response belongs.
struct Target {
  LocalFile file;
  bool wanted = true;  // the body is the resource, or a part of it
};

// An existing file for the answer to a resumed download: the rest of the resource behind what is
// there, the whole of it instead, or neither.
Result<Target> OpenToResume(Session& session, const std::string& path, uint64_t offset) {
  Result<LocalFile> file = LocalFile::OpenForWriting(path, offset);
  if (!file) return file.error();
  const INT result_code = session.response.result_code;
  if (result_code == kPartialContent) {
    const Result<uint64_t> size = file->Size();
    if (!size || *size < offset) return Error(QV_ERROR_INVALID_CONTENT_RANGE);
    session.transfer.offset = offset;
    return Target{*std::move(file)};
  }
  const bool whole = result_code == kOk || result_code == kTransformed;
  if (whole) {
    if (Error error = file->Empty()) return error;
  }
  return Target{*std::move(file), whole};
}

Result<Target> OpenTarget(Session& session, const std::string& path, uint64_t offset) {
  const bool partial = session.response.result_code == kPartialContent;
  if (partial && RangeStart(session) != offset) return Error(QV_ERROR_INVALID_CONTENT_RANGE);
  if (offset > 0) return OpenToResume(session, path, offset);
  Result<LocalFile> file = LocalFile::Create(path);
  if (!file) return file.error();
  return Target{*std::move(file)};
}

Error SendRequest(Session& session, std::string_view remote, DWORD options, uint64_t offset) {
  const bool compress = (options & HTTP_TRANSFER_COMPRESS) != 0;
  if (Error error = AskForEncoding(session, compress, offset)) return error;
  if (Error error = SetRangeOffset(session, offset)) return error;
  const ErrorDataScope error_data(session, (options & HTTP_TRANSFER_ERRORDATA) != 0);
  Result<INT> result = session.engine->Command(session, {"GET", remote});
  return result.error();
}

// Stores the body; a longer file that was there before ends with the resource.
Error Store(Session& session, Target& target, const std::string& path, DWORD options) {
  if (!target.wanted) {
    if (!session.request.keep_alive_sent) session.connection.peer_closed = true;
    return kNoError;
  }
  const bool encoded = ContentEncodingOf(session) != ContentEncoding::kIdentity;
  const bool convert =
      (options & HTTP_TRANSFER_CONVERT) != 0 && ContentClassOf(session) == HTTP_CONTENT_TEXT;
  FileSink sink(target.file, convert && !encoded);
  if (Error error = ReceiveBody(session, sink)) return error;
  if (session.transfer.offset != 0 && session.response.framing.complete) {
    if (Error error = target.file.EndHere()) return error;
  }
  target.file.Close();
  const bool empty = session.transfer.copied == 0;
  return encoded && !empty ? InflateFile(path, convert) : kNoError;
}

Error ReceiveFile(Session& session, const std::string& path, std::string_view remote, DWORD options,
                  uint64_t offset) {
  const Error command_error = SendRequest(session, remote, options, offset);
  Result<Target> target = command_error;
  if (!command_error) target = OpenTarget(session, path, offset);
  if (session.Alive()) RaiseEvent(session, Event::kFileOpen, target.error());
  if (!target) return target.error();
  if (Error error = session.CheckAlive()) return error;
  return Store(session, *target, path, options);
}

DWORD EffectiveOptions(const Session& session, DWORD options, uint64_t offset) {
  if (session.settings.compression) options |= HTTP_TRANSFER_COMPRESS;
  if (session.settings.version == HTTP_VERSION_09 || offset != 0) {
    options &= ~HTTP_TRANSFER_COMPRESS;
  }
  return options;
}

}  // namespace

Result<INT> DownloadToFile(Session& session, std::string_view local, std::string_view remote,
                           DWORD options, uint64_t offset) {
  if (local.empty()) return Error(QV_ERROR_INVALID_FILE_NAME);
  if (remote.empty()) return Error(QV_ERROR_INVALID_RESOURCE);
  Result<std::string> path = ResolveLocalName(local);
  if (!path) return path.error();
  if (Error error = CheckTransferPossible(session)) return error;
  if (session.settings.version == HTTP_VERSION_09 && offset != 0) {
    return Error(QV_ERROR_OPERATION_NOT_SUPPORTED);
  }
  options = EffectiveOptions(session, options, offset);
  TransferScope transfer(session, HTTP_STATUS_GETDATA);
  const Error error = ReceiveFile(session, *path, remote, options, offset);
  if (Error gone = session.CheckAlive()) return error ? error : gone;
  if (error) {
    transfer.Abandon();
    return error;
  }
  if (Error close_error = transfer.Close()) return close_error;
  return session.response.result_code;
}

}  // namespace qv
