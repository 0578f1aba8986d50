#include "transfer/inflate_file.h"

#include <memory>

#include "transfer/inflater.h"
#include "transfer/line_end_stream.h"
#include "transfer/local_file.h"
#include "transfer/temporary_file.h"

namespace qv {
namespace {

constexpr std::size_t kPiece = std::size_t{64} << 10;

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
    while (!inflater_.ended()) {
      Result<std::size_t> count = source_.Read({input_.get(), kPiece});
      if (!count) return count.error();
      if (*count == 0) break;
      if (Error error = Inflate({input_.get(), *count})) return error;
    }
    return inflater_.complete() ? kNoError : Error(QV_ERROR_INVALID_FILE_TYPE);
  }

 private:
  Error Inflate(std::string_view piece) {
    std::size_t decoded = 0;
    do {
      Result<std::size_t> count = inflater_.Decode(piece, {output_.get(), kPiece});
      if (!count) return count.error();
      decoded = *count;
      const std::string_view bytes(output_.get(), decoded);
      if (Error error = target_.Write(convert_ ? line_ends_.Convert(bytes) : bytes)) return error;
    } while (decoded == kPiece && !inflater_.ended());
    return kNoError;
  }

  LocalFile& source_;
  LocalFile& target_;
  bool convert_;
  LineEndStream line_ends_;
  Inflater inflater_{QV_ERROR_INVALID_FILE_TYPE};
  std::unique_ptr<char[]> input_;
  std::unique_ptr<char[]> output_;
};

}  // namespace

Error InflateFile(const std::string& path, bool convert) {
  if (path.empty()) return QV_ERROR_INVALID_FILE_NAME;
  Result<LocalFile> source = LocalFile::OpenForReading(path);
  if (!source) return source.error();
  Result<TemporaryFile> target = TemporaryFile::CreateFor(path);
  if (!target) return target.error();
  if (Error error = FileInflater(*source, target->file(), convert).Run()) return error;
  source->Close();
  return target->Replace(path);
}

}  // namespace qv
