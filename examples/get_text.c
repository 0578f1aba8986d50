/* Fetches a text in whatever character set it is, and prints it as UTF-8: get_text URL */
#include <qvhttp12.h>
#include <stdio.h>

#define CODE_PAGE_UTF8 65001

static int Fail(const char* what) {
  char error[256] = "";
  HttpGetErrorString(HttpGetLastError(), error, sizeof error);
  fprintf(stderr, "%s: %s\n", what, error);
  return 1;
}

static int PrintText(HCLIENT client, const char* url) {
  HGLOBAL block = NULL;
  INT length = 0; /* 0: the text comes in a block of its own, however long it is */
  char type[128] = "";
  if (HttpGetTextEx(client, url, &block, &length, CODE_PAGE_UTF8, HTTP_TRANSFER_DEFAULT) ==
      HTTP_ERROR) {
    return Fail(url);
  }
  HttpGetContentType(client, type, sizeof type);
  fprintf(stderr, "%d characters of type %s\n", length, type);
  if (block != NULL) {
    fwrite(GlobalLock(block), 1, (size_t)length, stdout);
    GlobalUnlock(block);
    GlobalFree(block);
  }
  return 0;
}

int main(int argc, char** argv) {
  int result = 1;
  if (argc != 2) {
    fprintf(stderr, "usage: %s URL\n", argv[0]);
    return 2;
  }
  if (!HttpInitialize(NULL, 0)) return Fail("HttpInitialize");
  HCLIENT client = HttpConnectUrl(argv[1], HTTP_TIMEOUT, HTTP_OPTION_NONE);
  if (client == INVALID_CLIENT) {
    Fail(argv[1]);
  } else {
    result = PrintText(client, argv[1]);
    HttpDisconnect(client);
  }
  HttpUninitialize();
  return result;
}
