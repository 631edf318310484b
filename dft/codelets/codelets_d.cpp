// dft/codelets/codelets_d.cpp - the direct codelets of doubles.
#define VRN_REAL   double
#define VRN_LETTER d
#include "dft/codelets/codelets_of.hpp"
