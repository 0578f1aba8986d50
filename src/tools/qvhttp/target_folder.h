#ifndef TOOLS_QVHTTP_TARGET_FOLDER_H_
#define TOOLS_QVHTTP_TARGET_FOLDER_H_

#include <string>

// Makes a folder, and those that it is in, where there is none. Throws Failure.
void MakeTargetFolder(const std::string& name);

#endif  // TOOLS_QVHTTP_TARGET_FOLDER_H_
