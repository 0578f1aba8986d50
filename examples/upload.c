/* Uploads a file: upload FILE URL */
#include <qvhttp12.h>
#include <stdio.h>

int main(int argc, char** argv) {
  char error[256] = "";
  INT result = HTTP_ERROR;
  if (argc != 3) {
    fprintf(stderr, "usage: %s FILE URL\n", argv[0]);
    return 2;
  }
  HttpInitialize(NULL, 0);
  HCLIENT client = HttpConnectUrl(argv[2], HTTP_TIMEOUT, HTTP_OPTION_NONE);
  if (client != INVALID_CLIENT) result = HttpPutFile(client, argv[1], argv[2], 0, 0);
  if (result != HTTP_ERROR) printf("stored, status %d\n", result);
  if (result == HTTP_ERROR && HttpGetErrorString(0, error, sizeof error)) {
    fprintf(stderr, "%s\n", error);
  }
  HttpUninitialize();
  return result == HTTP_ERROR ? 1 : 0;
}
