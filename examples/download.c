/* Downloads a resource into a file, and goes on where an earlier run was broken off:
 * download URL FILE */
#include <qvhttp12.h>
#include <stdio.h>

static void CALLBACK ShowProgress(HCLIENT client, UINT event, DWORD error, DWORD_PTR parameter) {
  HTTPTRANSFERSTATUSEX status = {0};
  (void)event, (void)error, (void)parameter;
  if (HttpGetTransferStatusEx(client, &status) == HTTP_ERROR) return;
  fprintf(stderr, "\r%llu of %llu bytes", (unsigned long long)status.dwBytesCopied,
          (unsigned long long)status.dwBytesTotal);
}

int main(int argc, char** argv) {
  char error[256] = "";
  INT result = HTTP_ERROR;
  if (argc != 3) {
    fprintf(stderr, "usage: %s URL FILE\n", argv[0]);
    return 2;
  }
  HttpInitialize(NULL, 0);
  HCLIENT client = HttpConnectUrl(argv[1], HTTP_TIMEOUT, HTTP_OPTION_REDIRECT);
  if (client != INVALID_CLIENT) {
    FILE* partial = fopen(argv[2], "rb");
    long offset = 0; /* the bytes that are there already */
    if (partial != NULL) {
      if (fseek(partial, 0, SEEK_END) == 0) offset = ftell(partial);
      fclose(partial);
    }
    HttpRegisterEvent(client, HTTP_EVENT_PROGRESS, ShowProgress, 0);
    result = HttpGetFileEx(client, argv[2], argv[1], 0, offset > 0 ? (ULONGLONG)offset : 0);
    fputc('\n', stderr);
  }
  if (result == HTTP_ERROR && HttpGetErrorString(0, error, sizeof error)) {
    fprintf(stderr, "%s\n", error);
  }
  HttpUninitialize();
  return result == HTTP_ERROR ? 1 : 0;
}
