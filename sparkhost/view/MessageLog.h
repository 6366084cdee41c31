// The plug-in's messages: the latest in the window's status line, all of them in a log.
#ifndef SPARKHOST_VIEW_MESSAGELOG_H
#define SPARKHOST_VIEW_MESSAGELOG_H

#include <QPlainTextEdit>

#include <vector>

#include "sparkhost/lib/Host.h"

class QStatusBar;

namespace sparkhost {

class MessageLog : public QPlainTextEdit {
public:
    MessageLog(QStatusBar* status, QWidget* parent = nullptr);
    void add(const std::vector<HostMessage>& messages);

private:
    QStatusBar* status_;
};

}  // namespace sparkhost

#endif
