#include "base/pipe_ends.h"

#include "base/descriptor.h"
#include "base/errors.h"
#include "base/scratch_file.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace qva {

namespace {

constexpr std::size_t blockSize = std::size_t{1} << 20;

struct Alias {
    std::string path;
    const char* meaning;
};

std::vector<Alias>& Aliases()
{
    static std::vector<Alias> aliases;
    return aliases;
}

std::string Remember(const std::string& path, const char* meaning)
{
    Aliases().push_back({path, meaning});
    return path;
}

/// @return bytes read, 0 at the end.
std::size_t ReadSome(int from, std::vector<char>& block)
{
    ssize_t done = 0;
    do {
        done = read(from, block.data(), block.size());
    } while (done < 0 && errno == EINTR);
    if (done < 0) {
        throw Failure("standard input", "cannot be read: " + SystemReason(errno));
    }
    return static_cast<std::size_t>(done);
}

void WriteAll(int to, const char* bytes, std::size_t count)
{
    while (count > 0) {
        const ssize_t done = write(to, bytes, count);
        if (done < 0 && errno == EINTR) {
            continue;
        }
        if (done <= 0) {
            throw Failure("standard output", WriteReason(errno), exitOutput);
        }
        bytes += done;
        count -= static_cast<std::size_t>(done);
    }
}

} // namespace

PipeEnds::PipeEnds() = default;

PipeEnds::~PipeEnds()
{
    if (output_) {
        unlink(output_->Path().c_str());
    }
}

std::string PipeEnds::Input(const std::string& name, std::uint64_t most)
{
    if (name != pipeName) {
        return name;
    }
    input_ = std::make_unique<ScratchFile>(ScratchFile::CommonFolder());
    std::vector<char> block(blockSize);
    std::uint64_t size = 0;
    while (const std::size_t count = ReadSome(STDIN_FILENO, block)) {
        input_->Write(static_cast<std::int64_t>(size), block.data(), count);
        size += count;
        if (size > most) {
            throw Failure("standard input", "gives more than " + std::to_string(most >> 20) +
                                                " MiB, more than a picture of --max-pixels takes");
        }
    }
    if (size == 0) {
        throw Failure("standard input", "is empty");
    }
    // Readers ask for a name; this one is the nameless file's own.
    return Remember("/proc/self/fd/" + std::to_string(input_->Number()), "standard input");
}

std::string PipeEnds::Output(const std::string& name, const std::string& ending)
{
    if (name != pipeName) {
        return name;
    }
    output_.emplace(ScratchFile::CommonFolder(), ending);
    return Remember(output_->Path(), "standard output");
}

void PipeEnds::Send()
{
    if (!output_) {
        return;
    }
    const Descriptor file(open(output_->Path().c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen()) {
        throw Failure("standard output", WriteReason(errno), exitOutput);
    }
    std::vector<char> block(blockSize);
    while (const std::size_t count = ReadSome(file.Get(), block)) {
        WriteAll(STDOUT_FILENO, block.data(), count);
    }
}

std::string ForPeople(std::string text)
{
    for (const Alias& alias : Aliases()) {
        for (std::size_t place = 0; (place = text.find(alias.path, place)) != std::string::npos;) {
            text.replace(place, alias.path.size(), alias.meaning);
        }
    }
    return text;
}

} // namespace qva
