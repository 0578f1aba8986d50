#ifndef TOOLS_QVHTTP_INTERRUPT_H_
#define TOOLS_QVHTTP_INTERRUPT_H_

#include <thread>

#include "qvhttp12.h"

// Ctrl-C. The signal's handler sets a flag and wakes a thread, which cancels what the session at
// work waits for; the command then fails like any other and tidies up behind itself. A second
// Ctrl-C ends the program at once.

// Watches for the signal as long as it lives; there is one at a time. A program that was started
// with the signal ignored leaves it ignored.
class InterruptWatch {
 public:
  InterruptWatch();
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

 private:
  std::thread thread_;
};

// Whether the signal has come.
bool Interrupted();

// Throws Failure when it has.
void CheckInterrupted();

// The time in which there is no session yet that could be cancelled, and nothing to tidy up: the
// signal then ends the program by itself.
class ConnectingScope {
 public:
  ConnectingScope();
  ~ConnectingScope();
  ConnectingScope(const ConnectingScope&) = delete;
  ConnectingScope& operator=(const ConnectingScope&) = delete;
};

// Names the session at work; INVALID_CLIENT for none.
void CancelOnInterrupt(HCLIENT client);

#endif  // TOOLS_QVHTTP_INTERRUPT_H_
