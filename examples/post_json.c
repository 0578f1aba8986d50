/* Posts a JSON document and prints the answer: post_json URL JSON */
#include <qvhttp12.h>
#include <stdio.h>

int main(int argc, char** argv) {
  char answer[4096] = "";
  DWORD length = sizeof answer - 1;
  char error[256] = "";
  INT result = HTTP_ERROR;
  if (argc != 3) {
    fprintf(stderr, "usage: %s URL JSON\n", argv[0]);
    return 2;
  }
  HttpInitialize(NULL, 0);
  HCLIENT client = HttpConnectUrl(argv[1], HTTP_TIMEOUT, HTTP_OPTION_NONE);
  if (client != INVALID_CLIENT) {
    result = HttpPostJson(client, argv[1], argv[2], answer, &length, 0);
  }
  if (result != HTTP_ERROR) printf("%s\n", answer);
  if (result == HTTP_ERROR && HttpGetErrorString(0, error, sizeof error)) {
    fprintf(stderr, "%s\n", error);
  }
  HttpUninitialize();
  return result == HTTP_ERROR ? 1 : 0;
}
