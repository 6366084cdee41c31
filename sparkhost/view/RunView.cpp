// `sparkhost view`: checks the input, opens the session, then the window.
#include <QApplication>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "sparkhost/view/ScriptRunner.h"
#include "sparkhost/view/ViewOptions.h"
#include "sparkhost/view/ViewSession.h"
#include "sparkhost/view/ViewWindow.h"
#include "sparkhost/view/ViewerWidget.h"

namespace sparkhost {

namespace {

int complain(const std::string& text) {
    std::fprintf(stderr, "sparkhost: %s\n", text.c_str());
    return 2;
}

bool hasDisplay() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        const char* v = std::getenv(name);
        if (v && *v) return true;
    }
    return false;
}

}  // namespace

int runView(const ViewOptions& options) {
    if (!options.script.empty() && ::access(options.script.c_str(), R_OK) != 0)
        return complain("cannot read script '" + options.script + "'");
    ViewSession session;
    std::string error;
    if (!session.open(options, &error)) return complain(error);
    if (!hasDisplay())
        return complain("no display to open the window on (DISPLAY is not set); on a machine "
                        "without one run it under a virtual display: xvfb-run -a sparkhost view …");

    static int argc = 1;
    static char name[] = "sparkhost";
    static char* argv[] = {name, nullptr};
    QApplication app(argc, argv);
    ViewWindow window(session);
    window.show();
    QApplication::processEvents();
    window.viewer()->fit();
    window.goTo(session.frames().front());

    int code = 0;
    if (!options.screenshot.empty() || !options.script.empty()) {
        QTimer::singleShot(0, &window, [&] {
            QApplication::processEvents();
            if (!options.script.empty()) code = runScript(window, options.script);
            if (code == 0 && !options.screenshot.empty() && !window.screenshot(options.screenshot, &error))
                code = complain(error);
            app.exit(code);
        });
    }
    const int result = app.exec();
    return code != 0 ? code : result;
}

}  // namespace sparkhost
