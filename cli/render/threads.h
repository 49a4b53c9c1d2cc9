// How many threads the work takes.
#pragma once

namespace qva {

/// More threads than these are not asked of a system.
constexpr int mostThreads = 1024;

/// Sets how many threads the library and the readers work with; 0: one per core, or fewer where
/// OMP_NUM_THREADS says so.
void SetThreads(int threads);

} // namespace qva
