// Processor count used to size render bands.
#ifndef Q4MP_H
#define Q4MP_H

// Number of processors the operating system reports as available.
int q4mp_get_raw_cpu_count();

#endif
