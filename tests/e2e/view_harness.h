// Running `sparkhost view` under a virtual X display with a script of actions, and reading back
// what it printed and saved.
#ifndef TESTS_E2E_VIEW_HARNESS_H
#define TESTS_E2E_VIEW_HARNESS_H

#include "harness.h"

namespace viewharness {

using Outcome = harness::Outcome;

// Runs `sparkhost view PLUGIN` under xvfb-run with a script; stdout and stderr are kept apart.
// `env` is put before the command (NAME=VALUE words).
inline Outcome runViewOn(const std::string& plugin, const std::string& dir, const std::string& script,
                         const std::vector<std::string>& args, const std::string& env = "") {
    const std::string scriptPath = dir + "/actions.txt";
    std::ofstream(scriptPath) << script;
    std::string command = env + " xvfb-run -a '" + harness::sparkhostPath() + "' view '" + plugin +
                          "' --script '" + scriptPath + "'";
    for (const auto& a : args) command += " '" + a + "'";
    command += " > '" + dir + "/out.txt' 2> '" + dir + "/err.txt' < /dev/null";
    Outcome run;
    const int status = std::system(command.c_str());
    run.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.out = harness::readFile(dir + "/out.txt");
    run.err = harness::readFile(dir + "/err.txt");
    return run;
}

// The same on vesk.spark.
inline Outcome runView(const std::string& dir, const std::string& script, const std::vector<std::string>& args,
                       const std::string& env = "") {
    return runViewOn(harness::vesk(), dir, script, args, env);
}

inline bool withoutWindow(const Outcome& run) { return run.err.find("built without Qt") != std::string::npos; }

// The text the script printed for an action (the line that starts with it), without its time.
inline std::string said(const Outcome& run, const std::string& action) {
    // The first answer may open the output (the plug-in's console goes to standard error).
    size_t at = 0;
    if (run.out.rfind(action + ": ", 0) != 0) {
        at = run.out.find("\n" + action + ": ");
        if (at != std::string::npos) ++at;
    }
    if (at == std::string::npos) return "";
    const size_t start = at + action.size() + 2;
    std::string line = run.out.substr(start, run.out.find('\n', start) - start);
    const size_t time = line.rfind(" (");
    return time == std::string::npos ? line : line.substr(0, time);
}

// The frames a scrub showed during the drag and the frame after the release.
inline std::vector<int> scrubbed(const std::string& text, int* after) {
    std::vector<int> frames;
    std::istringstream words(text.substr(0, text.find(';')));
    std::string word;
    words >> word >> word >> word;   // "during the drag"
    int frame;
    while (words >> frame) frames.push_back(frame);
    const size_t at = text.find("after release frame ");
    *after = at == std::string::npos ? -1 : std::atoi(text.c_str() + at + 20);
    return frames;
}

inline bool samePicture(const std::string& a, const std::string& b, std::string* error) {
    sparkhost::FrameBuffer x, y;
    if (!sparkhost::readImage(a, sparkhost::kDepth8, &x, error) || !sparkhost::readImage(b, sparkhost::kDepth8, &y, error))
        return false;
    return x.samePixels(y);
}

}  // namespace viewharness

#endif
