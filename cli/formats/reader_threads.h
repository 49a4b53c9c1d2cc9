// How many threads the readers may use that can share their work.
#pragma once

namespace qva {

/// As SetReaderThreads has set it; 0 reads on the caller's.
int ReaderThreads();

} // namespace qva
