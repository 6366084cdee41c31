// The timeline: the frame range as a slider, the current frame in an editable field, first,
// step back, play/pause, step forward and last. Playing steps one frame per tick and wraps.
#ifndef SPARKHOST_VIEW_TIMELINEBAR_H
#define SPARKHOST_VIEW_TIMELINEBAR_H

#include <QWidget>

#include <functional>
#include <vector>

class QLabel;
class QPushButton;
class QSlider;
class QSpinBox;
class QTimer;

namespace sparkhost {

class TimelineBar : public QWidget {
public:
    explicit TimelineBar(const std::vector<int>& frames, QWidget* parent = nullptr);

    // Asks for a frame of the range (by its number); returns false when it could not be shown.
    void setGoTo(std::function<bool(int frame)> goTo) { goTo_ = std::move(goTo); }
    // Shows a frame as current without asking for it.
    void showFrame(int frame);
    // Moves to a frame as the frame field does.
    void jump(int frame);
    void step(int by);
    void setPlaying(bool playing);
    bool playing() const;

private:
    int indexOf(int frame) const;

    std::vector<int> frames_;
    int index_ = 0;
    QSlider* slider_;
    QSpinBox* field_;
    QLabel* range_;
    QPushButton* play_;
    QTimer* timer_;
    std::function<bool(int)> goTo_;
};

}  // namespace sparkhost

#endif
