// Where a Spark plug-in finds its help pages, and what opens them.
//
// A plug-in's Help button of the Corvane framework runs "BROWSER -geometry +50+50 URL &" through
// the shell, with BROWSER from the environment variable Q4_HELP_BROWSER (else "firefox") and the
// page under "DIR/dl/help", DIR from DIR_4 (else /usr/local/Corvane). The pages ship beside the
// plug-in, not inside it. So that the button works without either variable, sparkhost sets them
// for the plug-in when the user has not: DIR_4 to the first folder holding dl/help of the
// plug-in's folder and the folder of sparkhost itself, and Q4_HELP_BROWSER to sparkhost's own
// page opener (`sparkhost help-page`), which hands the page to the desktop's browser or shows
// it itself.
#ifndef SPARKHOST_LIB_HELPPAGES_H
#define SPARKHOST_LIB_HELPPAGES_H

#include <string>

namespace sparkhost {

// The command set as Q4_HELP_BROWSER; empty (the default) leaves the variable alone.
void setHelpBrowser(const std::string& command);
// Sets DIR_4 and Q4_HELP_BROWSER for a plug-in about to be loaded, each unless already set.
void setHelpEnvironment(const std::string& pluginPath);
// The folder whose dl/help holds pages for a plug-in at that path, empty when there is none.
std::string helpBaseFor(const std::string& pluginPath);
// This program's own file.
std::string selfPath();

}  // namespace sparkhost

#endif
