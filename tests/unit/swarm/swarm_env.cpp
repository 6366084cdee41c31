#include "swarm_env.h"

#include <dlfcn.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "host/ControlTable.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Panel.h"

namespace swarm_test {

namespace {

sparkhost::Panel& TestPanel() {
    static sparkhost::Panel* panel = [] {
        auto* p = new sparkhost::Panel();
        p->discover([](const char* symbol) { return dlsym(RTLD_DEFAULT, symbol); });
        sparkhost::Host::current().setPanel(p);
        BindControls();
        return p;
    }();
    return *panel;
}

}  // namespace

void ResetEffect(int seed) {
    sparkhost::Panel& panel = TestPanel();
    for (const auto& c : panel.controls()) {
        std::memcpy(c.address, c.initial.data(), c.initial.size());
    }
    SyncAllControls();
    Vesk& v = Instance;
    v.part_set_free_all(v.set);
    v.draw_counter = 0;
    v.restart_flag = v.preroll_flag = 0;
    v.in_parallel = 0;
    v.frame = 0.0;
    v.pixel_ratio = 1.0;
    v.res_scale = 1.0f;
    v.random_state = -seed;
    v.fill_random_table();
    ClearMessages();
}

std::string Messages() {
    return sparkhost::Host::current().messageText(sparkhost::HostMessage::Message);
}

void ClearMessages() { sparkhost::Host::current().clearMessages(); }

tagPART* AddParticle(float x, float y, float vx, float vy) {
    tagPARTSET* s = Instance.set;
    tagPART* p = Instance.part_alloc(s);
    p->pos.x = x;
    p->pos.y = y;
    p->prev_pos[0] = x;
    p->prev_pos[1] = y;
    p->vel.x = vx;
    p->vel.y = vy;
    p->speed_k = p->accel_k = p->space_k = 1.0f;
    p->next = s->live_list;
    s->live_list = p;
    s->live_count++;
    return p;
}

void PrepareSet(int w, int h) {
    tagPARTSET* s = Instance.set;
    s->width = s->width2 = w;
    s->height = s->height2 = h;
    s->aspect = (float)w / (float)h;
    Instance.part_info_from_spark(s);
}

ImageQ4* MakeImage(int w, int h, unsigned short v) {
    ImageQ4* img = new ImageQ4(w, h);
    img->Fill(v, v, v, v);
    return img;
}

double MeanDistanceTo(float x, float y) {
    double sum = 0.0;
    int n = 0;
    for (tagPART* p = Instance.set->live_list; p; p = p->next, ++n) {
        sum += std::hypot((double)p->pos.x - x, (double)p->pos.y - y);
    }
    return n ? sum / n : 0.0;
}

double MeanNearestNeighbour() {
    double sum = 0.0;
    int n = 0;
    for (tagPART* p = Instance.set->live_list; p; p = p->next, ++n) {
        double best = std::numeric_limits<double>::max();
        for (tagPART* q = Instance.set->live_list; q; q = q->next) {
            if (q == p) continue;
            double d = std::hypot((double)p->pos.x - q->pos.x, (double)p->pos.y - q->pos.y);
            if (d < best) best = d;
        }
        sum += best;
    }
    return n ? sum / n : 0.0;
}

}  // namespace swarm_test
