#ifndef TOOLS_QVHTTP_TARGET_NAME_H_
#define TOOLS_QVHTTP_TARGET_NAME_H_

#include <set>
#include <string>

// Names for the files of many downloads in one folder.
class TargetNames {
 public:
  // A name made of the last segment of a URL's path, whatever that holds: it never leads out of the
  // folder, nor to a hidden file, and is no name that was given out before.
  std::string ForUrl(const std::string& url);

  // Takes a name that the user has chosen. False when it was given out before.
  bool Take(const std::string& name) { return taken_.insert(name).second; }

 private:
  std::set<std::string> taken_;
};

// Whether a text is the name of a file in a folder, and nothing but that.
bool IsPlainName(const std::string& name);

#endif  // TOOLS_QVHTTP_TARGET_NAME_H_
