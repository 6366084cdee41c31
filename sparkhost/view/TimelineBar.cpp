#include "sparkhost/view/TimelineBar.h"

#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace sparkhost {

TimelineMarks::TimelineMarks(QSlider* slider, QWidget* parent) : QWidget(parent), slider_(slider) {
    setObjectName("timeline marks");
    setMinimumHeight(14);
}

void TimelineMarks::set(const std::vector<int>& frames, std::vector<int> keys, std::vector<EventMark> events) {
    frames_ = frames;
    // Keys beyond the range shape the curve inside it but have no place on the timeline.
    const auto [lo, hi] = std::minmax_element(frames_.begin(), frames_.end());
    keys.erase(std::remove_if(keys.begin(), keys.end(), [&](int k) { return k < *lo || k > *hi; }), keys.end());
    keys_ = std::move(keys);
    events_ = std::move(events);
    update();
}

// Under the slider's groove, where the handle's centre is for that frame.
int TimelineMarks::xOf(int frame) const {
    // The position of the range's frame nearest to it (ranges may step or run backwards).
    int index = 0;
    for (size_t i = 0; i < frames_.size(); ++i)
        if (std::abs(frames_[i] - frame) < std::abs(frames_[size_t(index)] - frame)) index = int(i);
    QStyleOptionSlider option;
    option.initFrom(slider_);
    option.orientation = Qt::Horizontal;
    option.minimum = slider_->minimum();
    option.maximum = slider_->maximum();
    const QRect handle = slider_->style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, slider_);
    const int span = slider_->width() - handle.width();
    const int pos = QStyle::sliderPositionFromValue(slider_->minimum(), slider_->maximum(), index, span);
    return slider_->x() - x() + pos + handle.width() / 2;
}

void TimelineMarks::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QColor(230, 190, 40));
    for (int key : keys_) {
        const int x = xOf(key);
        p.drawLine(x, 1, x, height() - 2);
    }
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(220, 60, 50));
    for (const auto& event : events_) {
        const int x = xOf(event.first);
        const QPointF flag[3] = {{double(x), 0.0}, {x + 7.0, 4.0}, {double(x), 8.0}};
        p.drawPolygon(flag, 3);
        p.fillRect(x, 0, 1, height(), QColor(220, 60, 50));
    }
}

void TimelineMarks::contextMenuEvent(QContextMenuEvent* event) {
    QMenu menu(this);
    for (size_t i = 0; i < events_.size(); ++i) {
        if (std::abs(xOf(events_[i].first) - event->pos().x()) > 6) continue;
        const QString text = QString("Remove %1 at frame %2")
                                 .arg(QString::fromStdString(events_[i].second))
                                 .arg(events_[i].first);
        menu.addAction(text, this, [this, i] {
            if (remove_) remove_(int(i));
        });
    }
    if (!menu.isEmpty()) menu.exec(event->globalPos());
}

std::string TimelineMarks::describe() const {
    std::string text = "keys";
    for (size_t i = 0; i < keys_.size(); ++i) text += (i ? ", " : " ") + std::to_string(keys_[i]);
    text += "; events";
    for (size_t i = 0; i < events_.size(); ++i)
        text += (i ? ", " : " ") + std::to_string(events_[i].first) + " " + events_[i].second;
    return text;
}

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
    auto* track = new QWidget(this);
    auto* trackLayout = new QVBoxLayout(track);
    trackLayout->setContentsMargins(0, 0, 0, 0);
    trackLayout->setSpacing(0);
    slider_ = new QSlider(Qt::Horizontal, track);
    slider_->setObjectName("timeline slider");
    slider_->setRange(0, int(frames_.size()) - 1);
    marks_ = new TimelineMarks(slider_, track);
    trackLayout->addWidget(slider_);
    trackLayout->addWidget(marks_);
    field_ = new QSpinBox(this);
    auto [lo, hi] = std::minmax_element(frames_.begin(), frames_.end());
    field_->setRange(*lo, *hi);
    field_->setKeyboardTracking(false);
    range_ = new QLabel(this);
    range_->setText(QString("frames %1-%2 (%3)").arg(frames_.front()).arg(frames_.back()).arg(frames_.size()));
    layout->addWidget(track, 1);
    layout->addWidget(new QLabel("Frame", this));
    layout->addWidget(field_);
    layout->addWidget(range_);
    timer_ = new QTimer(this);
    setRate(rate_);

    connect(first, &QPushButton::clicked, this, [this] { jump(frames_.front()); });
    connect(last, &QPushButton::clicked, this, [this] { jump(frames_.back()); });
    connect(back, &QPushButton::clicked, this, [this] { step(-1); });
    connect(forward, &QPushButton::clicked, this, [this] { step(1); });
    connect(play_, &QPushButton::clicked, this, [this] { setPlaying(!playing()); });
    connect(timer_, &QTimer::timeout, this, [this] {
        if (index_ + 1 < int(frames_.size())) step(1);
        else jump(frames_.front());
    });
    // Scrubbing: the frame follows the slider while it moves, without waiting for each frame, so
    // the handle stays under the pointer and the frame shown catches up with it.
    connect(slider_, &QSlider::valueChanged, this, [this](int index) {
        if (slider_->isSliderDown() && scrub_) {
            index_ = index;
            const QSignalBlocker block(field_);
            field_->setValue(frames_[size_t(index)]);
            scrub_(frames_[size_t(index)]);
        } else {
            jump(frames_[size_t(index)]);
        }
    });
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

void TimelineBar::setMarks(std::vector<int> keys, std::vector<EventMark> events) {
    marks_->set(frames_, std::move(keys), std::move(events));
}

void TimelineBar::setRate(double fps) {
    rate_ = fps > 0.0 ? fps : 0.0;
    timer_->setInterval(rate_ > 0.0 ? int(std::lround(1000.0 / rate_)) : 0);
}

void TimelineBar::showFrame(int frame) {
    const int index = indexOf(frame);
    if (index < 0) return;
    // While the person drags the handle it stays under the pointer; the frame follows it.
    if (slider_->isSliderDown()) return;
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
