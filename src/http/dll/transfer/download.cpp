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

constexpr INT kPartialContent = 206;
constexpr std::size_t kLongestField = 1023;

// Asks for a compressed body, or takes back what an earlier download asked for.
Error AskForEncoding(Session& session, bool compress) {
  if (compress) return SetRequestHeader(session, "Accept-Encoding", kAcceptedEncodings);
  const HeaderEntry* header = session.request.headers.Find("Accept-Encoding");
  if (header != nullptr && header->value == kAcceptedEncodings) {
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

// The file in which the body of the response belongs, at its place.
Result<LocalFile> OpenTarget(Session& session, const std::string& path, uint64_t offset) {
  const bool partial = session.response.result_code == kPartialContent;
  if (partial && RangeStart(session) != offset) return Error(QV_ERROR_INVALID_CONTENT_RANGE);
  if (offset == 0) return LocalFile::Create(path);
  Result<LocalFile> file = LocalFile::OpenForWriting(path, offset);
  if (!file) return file;
  if (partial) {
    session.transfer.offset = offset;
  } else if (Error error = file->Empty()) {  // the whole resource comes
    return error;
  }
  return file;
}

Error SendRequest(Session& session, std::string_view remote, DWORD options, uint64_t offset) {
  const bool compress = (options & HTTP_TRANSFER_COMPRESS) != 0;
  if (Error error = AskForEncoding(session, compress)) return error;
  if (Error error = SetRangeOffset(session, offset)) return error;
  const ErrorDataScope error_data(session, (options & HTTP_TRANSFER_ERRORDATA) != 0);
  Result<INT> result = session.engine->Command(session, {"GET", remote});
  return result.error();
}

Error ReceiveFile(Session& session, const std::string& path, std::string_view remote, DWORD options,
                  uint64_t offset) {
  const Error command_error = SendRequest(session, remote, options, offset);
  Result<LocalFile> file = command_error;
  if (!command_error) file = OpenTarget(session, path, offset);
  if (session.Alive()) RaiseEvent(session, Event::kFileOpen, file.error());
  if (!file) return file.error();
  if (Error error = session.CheckAlive()) return error;
  const bool encoded = ContentEncodingOf(session) != ContentEncoding::kIdentity;
  const bool convert =
      (options & HTTP_TRANSFER_CONVERT) != 0 && ContentClassOf(session) == HTTP_CONTENT_TEXT;
  FileSink sink(*file, convert && !encoded);
  if (Error error = ReceiveBody(session, sink)) return error;
  file->Close();
  const bool empty = session.transfer.copied == 0;
  return encoded && !empty ? InflateFile(path, convert) : kNoError;
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
