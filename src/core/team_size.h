// How many threads a parallel region may ask the runtime for.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumo::parallel {

/// The threads of the calling thread's next region, 1 or more: what OpenMP's settings say, but no
/// more than this thread has processors, than the picture of its call can use, and than the process
/// can have.
///
/// The last is found out once a process, before its first region of that size: the runtime ends the
/// process over a thread that the system refuses and over one that it cannot put on its processor,
/// and gives its threads stacks of any size. So as many threads are started for a try and ended
/// again, and a worker's stack is looked at. Where some were refused, only the thread that found it
/// out gets others beside it, half of what it could have: what they take for their stacks the call
/// itself may need.
///
/// Not seen: threads and memory that others take after the try, those of a second calling thread
/// included; stacks of more than the usual size where the process may not have the memory; workers
/// that the host's own smaller regions on this thread have ended since; the few hundred bytes that
/// the runtime itself asks for.
int TeamSize();

/// Stack that a worker must have left when a region begins. The loops of all calls take 21 kB of it
/// (GCC 12, x86-64-v3), which a test holds below 32 kB.
constexpr std::size_t workerStack = 40 * 1024;

/// While one lives, the regions of its thread have no more threads than a picture of this size can
/// use: as many as it has lines, and one up to 128 × 128 pixels, where waking others, and waiting
/// for them on a busy machine, costs more than they give.
class PictureThreads {
public:
    PictureThreads(uint32_t width, uint32_t height);
    PictureThreads(const PictureThreads&) = delete;
    PictureThreads& operator=(const PictureThreads&) = delete;
    ~PictureThreads();

private:
    int before_;
};

} // namespace lumo::parallel
