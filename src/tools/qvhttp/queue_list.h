#ifndef TOOLS_QVHTTP_QUEUE_LIST_H_
#define TOOLS_QVHTTP_QUEUE_LIST_H_

#include <string>
#include <vector>

struct QueueEntry {
  std::string url;
  std::string name;  // of the file
};

// Reads a list of URLs, one a line, each with the name of its file behind it or without one. Empty
// lines and those that begin with "#" are passed over. The same list always gives the same names.
// Throws Failure, which names the line.
std::vector<QueueEntry> ReadQueueList(const std::string& file);

#endif  // TOOLS_QVHTTP_QUEUE_LIST_H_
