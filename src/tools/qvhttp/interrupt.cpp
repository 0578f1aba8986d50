#include "interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <utility>

#include "failure.h"

namespace {

constexpr const char* kMessage = "interrupted";

// A call of the library that begins forgets an earlier request to cancel, so that it is repeated.
constexpr int kCancelIntervalMs = 20;

constexpr char kInterruptByte = 'i';
constexpr char kQuitByte = 'q';

std::atomic<bool> interrupted{false};
std::atomic<bool> connecting{false};
std::atomic<HCLIENT> client_at_work{INVALID_CLIENT};
std::array<int, 2> wake_pipe{-1, -1};  // read end, write end

static_assert(std::atomic<bool>::is_always_lock_free, "the handler sets one");

// Must call nothing but what signal-safety(7) lists.
extern "C" void OnInterrupt(int) {
  const int saved_errno = errno;
  interrupted = true;
  // Should the pipe be full, there is a byte in it to wake the thread.
  [[maybe_unused]] const auto written = write(wake_pipe[1], &kInterruptByte, 1);
  errno = saved_errno;
}

void StopWorking() {
  if (connecting) {
    std::cerr << "qvhttp: " << kMessage << std::endl;
    std::_Exit(static_cast<int>(ExitCode::kInterrupted));
  }
  const HCLIENT client = client_at_work;
  if (client != INVALID_CLIENT) HttpCancel(client);
}

void Watch() {
  for (;;) {
    pollfd wake{wake_pipe[0], POLLIN, 0};
    const int count = poll(&wake, 1, interrupted ? kCancelIntervalMs : -1);
    char byte = kInterruptByte;
    if (count > 0 && read(wake_pipe[0], &byte, 1) == 1 && byte == kQuitByte) return;
    if (interrupted) StopWorking();
  }
}

// The thread takes no signals: they shall break off what the command itself waits for.
std::thread StartWithoutSignals() {
  sigset_t all;
  sigset_t previous;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &previous);
  std::thread thread(Watch);
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  return thread;
}

bool IsIgnored() {
  struct sigaction current {};
  return sigaction(SIGINT, nullptr, &current) == 0 && current.sa_handler == SIG_IGN;
}

}  // namespace

InterruptWatch::InterruptWatch() {
  if (IsIgnored()) return;
  if (pipe2(wake_pipe.data(), O_CLOEXEC) != 0) {
    throw Failure(ExitCode::kFailure, "cannot watch for Ctrl-C");
  }
  thread_ = StartWithoutSignals();
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  action.sa_flags = static_cast<int>(SA_RESETHAND);  // the second one ends the program
  sigaction(SIGINT, &action, nullptr);
}

InterruptWatch::~InterruptWatch() {
  if (!thread_.joinable()) return;
  signal(SIGINT, SIG_DFL);
  [[maybe_unused]] const auto written = write(wake_pipe[1], &kQuitByte, 1);
  thread_.join();
  for (int& end : wake_pipe) close(std::exchange(end, -1));
}

bool Interrupted() { return interrupted; }

void CheckInterrupted() {
  if (interrupted) throw Failure(ExitCode::kInterrupted, kMessage);
}

ConnectingScope::ConnectingScope() {
  CheckInterrupted();
  connecting = true;
}

ConnectingScope::~ConnectingScope() { connecting = false; }

void CancelOnInterrupt(HCLIENT client) { client_at_work = client; }
