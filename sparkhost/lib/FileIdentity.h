// Whether two paths name the same file, however they are written: through "./", "..", an
// absolute path, a symbolic link or a hard link. Files that exist are compared by device and
// inode; a file not yet written by the path it will have once its folder's links are resolved.
#ifndef SPARKHOST_LIB_FILEIDENTITY_H
#define SPARKHOST_LIB_FILEIDENTITY_H

#include <map>
#include <string>

namespace sparkhost {

// "inode DEV:INO" for a file that exists, else "path RESOLVED".
std::string fileIdentity(const std::string& path);

// The files a command reads, each with what to call it in a message ("clip 1's file 'a.png'").
class FileSet {
public:
    void add(const std::string& path, const std::string& description);
    // The description of the file `path` names, or null when it is none of them.
    const std::string* find(const std::string& path) const;

private:
    std::map<std::string, std::string> byIdentity_;
};

}  // namespace sparkhost

#endif
