#include "formats/image_source.h"

#include <OpenEXR/ImfThreading.h>

namespace qva {

void SetReaderThreads(int threads)
{
    Imf::setGlobalThreadCount(threads);
}

} // namespace qva
