#include "formats/reader_threads.h"

#include "formats/image_source.h"

#include <OpenEXR/ImfThreading.h>
#include <atomic>

namespace qva {

namespace {

std::atomic<int> readerThreads{0};

} // namespace

void SetReaderThreads(int threads)
{
    readerThreads = threads;
    Imf::setGlobalThreadCount(threads);
}

int ReaderThreads()
{
    return readerThreads;
}

} // namespace qva
