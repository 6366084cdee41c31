#include "HelpPageCommand.h"

#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef SPARKHOST_WITH_VIEW
#include "sparkhost/view/HelpWindow.h"
#endif

namespace sparkhost {

namespace {

bool hasDisplay() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        const char* v = std::getenv(name);
        if (v && *v) return true;
    }
    return false;
}

// Runs xdg-open on the page and waits for its answer: true when a browser took it.
bool desktopOpens(const std::string& url) {
    const pid_t pid = ::fork();
    if (pid < 0) return false;
    if (pid == 0) {
        // Its complaints ("no method available") would only confuse: sparkhost's window follows.
        std::freopen("/dev/null", "w", stderr);
        ::execlp("xdg-open", "xdg-open", url.c_str(), static_cast<char*>(nullptr));
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

void addHelpPageCommand(CLI::App& app, HelpPageCommand& command) {
    // The plug-in's command line is fixed ("-geometry +50+50 URL"), so the words are read here.
    command.app = app.add_subcommand("help-page", "Open a plug-in's help page (what its Help button runs)");
    command.app->prefix_command();
    command.app->group("");
}

int runHelpPage(const std::vector<std::string>& words) {
    bool print = false;
    int x = 50, y = 50;
    std::string url;
    for (size_t i = 0; i < words.size(); ++i) {
        if (words[i] == "--print") print = true;
        else if (words[i] == "-geometry" && i + 1 < words.size()) std::sscanf(words[++i].c_str(), "%d%d", &x, &y);
        else url = words[i];
    }
    std::string path = url;
    if (path.rfind("file://", 0) == 0) path = path.substr(7);
    else if (path.rfind("file:", 0) == 0) path = path.substr(5);
    struct stat st;
    if (path.empty() || ::stat(path.c_str(), &st) != 0) {
        std::fprintf(stderr, "sparkhost: no help page at '%s' (DIR_4 names the folder whose dl/help holds the pages)\n",
                     path.c_str());
        return 2;
    }
    std::printf("help page: %s\n", path.c_str());
    std::fflush(stdout);
    if (print || !hasDisplay()) return 0;
    const std::string link = "file://" + path;
    if (desktopOpens(link)) return 0;
#ifdef SPARKHOST_WITH_VIEW
    std::fprintf(stderr, "sparkhost: no desktop browser took the page; showing it in sparkhost's own window\n");
    // The window stays open long after the program that launched it has finished; it lets go of
    // that program's output streams, which a reader of them would otherwise wait on forever.
    std::fflush(stderr);
    std::freopen("/dev/null", "w", stdout);
    std::freopen("/dev/null", "w", stderr);
    return showHelpWindow(path, x, y);
#else
    std::fprintf(stderr, "sparkhost: no desktop browser took the page; open it in a browser\n");
    return 0;
#endif
}

}  // namespace sparkhost
