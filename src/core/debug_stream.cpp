#include "core/debug_stream.h"

#include <mutex>

namespace lumo {
namespace {

class Silence {
public:
    explicit Silence(std::ostream& stream) : stream_(stream)
    {
        sink_.previous = stream.rdbuf(&sink_);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    ~Silence() { stream_.rdbuf(sink_.previous); }

private:
    std::ostream& stream_;
    DebugStreamBuffer<char> sink_;
};

} // namespace

std::ostream& LibraryOutput()
{
    static std::ostream stream(nullptr);
    return stream;
}

void WriteLibraryLine(const char* text)
{
    static std::mutex streamLock;
    const std::lock_guard<std::mutex> hold(streamLock);
    LibraryOutput() << text << std::endl;
}

void SilenceLibraryOutput()
{
    static const Silence silence(LibraryOutput());
}

} // namespace lumo
