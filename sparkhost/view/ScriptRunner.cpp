#include "sparkhost/view/ScriptRunner.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QScrollArea>
#include <QSlider>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QTabWidget>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>

#include "sparkhost/lib/ImageFiles.h"
#include "sparkhost/lib/Names.h"
#include "sparkhost/view/ControlCell.h"
#include "sparkhost/view/MessageLog.h"
#include "sparkhost/view/PanelWidget.h"
#include "sparkhost/view/TimelineBar.h"
#include "sparkhost/view/ViewSession.h"
#include "sparkhost/view/ViewWindow.h"
#include "sparkhost/view/ViewerWidget.h"
#include "sparkhost/lib/PluginConsole.h"

namespace sparkhost {

std::vector<std::string> scriptWords(const std::string& line) {
    std::vector<std::string> words;
    std::string word;
    bool quoted = false, any = false;
    for (char ch : line) {
        if (ch == '"') {
            quoted = !quoted;
            any = true;
        } else if (!quoted && ch == '#') {
            break;
        } else if (!quoted && (ch == ' ' || ch == '\t' || ch == '\r')) {
            if (any) words.push_back(word);
            word.clear();
            any = false;
        } else {
            word += ch;
            any = true;
        }
    }
    if (any) words.push_back(word);
    return words;
}

namespace {

bool parsePoint(const std::string& text, double* x, double* y) {
    char tail;
    return std::sscanf(text.c_str(), "%lf,%lf%c", x, y, &tail) == 2;
}

void mouse(QWidget* target, QEvent::Type type, const QPointF& at, Qt::MouseButton button,
           Qt::MouseButtons held) {
    QMouseEvent event(type, at, target->mapToGlobal(at), button, held, Qt::NoModifier);
    QApplication::sendEvent(target, &event);
}

void key(QWidget* target, int code, const QString& text) {
    QKeyEvent press(QEvent::KeyPress, code, Qt::NoModifier, text);
    QApplication::sendEvent(target, &press);
    QKeyEvent release(QEvent::KeyRelease, code, Qt::NoModifier, text);
    QApplication::sendEvent(target, &release);
}

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Lets the window work (chases run between events) for a while.
void runFor(double ms) {
    const auto start = Clock::now();
    while (msSince(start) < ms) {
        QApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::usleep(500);
    }
}

// The centre of the slider's handle when it stands at a position.
QPointF handleAt(QSlider* slider, int position) {
    QStyleOptionSlider option;
    option.initFrom(slider);
    option.orientation = Qt::Horizontal;
    option.minimum = slider->minimum();
    option.maximum = slider->maximum();
    option.sliderPosition = position;
    option.sliderValue = position;
    const QRect handle = slider->style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, slider);
    const int span = slider->width() - handle.width();
    const int x = QStyle::sliderPositionFromValue(slider->minimum(), slider->maximum(), position, span);
    return {x + handle.width() / 2.0, slider->height() / 2.0};
}

class Runner {
public:
    explicit Runner(ViewWindow& w) : w_(w), s_(w.session()) {}

    // Returns an empty string on success, else what went wrong.
    std::string run(const std::vector<std::string>& a, std::string* said) {
        const std::string& verb = a[0];
        auto need = [&](size_t n) { return a.size() == n + 1; };
        if (verb == "pages" && need(0)) {
            *said = join(w_.panel()->pageTitles(), " | ");
        } else if (verb == "page" && need(1)) {
            const auto titles = w_.panel()->pageTitles();
            for (size_t i = 0; i < titles.size(); ++i)
                if (normaliseName(titles[i]) == normaliseName(a[1])) {
                    w_.panel()->tabs()->setCurrentIndex(int(i));
                    return "";
                }
            return "no page '" + a[1] + "'";
        } else if ((verb == "set" && need(2)) || (verb == "press" && need(1)) || (verb == "print" && need(1))) {
            ControlCell* cell = w_.panel()->cell(a[1]);
            if (!cell) return "no control '" + a[1] + "' on the panel";
            if (verb == "set") return set(cell, a[2]);
            if (verb == "press") {
                if (!cell->button) return "'" + a[1] + "' is not a button";
                cell->button->click();
            }
            if (verb == "print") *said = describe(cell);
        } else if (verb == "type" && need(2)) {
            ControlCell* cell = w_.panel()->cell(a[1]);
            if (!cell || !cell->field) return "no field '" + a[1] + "' on the panel";
            *said = type(cell, a[2]);
        } else if (verb == "scrub" && (need(2) || need(3))) {
            *said = scrub(std::atoi(a[1].c_str()), std::atoi(a[2].c_str()), a.size() > 3 ? std::atof(a[3].c_str()) : 2000.0);
        } else if (verb == "remove-event" && need(2)) {
            const auto marks = s_.eventMarks();
            for (size_t i = 0; i < marks.size(); ++i)
                if (std::to_string(marks[i].first) == a[1] && normaliseName(marks[i].second) == normaliseName(a[2])) {
                    s_.removeEvent(i);
                    w_.goTo(s_.currentFrame());
                    return "";
                }
            return "no event " + a[2] + " at frame " + a[1];
        } else if (verb == "log" && need(0)) {
            *said = w_.log()->toPlainText().replace('\n', " | ").toStdString();
        } else if (verb == "marks" && need(0)) {
            *said = w_.timeline()->marks()->describe();
        } else if (verb == "on-close" && (need(1) || need(2))) {
            w_.setCloseAnswer(join(std::vector<std::string>(a.begin() + 1, a.end()), " "));
        } else if (verb == "close" && need(0)) {
            const bool closed = w_.close();
            *said = (w_.lastQuestion().empty() ? std::string("no question") : "asked \"" + w_.lastQuestion() + "\"") +
                    (closed ? "; closed" : "; still open");
            if (closed) closed_ = true;
        } else if (verb == "play-for" && need(1)) {
            *said = playFor(std::atof(a[1].c_str()));
        } else if (verb == "smallest" && need(0)) {
            *said = smallest();
        } else if (verb == "pause" && need(1)) {
            runFor(std::atof(a[1].c_str()));
        } else if (verb == "rate" && need(1)) {
            w_.setPlayRate(a[1] == "max" ? 0.0 : std::atof(a[1].c_str()));
        } else if (verb == "drag" && need(2)) {
            double x0, y0, x1, y1;
            if (!parsePoint(a[1], &x0, &y0) || !parsePoint(a[2], &x1, &y1))
                return "write drag X0,Y0 X1,Y1 in frame pixels";
            drag(x0, y0, x1, y1, said);
        } else if ((verb == "frame" || verb == "step" || verb == "play") && need(1)) {
            const int n = std::atoi(a[1].c_str());
            if (verb == "frame") w_.timeline()->jump(n);
            if (verb == "step") w_.timeline()->step(n);
            for (int i = 0; verb == "play" && i < n; ++i) w_.timeline()->step(1);
            *said = "frame " + std::to_string(s_.currentFrame());
        } else if (verb == "mode" && need(1) && (a[1] == "replayed" || a[1] == "ifffs")) {
            w_.setReplayed(a[1] == "replayed");
        } else if (verb == "answer" && need(1) && (a[1] == "yes" || a[1] == "no")) {
            s_.host().setConfirmAnswer(a[1] == "yes");
        } else if (verb == "fit" && need(0)) {
            w_.viewer()->fit();
        } else if (verb == "1:1" && need(0)) {
            w_.viewer()->actualSize();
        } else if (verb == "save-frame" && need(1)) {
            std::string error;
            if (!writeImage(a[1], s_.shownFrame(), &error)) return error;
        } else if (verb == "screenshot" && need(1)) {
            std::string error;
            if (!w_.screenshot(a[1], &error)) return error;
        } else if (verb == "open-setup" && need(1)) {
            std::string error;
            if (!w_.openSetup(a[1], &error)) return error;
        } else if (verb == "save-setup" && need(1)) {
            std::string error;
            if (!w_.saveSetup(a[1], &error)) return error;
        } else if (verb == "load-keys" && need(1)) {
            std::string error;
            if (!w_.loadKeys(a[1], &error)) return error;
        } else if (verb == "reload" && need(0)) {
            std::string error;
            if (!w_.reloadPlugin(&error)) return error;
        } else {
            return "unknown action or wrong number of words: '" + join(a, " ") + "'";
        }
        return "";
    }

private:
    static std::string join(const std::vector<std::string>& words, const char* between) {
        std::string out;
        for (const auto& w : words) out += (out.empty() ? "" : between) + w;
        return out;
    }

    std::string set(ControlCell* cell, const std::string& value) {
        if (cell->field) {
            if (!w_.panel()->commitText(cell, value)) return w_.panel()->lastRefusal();
        } else if (cell->check) {
            const bool on = normaliseName(value) == "on" || value == "1";
            if (cell->check->isChecked() != on) cell->check->click();
        } else if (cell->list) {
            for (int i = 0; i < cell->list->count(); ++i) {
                const std::string entry = cell->list->itemText(i).toStdString();
                const Control* c = s_.panel().find(cell->kind, cell->number);
                if (normaliseName(entry) == normaliseName(value) ||
                    (c && normaliseName(s_.panel().listEntryName(*c, i)) == normaliseName(value))) {
                    cell->list->setCurrentIndex(i);
                    emit cell->list->activated(i);
                    return "";
                }
            }
            return "'" + cell->name + "' has no entry '" + value + "'";
        } else {
            return "'" + cell->name + "' takes no value";
        }
        return "";
    }

    std::string describe(ControlCell* cell) const {
        const Control* c = s_.panel().find(cell->kind, cell->number);
        std::string label = c ? trimRight(s_.panel().label(*c)) : cell->name;
        if (cell->list) label = cell->list->currentText().toStdString();
        label += std::string(", ") + (cell->box->isHidden() ? "hidden" : "visible") + ", " +
                 (cell->box->isEnabled() ? "enabled" : "greyed");
        if (cell->field) label += ", field " + cell->field->text().toStdString();
        if (cell->field && cell->refused) label += " (refused)";
        if (cell->box->property("keyed").toBool()) label += ", keyed";
        return label;
    }

    void drag(double x0, double y0, double x1, double y1, std::string* said) {
        ViewerWidget* v = w_.viewer();
        const QPointF from = v->toCanvas(x0, y0), to = v->toCanvas(x1, y1);
        mouse(v, QEvent::MouseMove, from, Qt::NoButton, Qt::NoButton);
        const int before = s_.renders();
        mouse(v, QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
        const int moves = 8;
        for (int i = 1; i <= moves; ++i)
            mouse(v, QEvent::MouseMove, from + (to - from) * (double(i) / moves), Qt::NoButton, Qt::LeftButton);
        const int during = s_.renders() - before;
        const auto release = std::chrono::steady_clock::now();
        mouse(v, QEvent::MouseButtonRelease, to, Qt::LeftButton, Qt::NoButton);
        w_.repaint();
        const double ms =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - release).count();
        char text[160];
        std::snprintf(text, sizeof text, "renders during the drag %d, at release %d (release to frame %.1f ms)",
                      during, s_.renders() - before - during, ms);
        *said = text;
    }

    // Plays for `ms` at the window's play rate and counts the frames shown meanwhile.
    std::string playFor(double ms) {
        int shown = 0, last = s_.currentFrame();
        w_.timeline()->setPlaying(true);
        const auto start = Clock::now();
        while (msSince(start) < ms) {
            QApplication::processEvents(QEventLoop::AllEvents, 5);
            if (s_.currentFrame() != last) {
                ++shown;
                last = s_.currentFrame();
            }
            QThread::usleep(500);
        }
        w_.timeline()->setPlaying(false);
        return "played " + std::to_string(shown) + " frames";
    }

    // The window at its smallest: what is left for the picture, and whether the panel scrolls.
    std::string smallest() {
        w_.resize(w_.minimumSize());
        runFor(300);
        const QSize viewer = w_.viewer()->size();
        return "window " + std::to_string(w_.width()) + "x" + std::to_string(w_.height()) + ", viewer " +
               std::to_string(viewer.width()) + "x" + std::to_string(viewer.height()) + ", panel scrolls " +
               (w_.panel()->findChild<QScrollArea*>() ? "yes" : "no");
    }

    // Keystrokes into the field as a person types them, then Return.
    std::string type(ControlCell* cell, const std::string& text) {
        QLineEdit* field = cell->field;
        field->setFocus();
        field->selectAll();
        for (char ch : text) key(field, Qt::Key_unknown, QString(QChar(ch)));
        key(field, Qt::Key_Return, QString("\r"));
        std::string said = "field " + field->text().toStdString();
        if (cell->refused) said += ", refused: " + w_.panel()->lastRefusal();
        return said + "; " + describe(cell);
    }

    // Drags the timeline's handle from one frame to another at an even pace over `ms`, then
    // releases it and waits for the frame under it; tells which frames were shown on the way.
    std::string scrub(int fromFrame, int toFrame, double ms) {
        QSlider* slider = w_.timeline()->slider();
        const auto& frames = s_.frames();
        auto index = [&](int frame) {
            auto it = std::find(frames.begin(), frames.end(), frame);
            return it == frames.end() ? -1 : int(it - frames.begin());
        };
        const int i0 = index(fromFrame), i1 = index(toFrame);
        if (i0 < 0 || i1 < 0) return "scrub frames must be frames of the range";
        const size_t logged = w_.shownLog().size();
        const QPointF from = handleAt(slider, i0);
        mouse(slider, QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
        const auto start = Clock::now();
        const int moves = std::max(1, int(ms / 10.0));
        for (int m = 1; m <= moves; ++m) {
            const double t = double(m) / moves;
            const QPointF at = handleAt(slider, i0 + int(std::lround((i1 - i0) * t)));
            mouse(slider, QEvent::MouseMove, at, Qt::NoButton, Qt::LeftButton);
            while (msSince(start) < ms * t) runFor(1.0);
        }
        const double dragMs = msSince(start);
        const std::vector<int> during(w_.shownLog().begin() + long(logged), w_.shownLog().end());
        const auto release = Clock::now();
        mouse(slider, QEvent::MouseButtonRelease, handleAt(slider, i1), Qt::LeftButton, Qt::NoButton);
        while (w_.chasing() && msSince(release) < 120000.0) runFor(1.0);
        const double settle = msSince(release);
        std::string shown;
        for (int f : during) shown += (shown.empty() ? "" : " ") + std::to_string(f);
        char text[200];
        std::snprintf(text, sizeof text, "; %zu shown in %.0f ms (%.1f frames/s); after release frame %d (%.0f ms)",
                      during.size(), dragMs, during.size() * 1000.0 / std::max(dragMs, 1.0), s_.currentFrame(),
                      settle);
        return "during the drag " + (shown.empty() ? std::string("none") : shown) + text;
    }

    ViewWindow& w_;
    ViewSession& s_;

public:
    bool closed_ = false;
};

}  // namespace

int runScript(ViewWindow& window, const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        std::fprintf(stderr, "sparkhost: cannot read script '%s'\n", path.c_str());
        return 2;
    }
    window.setScripted(true);
    Runner runner(window);
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        const std::vector<std::string> words = scriptWords(line);
        if (words.empty()) continue;
        const auto start = std::chrono::steady_clock::now();
        std::string said;
        const std::string problem = runner.run(words, &said);
        window.repaint();
        QApplication::processEvents();
        const double ms =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        if (!problem.empty()) {
            std::fprintf(stderr, "script:%d: %s\n", number, problem.c_str());
            return 2;
        }
        std::string shown;
        for (const auto& w : words) shown += (shown.empty() ? "" : " ") + w;
        std::fprintf(resultsOutput(), "%s: %s (%.1f ms)\n", shown.c_str(), said.empty() ? "ok" : said.c_str(), ms);
        std::fflush(resultsOutput());
        if (runner.closed_) break;
    }
    return 0;
}

}  // namespace sparkhost
