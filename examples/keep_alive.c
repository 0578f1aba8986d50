/* Fetches several resources over one connection: keep_alive URL [PATH...] */
#include <qvhttp12.h>
#include <stdio.h>

static void PrintError(const char* what) {
  char error[256] = "";
  HttpGetErrorString(HttpGetLastError(), error, sizeof error);
  fprintf(stderr, "%s: %s\n", what, error);
}

/* Each call is one whole request; the session is idle again, and connected, when it returns. */
static int Fetch(HCLIENT client, const char* resource) {
  HGLOBAL body = NULL;
  DWORD length = 0;
  const INT status = HttpGetData(client, resource, &body, &length, HTTP_TRANSFER_ERRORDATA);
  if (status == HTTP_ERROR) {
    PrintError(resource);
    return 0;
  }
  printf("%s: status %d, %u bytes\n", resource, status, (unsigned)length);
  if (body != NULL) GlobalFree(body);
  return 1;
}

int main(int argc, char** argv) {
  int fetched = 1;
  if (argc < 2) {
    fprintf(stderr, "usage: %s URL [PATH...]\n", argv[0]);
    return 2;
  }
  if (!HttpInitialize(NULL, 0)) {
    PrintError("HttpInitialize");
    return 1;
  }
  HCLIENT client = HttpConnectUrl(argv[1], HTTP_TIMEOUT, HTTP_OPTION_KEEPALIVE);
  if (client == INVALID_CLIENT) {
    PrintError(argv[1]);
    fetched = 0;
  } else {
    for (int i = 1; i < argc && fetched; ++i) fetched = Fetch(client, argv[i]);
    HttpDisconnect(client);
  }
  HttpUninitialize();
  return fetched ? 0 : 1;
}
