// The effect's clips, handles and controls come into being with the effect; they stay unbound
// until the host's start-up binds each control to its numbered record.
#include "effect/VeskInfo.h"

VeskInfo::VeskInfo() = default;
