// A window of sparkhost's own that shows an HTML help page, for a desktop without a browser.
#ifndef SPARKHOST_VIEW_HELPWINDOW_H
#define SPARKHOST_VIEW_HELPWINDOW_H

#include <string>

namespace sparkhost {

// Shows the page with its links followable, at x, y on the screen; returns when it is closed.
int showHelpWindow(const std::string& path, int x, int y);

}  // namespace sparkhost

#endif
