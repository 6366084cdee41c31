#include "sparkhost/view/MessageLog.h"

#include <QStatusBar>

#include "sparkhost/lib/Names.h"

namespace sparkhost {

MessageLog::MessageLog(QStatusBar* status, QWidget* parent) : QPlainTextEdit(parent), status_(status) {
    setObjectName("message log");
    setReadOnly(true);
    setMaximumBlockCount(2000);
}

void MessageLog::add(const std::vector<HostMessage>& messages) {
    for (const HostMessage& m : messages) {
        // Plug-ins end most messages in a newline or pad them with blanks; the log shows lines.
        const QString text = QString::fromStdString(trim(m.text));
        if (text.isEmpty()) continue;
        QString shown = text;
        switch (m.kind) {
        case HostMessage::Error: shown = "error: " + text; break;
        case HostMessage::Confirm: shown = "question: " + text; break;
        case HostMessage::Note: shown = "note: " + text; break;
        case HostMessage::Message: break;
        }
        appendPlainText(shown);
        if (status_) status_->showMessage(shown);
    }
}

}  // namespace sparkhost
