#include "sparkhost/view/TimelineBar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QTimer>

#include <algorithm>
#include <cstdlib>

namespace sparkhost {

TimelineBar::TimelineBar(const std::vector<int>& frames, QWidget* parent)
    : QWidget(parent), frames_(frames) {
    setObjectName("timeline");
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(4, 2, 4, 2);
    auto button = [&](const char* text, const char* tip) {
        auto* b = new QPushButton(text, this);
        b->setToolTip(tip);
        b->setMaximumWidth(48);
        layout->addWidget(b);
        return b;
    };
    QPushButton* first = button("|<", "First frame");
    QPushButton* back = button("<", "Step back");
    play_ = button(">>", "Play / pause");
    QPushButton* forward = button(">", "Step forward");
    QPushButton* last = button(">|", "Last frame");
    slider_ = new QSlider(Qt::Horizontal, this);
    slider_->setRange(0, int(frames_.size()) - 1);
    field_ = new QSpinBox(this);
    auto [lo, hi] = std::minmax_element(frames_.begin(), frames_.end());
    field_->setRange(*lo, *hi);
    field_->setKeyboardTracking(false);
    range_ = new QLabel(this);
    range_->setText(QString("frames %1-%2 (%3)").arg(frames_.front()).arg(frames_.back()).arg(frames_.size()));
    layout->addWidget(slider_, 1);
    layout->addWidget(new QLabel("Frame", this));
    layout->addWidget(field_);
    layout->addWidget(range_);
    timer_ = new QTimer(this);
    timer_->setInterval(1000 / 24);

    connect(first, &QPushButton::clicked, this, [this] { jump(frames_.front()); });
    connect(last, &QPushButton::clicked, this, [this] { jump(frames_.back()); });
    connect(back, &QPushButton::clicked, this, [this] { step(-1); });
    connect(forward, &QPushButton::clicked, this, [this] { step(1); });
    connect(play_, &QPushButton::clicked, this, [this] { setPlaying(!playing()); });
    connect(timer_, &QTimer::timeout, this, [this] {
        if (index_ + 1 < int(frames_.size())) step(1);
        else jump(frames_.front());
    });
    // Scrubbing: the frame follows the slider while it moves.
    connect(slider_, &QSlider::valueChanged, this, [this](int index) { jump(frames_[size_t(index)]); });
    connect(field_, QOverload<int>::of(&QSpinBox::valueChanged), this, [this](int frame) {
        if (indexOf(frame) >= 0) jump(frame);
        else showFrame(frames_[size_t(index_)]);
    });
    showFrame(frames_.front());
}

int TimelineBar::indexOf(int frame) const {
    auto it = std::find(frames_.begin(), frames_.end(), frame);
    return it == frames_.end() ? -1 : int(it - frames_.begin());
}

void TimelineBar::showFrame(int frame) {
    const int index = indexOf(frame);
    if (index < 0) return;
    index_ = index;
    const QSignalBlocker b1(slider_), b2(field_);
    slider_->setValue(index);
    field_->setValue(frame);
}

void TimelineBar::jump(int frame) {
    if (indexOf(frame) < 0) return;
    if (goTo_ && !goTo_(frame)) {
        setPlaying(false);
        return;
    }
    showFrame(frame);
}

void TimelineBar::step(int by) {
    const int index = std::clamp(index_ + by, 0, int(frames_.size()) - 1);
    jump(frames_[size_t(index)]);
}

void TimelineBar::setPlaying(bool playing) {
    if (playing) timer_->start();
    else timer_->stop();
    play_->setText(playing ? "||" : ">>");
}

bool TimelineBar::playing() const { return timer_->isActive(); }

}  // namespace sparkhost
