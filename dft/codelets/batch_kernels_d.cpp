// dft/codelets/batch_kernels_d.cpp - the batch kernels of doubles.
#define VRN_REAL   double
#define VRN_LETTER d
#include "dft/codelets/batch_kernels_of.hpp"
