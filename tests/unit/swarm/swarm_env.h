// Test environment of the swarm: the plug-in's controls bound to their exported records, an
// in-process host whose curves answer from those records, and helpers that build small swarms
// by hand.
#ifndef TESTS_UNIT_SWARM_SWARM_ENV_H
#define TESTS_UNIT_SWARM_SWARM_ENV_H

#include <string>

#include "effect/Particles.h"
#include "effect/Vesk.h"
#include "Library/Q4Image.h"

namespace swarm_test {

// Binds the controls once and restores every control record to its exported default;
// empties the swarm, resets the draw counter and the request flags, and refills the random
// table from `seed` (as the frame driver does with -Seed).
void ResetEffect(int seed = 165);

// Text of every host message so far (each followed by a newline), and clearing them.
std::string Messages();
void ClearMessages();

// A particle pushed at the head of the live list, with personal factors 1.
tagPART* AddParticle(float x, float y, float vx = 0.0f, float vy = 0.0f);

// Fills the set's geometry for a frame of w x h and copies the controls in, as the frame
// driver does before stepping.
void PrepareSet(int w, int h);

// A w x h image with every channel of every pixel set to v.
ImageQ4* MakeImage(int w, int h, unsigned short v);

// Mean distance of the live particles to (x, y), and mean nearest-neighbour distance.
double MeanDistanceTo(float x, float y);
double MeanNearestNeighbour();

}  // namespace swarm_test

#endif
