// The swarm the overlay outlines in Wireframe mode: the simulation state after the frame shown,
// as the render of that frame left it in the checkpoint cache.
#ifndef OFX_OVERLAYSWARM_H
#define OFX_OVERLAYSWARM_H

#include <memory>
#include <vector>

#include "effect/Particles.h"
#include "ofx/SimState.h"

namespace vesk_ofx {

struct InstanceData;

// The state after `frame` of the instance's shot, when a render of that frame (at the settings
// the instance holds now) has left it in the cache; null otherwise.
std::shared_ptr<const SimState> StateAfterFrame(InstanceData& d, int frame);

// Puts a saved state's particles and set fields in place of the effect's own set while it lives,
// so that the effect's overlay drawing outlines them; the effect's set and frame attributes come
// back when it goes. The set's drawing fields (shape, rotation, sharpness) are taken again from
// the controls loaded now, as a frame takes them, so an edit of them shows before the next
// render. Engine state: the holder of the engine lock makes and drops it.
class ShownSwarm {
public:
    ShownSwarm(const SimState* state, double frame);
    ~ShownSwarm();
    ShownSwarm(const ShownSwarm&) = delete;
    ShownSwarm& operator=(const ShownSwarm&) = delete;

private:
    tagPARTSET set_{};
    std::vector<tagPART> particles_;
    tagPARTSET* saved_set_;
    float saved_res_scale_;
    double saved_pixel_ratio_;
    double saved_frame_;
};

}  // namespace vesk_ofx

#endif
