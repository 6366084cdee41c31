#include "sparkhost/lib/HelpPages.h"

#include <climits>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace sparkhost {

namespace {

std::string& browserCommand() {
    static std::string command;
    return command;
}

std::string folderOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool isFolder(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// An absolute path, since the plug-in builds a file: URL from it.
std::string absolute(const std::string& path) {
    char resolved[PATH_MAX];
    return ::realpath(path.c_str(), resolved) ? std::string(resolved) : path;
}

}  // namespace

void setHelpBrowser(const std::string& command) { browserCommand() = command; }

std::string selfPath() {
    char buffer[PATH_MAX];
    const ssize_t n = ::readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    return n > 0 ? std::string(buffer, size_t(n)) : std::string();
}

std::string helpBaseFor(const std::string& pluginPath) {
    for (const std::string& folder : {folderOf(pluginPath), folderOf(selfPath())}) {
        if (!folder.empty() && isFolder(folder + "/dl/help")) return absolute(folder);
    }
    return "";
}

void setHelpEnvironment(const std::string& pluginPath) {
    if (!std::getenv("DIR_4")) {
        const std::string base = helpBaseFor(pluginPath);
        if (!base.empty()) ::setenv("DIR_4", base.c_str(), 0);
    }
    if (!std::getenv("Q4_HELP_BROWSER") && !browserCommand().empty())
        ::setenv("Q4_HELP_BROWSER", browserCommand().c_str(), 0);
}

}  // namespace sparkhost
