// stats_api.h -- what every part of the statistics library includes: the
// host's kernel interface, the float class, and the export markers.
//
// The library is built with hidden visibility.  Host entries are plain C
// symbols marked STATS_ENTRY; inner functions and classes that other parts
// and other libraries call by name are marked STATS_API and keep C++ linkage.
#pragma once

#include "talvo_float.hpp"
#include "talvo_kernel.h"

#define STATS_API __attribute__((visibility("default")))
#define STATS_ENTRY extern "C" STATS_API
