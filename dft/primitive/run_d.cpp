// dft/primitive/run_d.cpp - the passes on doubles.
#define VRN_REAL double
#include "dft/primitive/run_of.hpp"
