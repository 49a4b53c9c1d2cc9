#include "render/threads.h"

#include "base/workers.h"
#include "formats/image_source.h"

#include <algorithm>
#include <omp.h>

namespace qva {

void SetThreads(int threads)
{
    // The environment may ask for any number.
    const int usual = std::clamp(omp_get_max_threads(), 1, omp_get_num_procs());
    const int count = threads > 0 ? threads : usual;
    omp_set_num_threads(count);
    SetWorkers(count);
    SetReaderThreads(count);
}

} // namespace qva
