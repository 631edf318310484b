// dft/codelets/codelets_s.cpp - the direct codelets of singles.
#define VRN_REAL   float
#define VRN_LETTER s
#include "dft/codelets/codelets_of.hpp"
