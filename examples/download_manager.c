/* Downloads several URLs at once, each as a task, and shows how far they have come. Ctrl-C aborts
 * what is still running: download_manager URL FILE [URL FILE]... */
#include <qvhttp12.h>
#include <signal.h>
#include <stdio.h>

enum { kMostDownloads = 32, kPollMilliseconds = 200, kAbortMilliseconds = 5000 };

typedef struct {
  const char* url;
  const char* file;
  DWORD task;
  DWORD error; /* why it could not be started, then its outcome */
} Download;

static volatile sig_atomic_t interrupted = 0;

static void Interrupt(int number) {
  (void)number;
  interrupted = 1;
}

/* One line for all downloads, written over the one before. */
static void ShowProgress(const Download* downloads, int count) {
  int i;
  fputc('\r', stderr);
  for (i = 0; i < count; ++i) {
    HTTPTRANSFERSTATUSEX status;
    const INT state = HttpGetTaskStatusEx(downloads[i].task, 0, &status);
    if (state == HTTP_TASK_FINISHED) {
      fprintf(stderr, "[%s] ", HttpGetTaskError(downloads[i].task) == 0 ? "done" : "failed");
    } else if (status.dwBytesTotal > 0) {
      fprintf(stderr, "[%3llu%%] ",
              (unsigned long long)(100 * status.dwBytesCopied / status.dwBytesTotal));
    } else {
      fprintf(stderr, "[%llu] ", (unsigned long long)status.dwBytesCopied);
    }
  }
}

/* Says what became of a download; 0 for success. */
static int Report(const Download* download) {
  char text[256] = "";
  if (download->error != 0) HttpGetErrorString(download->error, text, sizeof text);
  printf("%s: %s\n", download->url, download->error != 0 ? text : download->file);
  return download->error != 0;
}

int main(int argc, char** argv) {
  static Download downloads[kMostDownloads];
  const int count = (argc - 1) / 2;
  int failures = 0;
  int i;
  if (count == 0 || count > kMostDownloads || argc % 2 == 0) {
    fprintf(stderr, "usage: %s URL FILE [URL FILE]...\n", argv[0]);
    return 2;
  }
  signal(SIGINT, Interrupt);
  HttpInitialize(NULL, 0);
  for (i = 0; i < count; ++i) {
    downloads[i].url = argv[2 * i + 1];
    downloads[i].file = argv[2 * i + 2];
    downloads[i].task =
        HttpAsyncGetFile(INVALID_CLIENT, downloads[i].file, downloads[i].url, 0, 0, NULL, 0);
    if (downloads[i].task == 0) downloads[i].error = HttpGetLastError();
  }
  while (!interrupted && !HttpTaskWaitAll(NULL, 0, kPollMilliseconds, 0)) {
    ShowProgress(downloads, count);
  }
  for (i = 0; i < count && interrupted; ++i) HttpTaskAbort(downloads[i].task, kAbortMilliseconds);
  ShowProgress(downloads, count);
  fputc('\n', stderr);
  for (i = 0; i < count; ++i) {
    if (downloads[i].task != 0) downloads[i].error = HttpGetTaskError(downloads[i].task);
    failures += Report(&downloads[i]);
  }
  HttpUninitialize();
  return failures != 0;
}
