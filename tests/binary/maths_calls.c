/* A module that calls each maths function whose symbol version changed in glibc 2.29: built once
   as is and once as the plug-ins are, to show that the binary check tells the two apart. */
#include <math.h>

double maths_calls(double x, double y) { return exp(x) + exp2(x) + log(y) + log2(y) + pow(y, x); }
