#include "transfer/inflate_file.h"

#include <cstdio>
#include <memory>

#include "platform/kernel32.h"
#include "transfer/inflater.h"
#include "transfer/line_end_stream.h"
#include "transfer/local_file.h"

namespace qv {
namespace {

constexpr std::size_t kPiece = std::size_t{64} << 10;

std::string TemporaryName(const std::string& path) {
  char suffix[16];
  std::snprintf(suffix, sizeof(suffix), ".%lx", static_cast<unsigned long>(GetTickCount()));
  return path + suffix;
}

// Decodes one file into another.
class FileInflater {
 public:
  FileInflater(LocalFile& source, LocalFile& target, bool convert)
      : source_(source),
        target_(target),
        convert_(convert),
        input_(std::make_unique_for_overwrite<char[]>(kPiece)),
        output_(std::make_unique_for_overwrite<char[]>(kPiece)) {}

  Error Run() {
    if (!inflater_.ready()) return QV_ERROR_OUT_OF_MEMORY;
    while (!ended_) {
      Result<std::size_t> count = source_.Read({input_.get(), kPiece});
      if (!count) return count.error();
      if (*count == 0) return QV_ERROR_INVALID_FILE_TYPE;  // it ends before the stream does
      if (Error error = Inflate(*count)) return error;
    }
    return kNoError;
  }

 private:
  Error Inflate(std::size_t count) {
    z_stream& stream = inflater_.stream();
    stream.next_in = reinterpret_cast<Bytef*>(input_.get());
    stream.avail_in = static_cast<uInt>(count);
    do {
      stream.next_out = reinterpret_cast<Bytef*>(output_.get());
      stream.avail_out = static_cast<uInt>(kPiece);
      const int result = inflate(&stream, Z_NO_FLUSH);
      ended_ = result == Z_STREAM_END;
      const bool usable = ended_ || result == Z_OK || result == Z_BUF_ERROR;
      if (!usable) return QV_ERROR_INVALID_FILE_TYPE;
      const std::string_view bytes(output_.get(), kPiece - stream.avail_out);
      if (Error error = target_.Write(convert_ ? line_ends_.Convert(bytes) : bytes)) return error;
    } while (!ended_ && stream.avail_out == 0);
    return kNoError;
  }

  LocalFile& source_;
  LocalFile& target_;
  bool convert_;
  LineEndStream line_ends_;
  Inflater inflater_;
  std::unique_ptr<char[]> input_;
  std::unique_ptr<char[]> output_;
  bool ended_ = false;
};

}  // namespace

Error InflateFile(const std::string& path, bool convert) {
  if (path.empty()) return QV_ERROR_INVALID_FILE_NAME;
  Result<LocalFile> source = LocalFile::OpenForReading(path);
  if (!source) return source.error();
  const std::string temporary = TemporaryName(path);
  Result<LocalFile> target = LocalFile::CreateNew(temporary);
  if (!target) return target.error();
  const Error error = FileInflater(*source, *target, convert).Run();
  source->Close();
  target->Close();
  if (error) {
    DeleteLocalFile(temporary);
    return error;
  }
  return ReplaceLocalFile(temporary, path);
}

}  // namespace qv
