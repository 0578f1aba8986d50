/* Fills in a form and sends it with a file: form URL NAME=VALUE... [FILE] */
#include <qvhttp12.h>
#include <stdio.h>
#include <string.h>

enum { kWholeText = -1, kNameSize = 256 };

/* A field is NAME=VALUE, anything else the name of a file. */
static INT AddArgument(HFORM form, const char* argument) {
  const char* equals = strchr(argument, '=');
  char name[kNameSize];
  if (equals == NULL) return HttpAddFormFile(form, "file", argument, 0);
  snprintf(name, sizeof name, "%.*s", (int)(equals - argument), argument);
  return HttpAddFormField(form, name, equals + 1, (DWORD)kWholeText, 0);
}

int main(int argc, char** argv) {
  char answer[4096] = "";
  DWORD length = sizeof answer - 1;
  char error[256] = "";
  INT result = HTTP_ERROR;
  if (argc < 3) {
    fprintf(stderr, "usage: %s URL NAME=VALUE... [FILE]\n", argv[0]);
    return 2;
  }
  HttpInitialize(NULL, 0);
  HFORM form = HttpCreateForm(argv[1], HTTP_METHOD_POST, HTTP_FORM_MULTIPART, 0);
  int ok = form != INVALID_FORM;
  for (int i = 2; ok && i < argc; ++i) ok = AddArgument(form, argv[i]) != HTTP_ERROR;
  HCLIENT client = ok ? HttpConnectUrl(argv[1], HTTP_TIMEOUT, HTTP_OPTION_NONE) : INVALID_CLIENT;
  if (client != INVALID_CLIENT) result = HttpSubmitForm(client, form, answer, &length, 0);
  if (result != HTTP_ERROR) printf("%s\n", answer);
  if (result == HTTP_ERROR && HttpGetErrorString(0, error, sizeof error)) {
    fprintf(stderr, "%s\n", error);
  }
  HttpUninitialize(); /* closes the session, and destroys the form */
  return result == HTTP_ERROR ? 1 : 0;
}
