// dft/primitive/run_s.cpp - the passes on floats.
#define VRN_REAL float
#include "dft/primitive/run_of.hpp"
