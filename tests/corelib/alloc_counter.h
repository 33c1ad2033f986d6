// Counts every allocation of the test program, to see which operations allocate.
#pragma once

long AllocationCount();
