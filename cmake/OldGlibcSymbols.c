/* The plug-ins are loaded into hosts that still run on Linux distributions whose C library is
   glibc 2.28. In glibc 2.29 five functions of the maths library gained a new symbol version; the
   new versions set errno themselves instead of through a wrapper, and return the same values as
   the old ones (tests/unit/portable compares both bit for bit). The link of each plug-in
   redirects its calls of these functions (ld --wrap, see PortablePlugin.cmake) to the functions
   here, which call the versions every glibc since 2.2.5 provides. */
#include <math.h>

#define VESK_OLD_VERSION(name) __asm__(".symver " #name "," #name "@GLIBC_2.2.5")
VESK_OLD_VERSION(exp);
VESK_OLD_VERSION(exp2);
VESK_OLD_VERSION(log);
VESK_OLD_VERSION(log2);
VESK_OLD_VERSION(pow);

#define VESK_HIDDEN __attribute__((visibility("hidden")))
VESK_HIDDEN double __wrap_exp(double x) { return exp(x); }
VESK_HIDDEN double __wrap_exp2(double x) { return exp2(x); }
VESK_HIDDEN double __wrap_log(double x) { return log(x); }
VESK_HIDDEN double __wrap_log2(double x) { return log2(x); }
VESK_HIDDEN double __wrap_pow(double x, double y) { return pow(x, y); }
