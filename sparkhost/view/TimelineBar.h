// The timeline: the frame range as a slider with the frames that hold keys and events marked
// under it, the current frame in an editable field, first, step back, play/pause, step forward
// and last. Playing steps one frame per tick at the play rate and wraps.
#ifndef SPARKHOST_VIEW_TIMELINEBAR_H
#define SPARKHOST_VIEW_TIMELINEBAR_H

#include <QWidget>

#include <functional>
#include <string>
#include <utility>
#include <vector>

class QLabel;
class QPushButton;
class QSlider;
class QSpinBox;
class QTimer;

namespace sparkhost {

// An event as the timeline marks it: its frame and what it is called.
using EventMark = std::pair<int, std::string>;

// The strip under the slider: a tick per keyed frame, a flag per event. A right click on a flag
// offers to remove that event.
class TimelineMarks : public QWidget {
public:
    explicit TimelineMarks(QSlider* slider, QWidget* parent = nullptr);
    void set(const std::vector<int>& frames, std::vector<int> keys, std::vector<EventMark> events);
    void setRemoveEvent(std::function<void(int index)> remove) { remove_ = std::move(remove); }
    // The marks in words, for scripts: "keys 1, 45; events 30 Restart".
    std::string describe() const;
    QSize sizeHint() const override { return {200, 14}; }

protected:
    void paintEvent(QPaintEvent*) override;
    void contextMenuEvent(QContextMenuEvent*) override;

private:
    int xOf(int frame) const;
    QSlider* slider_;
    std::vector<int> frames_, keys_;
    std::vector<EventMark> events_;
    std::function<void(int)> remove_;
};

class TimelineBar : public QWidget {
public:
    explicit TimelineBar(const std::vector<int>& frames, QWidget* parent = nullptr);

    // Asks for a frame of the range (by its number); returns false when it could not be shown.
    void setGoTo(std::function<bool(int frame)> goTo) { goTo_ = std::move(goTo); }
    // Asks for a frame without waiting for it, as the slider does while it is dragged.
    void setScrub(std::function<void(int frame)> scrub) { scrub_ = std::move(scrub); }
    // Shows a frame as current without asking for it.
    void showFrame(int frame);
    // Moves to a frame as the frame field does.
    void jump(int frame);
    void step(int by);
    void setPlaying(bool playing);
    bool playing() const;
    // Frames per second of play; 0 plays each frame as soon as the one before is shown.
    void setRate(double fps);
    double rate() const { return rate_; }

    void setMarks(std::vector<int> keys, std::vector<EventMark> events);
    void setRemoveEvent(std::function<void(int index)> remove) { marks_->setRemoveEvent(std::move(remove)); }
    TimelineMarks* marks() const { return marks_; }
    QSlider* slider() const { return slider_; }

private:
    int indexOf(int frame) const;

    std::vector<int> frames_;
    int index_ = 0;
    double rate_ = 24.0;
    QSlider* slider_;
    TimelineMarks* marks_;
    QSpinBox* field_;
    QLabel* range_;
    QPushButton* play_;
    QTimer* timer_;
    std::function<bool(int)> goTo_;
    std::function<void(int)> scrub_;
};

}  // namespace sparkhost

#endif
