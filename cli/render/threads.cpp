#include "render/threads.h"

#include "base/workers.h"
#include "formats/image_source.h"

#include <algorithm>
#include <omp.h>
#include <sched.h>
#include <vector>

namespace qva {

namespace {

// Where settings name places for its threads, OpenMP's runtime has put this one on the first of
// them before main began, and threads that are started by it would all stay there too.
void SpreadOverPlaces()
{
    cpu_set_t all;
    CPU_ZERO(&all);
    for (int place = 0; place < omp_get_num_places(); ++place) {
        std::vector<int> processors(static_cast<std::size_t>(omp_get_place_num_procs(place)));
        omp_get_place_proc_ids(place, processors.data());
        for (const int processor : processors) {
            CPU_SET(static_cast<std::size_t>(processor), &all);
        }
    }
    if (CPU_COUNT(&all) > 0) {
        sched_setaffinity(0, sizeof all, &all);
    }
}

} // namespace

void SetThreads(int threads)
{
    SpreadOverPlaces();
    // The environment may ask for any number.
    const int usual = std::clamp(omp_get_max_threads(), 1, omp_get_num_procs());
    const int count = threads > 0 ? threads : usual;
    omp_set_num_threads(count);
    SetWorkers(count);
    SetReaderThreads(count);
}

} // namespace qva
