/* Fetches a URL in a program with an epoll loop of its own, beside a timer: event_epoll URL */
#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include "event_loop.h"

/* Serves what waits in the queue; 0 when the program is asked to end. */
static int ServeMessages(int* exit_code) {
  MSG message;
  while (PeekMessageA(&message, NULL, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      *exit_code = (int)message.wParam;
      return 0;
    }
    DispatchMessageA(&message);
  }
  return 1;
}

int main(int argc, char** argv) {
  int exit_code = 0;
  if (argc != 2) {
    fprintf(stderr, "usage: %s URL\n", argv[0]);
    return 2;
  }
  const int loop = epoll_create1(EPOLL_CLOEXEC);
  const int messages = QvMessageDescriptor();
  const int timer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
  const struct itimerspec each_second = {{1, 0}, {1, 0}};
  timerfd_settime(timer, 0, &each_second, NULL);
  struct epoll_event event = {.events = EPOLLIN, .data.fd = messages};
  epoll_ctl(loop, EPOLL_CTL_ADD, messages, &event);
  event.data.fd = timer;
  epoll_ctl(loop, EPOLL_CTL_ADD, timer, &event);

  HttpInitialize(NULL, 0);
  if (StartFetch(argv[1]) == INVALID_CLIENT) Finish(INVALID_CLIENT, 1);
  while (ServeMessages(&exit_code)) {
    if (epoll_wait(loop, &event, 1, -1) == 1 && event.data.fd == timer) {
      unsigned long long expirations;
      if (read(timer, &expirations, sizeof expirations) > 0) fputs("still at it\n", stderr);
    }
  }
  HttpUninitialize();
  close(timer);
  close(loop);
  return exit_code;
}
