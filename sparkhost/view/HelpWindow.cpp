#include "sparkhost/view/HelpWindow.h"

#include <QApplication>
#include <QTextBrowser>
#include <QUrl>

namespace sparkhost {

int showHelpWindow(const std::string& path, int x, int y) {
    static int argc = 1;
    static char name[] = "sparkhost";
    static char* argv[] = {name, nullptr};
    QApplication app(argc, argv);
    QTextBrowser browser;
    browser.setObjectName("help page");
    browser.setOpenExternalLinks(true);
    browser.setSource(QUrl::fromLocalFile(QString::fromStdString(path)));
    browser.setWindowTitle(browser.documentTitle().isEmpty() ? "Help" : browser.documentTitle());
    browser.resize(900, 760);
    browser.move(x, y);
    browser.show();
    return app.exec();
}

}  // namespace sparkhost
