// dft/codelets/batch_kernels_s.cpp - the batch kernels of floats.
#define VRN_REAL   float
#define VRN_LETTER s
#include "dft/codelets/batch_kernels_of.hpp"
