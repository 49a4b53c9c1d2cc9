#include "base/scratch_file.h"

#include "base/errors.h"
#include "base/temporary_name.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace qva {

ScratchFile::ScratchFile(const std::string& folder) : name_("a temporary file in " + folder)
{
    // Never under a name, where the file system can do that.
    descriptor_ = Descriptor(open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (descriptor_.IsOpen()) {
        return;
    }
    const TemporaryName name(folder);
    descriptor_ =
        Descriptor(open(name.Path().c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!descriptor_.IsOpen()) {
        throw Failure(name_, "cannot be created: " + SystemReason(errno), exitOutput);
    }
    unlink(name.Path().c_str());
}

std::string ScratchFile::CommonFolder()
{
    const char* chosen = std::getenv("TMPDIR");
    return chosen != nullptr && *chosen != '\0' ? chosen : "/var/tmp";
}

void ScratchFile::Write(std::int64_t place, const void* bytes, std::size_t count)
{
    const char* from = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t done = pwrite(descriptor_.Get(), from, count, place);
        if (done < 0 && errno == EINTR) {
            continue;
        }
        if (done <= 0) {
            throw Failure(name_, WriteReason(errno), exitOutput);
        }
        from += done;
        place += done;
        count -= static_cast<std::size_t>(done);
    }
}

void ScratchFile::Read(std::int64_t place, void* bytes, std::size_t count) const
{
    char* to = static_cast<char*>(bytes);
    while (count > 0) {
        const ssize_t done = pread(descriptor_.Get(), to, count, place);
        if (done < 0 && errno == EINTR) {
            continue;
        }
        if (done <= 0) {
            throw Failure(
                name_, "cannot be read: " + (done == 0 ? "it is too short" : SystemReason(errno)),
                exitOutput);
        }
        to += done;
        place += done;
        count -= static_cast<std::size_t>(done);
    }
}

} // namespace qva
