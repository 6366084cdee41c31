// The swarm effect: one object of this class, `Instance`, lives as long as the plug-in is loaded.
#ifndef EFFECT_VESK_H
#define EFFECT_VESK_H

#include "framework/PluginQ4.h"
#include "framework/OverlayQ4.h"
#include "effect/VeskInfo.h"

class Vesk : public PluginQ4, public OverlayQ4 {
public:
    VeskInfo info;

    // ==== swarm and frame driver ====
    // ==== end swarm and frame driver ====

    // ==== controls and callbacks ====
    // ==== end controls and callbacks ====

    // ==== rendering ====
    // ==== end rendering ====

    // ==== overlay ====
    // ==== end overlay ====
};

extern Vesk Instance;

#endif
