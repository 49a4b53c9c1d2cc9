#include "render/threads.h"

#include "base/workers.h"
#include "formats/image_source.h"

#include <algorithm>
#include <omp.h>

namespace qva {

void SetThreads(int threads)
{
    // The environment may ask for any number.
    omp_set_num_threads(threads > 0 ? threads : std::clamp(omp_get_max_threads(), 1, mostThreads));
    SetWorkers(omp_get_max_threads());
    SetReaderThreads(omp_get_max_threads());
}

} // namespace qva
