#include "sparkhost/lib/FileIdentity.h"

#include <climits>
#include <cstdlib>
#include <sys/stat.h>

namespace sparkhost {

namespace {

std::string resolvedFolder(const std::string& folder) {
    char resolved[PATH_MAX];
    return ::realpath(folder.c_str(), resolved) ? std::string(resolved) : folder;
}

}  // namespace

std::string fileIdentity(const std::string& path) {
    struct stat st;
    if (::stat(path.c_str(), &st) == 0)
        return "inode " + std::to_string(st.st_dev) + ":" + std::to_string(st.st_ino);
    size_t slash = path.rfind('/');
    std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string resolved = resolvedFolder(folder);
    return "path " + resolved + (resolved.back() == '/' ? "" : "/") + name;
}

void FileSet::add(const std::string& path, const std::string& description) {
    byIdentity_.emplace(fileIdentity(path), description);
}

const std::string* FileSet::find(const std::string& path) const {
    auto found = byIdentity_.find(fileIdentity(path));
    return found == byIdentity_.end() ? nullptr : &found->second;
}

}  // namespace sparkhost
