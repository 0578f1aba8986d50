#include "queue/queued_file.h"

#include "frame/text.h"
#include "frame/wide.h"
#include "queue/name_pattern.h"

namespace qv {

void QueuedFile::Reset() {
  state = HTTP_QUEUE_FILE_WAITING;
  transferring = false;
  start_tick = 0;
  end_tick = 0;
  error = kNoError;
  bytes = 0;
}

HTTPQUEUEDFILEA QueuedFile::Describe() const {
  HTTPQUEUEDFILEA record{};
  record.dwFileId = id;
  record.dwFileType = type;
  record.dwFileState = state;
  record.dwTimeElapsed = ElapsedTicks(start_tick, end_tick);
  record.dwError = error.code();
  record.qwBytesCopied = bytes;
  CopyText(local_file, record.szLocalFile, sizeof(record.szLocalFile));
  CopyText(url, record.szRemoteUrl, sizeof(record.szRemoteUrl));
  return record;
}

FileFilter FileFilter::Of(DWORD type, DWORD excluded_states, LPCSTR pattern) {
  FileFilter filter;
  filter.local_names = (type & HTTP_QUEUE_LOCALNAME) != 0;
  type &= ~HTTP_QUEUE_LOCALNAME;
  filter.type = (type & kBothFileTypes) == kBothFileTypes ? 0 : type;
  filter.excluded_states = excluded_states;
  filter.pattern = TrimLeft(TextOf(pattern));
  return filter;
}

bool FileFilter::Passes(const QueuedFile& file) const {
  if (type != 0 && file.type != type) return false;
  if ((file.state & excluded_states) != 0) return false;
  return pattern.empty() || MatchesName(local_names ? file.local_file : file.path, pattern);
}

DWORD ElapsedTicks(DWORD start, DWORD end) {
  if (start == 0) return 0;
  return (end != 0 ? end : GetTickCount()) - start;
}

}  // namespace qv
