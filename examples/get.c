/* Fetches a resource and writes it to standard output: get URL */
#include <qvhttp12.h>
#include <stdio.h>

int main(int argc, char** argv) {
  const char* url = argc > 1 ? argv[1] : "http://localhost/";
  HGLOBAL body = NULL;
  DWORD length = 0;
  char error[256] = "";
  HttpInitialize(NULL, 0);
  HCLIENT client = HttpConnectUrl(url, HTTP_TIMEOUT, HTTP_OPTION_NONE);
  int ok = client != INVALID_CLIENT && HttpGetData(client, url, &body, &length, 0) != HTTP_ERROR;
  if (ok && length > 0) fwrite(GlobalLock(body), 1, length, stdout);
  if (!ok && HttpGetErrorString(0, error, sizeof error)) fprintf(stderr, "%s\n", error);
  if (body != NULL) GlobalFree(body);
  HttpUninitialize(); /* closes the session, too */
  return ok ? 0 : 1;
}
