/* Downloads the URLs of a list, one a line, into a folder: queue LIST FOLDER */
#include <qvhttp12.h>
#include <stdio.h>
#include <string.h>

/* In the worker's thread: with the queue's handle for HTTP_EVENT_QUEUE, else with a session's. */
static void CALLBACK ShowProgress(HCLIENT handle, UINT event, DWORD error, DWORD_PTR parameter) {
  HTTPTRANSFERSTATUSEX progress = {0};
  HTTPQUEUESTATUS status = {0};
  (void)error, (void)parameter;
  if (event != HTTP_EVENT_PROGRESS) return;
  HttpGetQueueStatus(HttpGetThreadQueue(0), &status);
  HttpGetTransferStatusEx(handle, &progress);
  fprintf(stderr, "\rfile %u of %u: %llu bytes ", status.dwCurrentFile, status.dwTotalFiles,
          (unsigned long long)progress.dwBytesCopied);
}

static void AddFile(HQUEUE queue, const char* folder, const char* url) {
  char local[512];
  char error[256] = "";
  const char* name = strrchr(url, '/');
  snprintf(local, sizeof local, "%s/%s", folder, name != NULL && name[1] ? name + 1 : "index.html");
  if (HttpAddQueuedFile(queue, HTTP_QUEUE_DOWNLOAD, local, url, HTTP_OPTION_REDIRECT, 0) == 0) {
    HttpGetErrorString(0, error, sizeof error);
    fprintf(stderr, "%s: %s\n", url, error);
  }
}

static int Report(HQUEUE queue) {
  HTTPQUEUEDFILE file;
  char error[256];
  int failures = 0;
  DWORD id = HttpGetFirstQueuedFile(queue, 0, HTTP_QUEUE_FILE_COMPLETE, &file);
  for (; id != 0; id = HttpGetNextQueuedFile(queue, &file)) {
    HttpGetErrorString(file.dwError, error, sizeof error);
    fprintf(stderr, "%s: %s\n", file.szRemoteUrl, error);
    ++failures;
  }
  return failures;
}

int main(int argc, char** argv) {
  char line[1024];
  FILE* list = argc == 3 ? fopen(argv[1], "r") : NULL;
  if (list == NULL) {
    fprintf(stderr, "usage: %s LIST FOLDER\n", argv[0]);
    return 2;
  }
  HttpInitialize(NULL, 0);
  HQUEUE queue = HttpCreateQueue(100000, HTTP_TIMEOUT, 0);
  while (fgets(line, sizeof line, list) != NULL) {
    line[strcspn(line, "\r\n")] = '\0';
    if (line[0] != '\0') AddFile(queue, argv[2], line);
  }
  fclose(list);
  if (HttpStartQueue(queue, 0, 0, ShowProgress, 0)) {
    while (!HttpWaitForQueue(queue, 60000, NULL, NULL) &&
           HttpGetLastError() == QV_ERROR_OPERATION_TIMEOUT) {
    }
    fputc('\n', stderr);
  }
  const int failures = Report(queue);
  HttpUninitialize();
  return failures == 0 ? 0 : 1;
}
