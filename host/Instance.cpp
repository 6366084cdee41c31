// The one effect object of the plug-in. It is built when the shared object is loaded and
// destroyed when it is unloaded; every entry point works on it.
#include "effect/Vesk.h"

Vesk Instance;
