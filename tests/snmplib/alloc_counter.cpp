// The counting operator new of the corelib tests, for this program too.
#include "../corelib/alloc_counter.cpp"
