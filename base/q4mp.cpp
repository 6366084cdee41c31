// Processor count as the operating system reports it.
#include "base/q4mp.h"

#include <sys/sysinfo.h>

int q4mp_get_raw_cpu_count() { return get_nprocs(); }
