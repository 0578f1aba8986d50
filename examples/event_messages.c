/* Fetches a URL in a program that only has a message loop: event_messages URL */
#include "event_loop.h"

int main(int argc, char** argv) {
  MSG message = {0};
  if (argc != 2) {
    fprintf(stderr, "usage: %s URL\n", argv[0]);
    return 2;
  }
  HttpInitialize(NULL, 0);
  if (StartFetch(argv[1]) == INVALID_CLIENT) Finish(INVALID_CLIENT, 1);
  while (GetMessageA(&message, NULL, 0, 0) > 0) DispatchMessageA(&message);
  HttpUninitialize();
  return (int)message.wParam;
}
