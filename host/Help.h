// The help launcher: opens an HTML help page of the effect in an external web browser.
#ifndef HOST_HELP_H
#define HOST_HELP_H

#include <string>

// The shell command that display_help_topic runs for `topic`: the browser ("Q4_HELP_BROWSER",
// else "firefox"), its window placed at 50, 50, and the page's file: URL under the help
// directory ("DIR_4", else "/usr/local/Corvane", followed by "/dl/help"), started in the
// background.
std::string help_command(const char* topic);

#endif
