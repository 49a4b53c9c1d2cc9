#include "base/child_process.h"

#include "base/errors.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qva {

namespace {

constexpr const char* self = "/proc/self/exe";
constexpr const char* programName = "qva";

Descriptor MemoryFile()
{
    Descriptor file(memfd_create("qva", MFD_CLOEXEC));
    if (!file.IsOpen()) {
        throw Failure("standard output", "cannot be kept: " + SystemReason(errno), exitFailed);
    }
    return file;
}

std::string ContentOf(const Descriptor& file)
{
    // More than any run tells; what is behind it is left.
    constexpr off_t most = 1 << 22;
    const off_t size = lseek(file.Get(), 0, SEEK_END);
    std::string text(static_cast<std::size_t>(size < most ? size : most), '\0');
    const ssize_t count = pread(file.Get(), text.data(), text.size(), 0);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
}

/// Between fork and exec: nothing here may ask for memory.
[[noreturn]] void Become(char* const* arguments, int output, int messages, int kept, pid_t parent,
                         const sigset_t& mask)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const int nothing = open("/dev/null", O_RDONLY);
    dup2(nothing, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(messages, STDERR_FILENO);
    fcntl(kept, F_SETFD, 0);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    // The parent may have ended before it was asked for.
    if (getppid() == parent) {
        execv(self, arguments);
    }
    _exit(exitFailed);
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& words, const sigset_t& mask, int kept)
    : output_(MemoryFile()), messages_(MemoryFile())
{
    std::vector<std::string> all = {programName};
    all.insert(all.end(), words.begin(), words.end());
    std::vector<char*> arguments;
    for (std::string& word : all) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    const pid_t parent = getpid();
    id_ = fork();
    if (id_ == 0) {
        Become(arguments.data(), output_.Get(), messages_.Get(), kept, parent, mask);
    }
    if (id_ < 0) {
        throw Failure(programName, "cannot be started: " + SystemReason(errno), exitFailed);
    }
}

void ChildProcess::Signal(int number) const
{
    kill(id_, number);
}

std::optional<ChildResult> ChildProcess::Result() const
{
    int status = 0;
    rusage usage{};
    pid_t ended = 0;
    do {
        ended = wait4(id_, &status, WNOHANG, &usage);
    } while (ended < 0 && errno == EINTR);
    if (ended == 0) {
        return std::nullopt;
    }
    ChildResult result;
    result.exitCode = WIFSIGNALED(status) ? exitSignal + WTERMSIG(status) : WEXITSTATUS(status);
    result.output = ContentOf(output_);
    result.messages = ContentOf(messages_);
    result.peakMemory = static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
    return result;
}

} // namespace qva
