// Writes a body to a local file.
#ifndef QV_TRANSFER_FILE_SINK_H_
#define QV_TRANSFER_FILE_SINK_H_

#include <memory>

#include "transfer/body_loop.h"
#include "transfer/line_end_stream.h"
#include "transfer/local_file.h"

namespace qv {

class FileSink final : public BodySink {
 public:
  // With `convert`, line ends become CR LF. The file is the caller's.
  FileSink(LocalFile& file, bool convert)
      : file_(file),
        convert_(convert),
        buffer_(std::make_unique_for_overwrite<char[]>(kBufferSize)) {}

  Result<std::span<char>> Space() override { return std::span<char>(buffer_.get(), kBufferSize); }

  Error Filled(std::size_t count) override {
    const std::string_view piece(buffer_.get(), count);
    return file_.Write(convert_ ? line_ends_.Convert(piece) : piece);
  }

 private:
  static constexpr std::size_t kBufferSize = std::size_t{256} << 10;

  LocalFile& file_;
  bool convert_;
  LineEndStream line_ends_;
  std::unique_ptr<char[]> buffer_;
};

}  // namespace qv

#endif  // QV_TRANSFER_FILE_SINK_H_
