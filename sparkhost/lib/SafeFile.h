// Files written so that nothing is ever half there: the bytes go to a temporary file in the same
// folder, every write and the close are checked, and only a complete file is renamed into place.
#ifndef SPARKHOST_LIB_SAFEFILE_H
#define SPARKHOST_LIB_SAFEFILE_H

#include <cstddef>
#include <functional>
#include <string>

namespace sparkhost {

// Writes the bytes to `path` by way of a temporary file. `beforeRename`, when given, is called
// once the temporary file is complete; returning false abandons it. False with the cause in `why`
// (the operating system's words: "No space left on device"), the temporary file removed and
// whatever `path` held before left as it was.
bool replaceFile(const std::string& path, const void* data, size_t size, std::string* why,
                 const std::function<bool()>& beforeRename = {});

// Removes the temporary files of the writes under way. Async-signal-safe: a signal handler calls
// it so that an interrupted render leaves no half-written file.
void removePartialImages();

}  // namespace sparkhost

#endif
