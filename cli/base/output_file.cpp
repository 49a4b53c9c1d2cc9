#include "base/output_file.h"

#include "base/errors.h"
#include "base/scratch_file.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace qva {

namespace {

// Signal handlers may not touch strings: the names live in fixed buffers, valid while used.
constexpr int slotCount = 4;
struct Slot {
    std::atomic<bool> used{false};
    std::array<char, 4096> name{};
};
std::array<Slot, slotCount> slots;
std::array<char, 4096> farewell{};
std::atomic<std::size_t> farewellLength{0};

int Remember(const std::string& name)
{
    for (int i = 0; i < slotCount; ++i) {
        Slot& slot = slots[static_cast<std::size_t>(i)];
        if (!slot.used.load() && name.size() < slot.name.size()) {
            std::memcpy(slot.name.data(), name.c_str(), name.size() + 1);
            slot.used.store(true);
            return i;
        }
    }
    return -1;
}

void Forget(int slot)
{
    if (slot >= 0) {
        slots[static_cast<std::size_t>(slot)].used.store(false);
    }
}

extern "C" void RemoveTemporaries()
{
    for (Slot& slot : slots) {
        if (slot.used.load()) {
            unlink(slot.name.data());
        }
    }
}

extern "C" void OnSignal(int signal)
{
    RemoveTemporaries();
    if (write(STDERR_FILENO, farewell.data(), farewellLength.load()) < 0) {
        // Nobody is left to be told.
    }
    // The handler was reset to the default when it was called, so this ends the program.
    raise(signal);
}

std::string RandomName()
{
    constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    std::string name = ".qva-";
    for (int i = 0; i < 10; ++i) {
        name.push_back(letters[random() % letters.size()]);
    }
    return name;
}

/// The permissions of the old file, or those a new one gets.
mode_t ModeFor(const std::string& target)
{
    struct stat status {};
    if (stat(target.c_str(), &status) == 0) {
        return status.st_mode & 0777;
    }
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

std::string FollowLinks(const std::string& path)
{
    std::error_code error;
    if (!std::filesystem::is_symlink(path, error)) {
        return path;
    }
    const std::filesystem::path target = std::filesystem::canonical(path, error);
    if (error) {
        throw Failure(path, "is a symbolic link to nowhere");
    }
    return target.string();
}

} // namespace

std::string FolderOf(const std::string& path)
{
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

OutputTarget ResolveOutput(const std::string& path)
{
    const std::string target = FollowLinks(path);
    struct stat status {};
    if (stat(target.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        throw Failure(path, S_ISDIR(status.st_mode) ? "is a directory" : "is not a regular file");
    }
    return {target, ModeFor(target)};
}

void EnsureFolder(const std::string& output)
{
    ResolveOutput(output);
    // Thrown away at once: it only shows that files can be created where the result will lie.
    try {
        const ScratchFile trial(FolderOf(output));
    } catch (const Failure&) {
        throw Failure(output, "cannot be written: " + SystemReason(errno));
    }
}

OutputFile::OutputFile(const std::string& path) : path_(path), target_(ResolveOutput(path))
{
    const std::filesystem::path target(target_.path);
    do {
        temporary_ = (target.parent_path() / RandomName()).string();
        // Before it is there, so that a signal finds it from its first moment.
        slot_ = Remember(temporary_);
        descriptor_ = open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (descriptor_ < 0) {
            Forget(slot_);
        }
    } while (descriptor_ < 0 && errno == EEXIST);
    if (descriptor_ < 0) {
        throw Failure(path, "cannot be written: " + SystemReason(errno));
    }
}

OutputFile::~OutputFile()
{
    Discard();
}

void OutputFile::Discard()
{
    if (descriptor_ >= 0) {
        close(descriptor_);
        descriptor_ = -1;
        unlink(temporary_.c_str());
    }
    Forget(slot_);
    slot_ = -1;
}

int OutputFile::Duplicate() const
{
    const int copy = dup(descriptor_);
    if (copy < 0) {
        throw Failure(path_, "cannot be written: " + SystemReason(errno));
    }
    return copy;
}

void OutputFile::Commit()
{
    if (fchmod(descriptor_, target_.mode) != 0 || fsync(descriptor_) != 0 ||
        std::rename(temporary_.c_str(), target_.path.c_str()) != 0)
    {
        throw Failure(path_, "cannot be written: " + SystemReason(errno));
    }
    close(descriptor_);
    descriptor_ = -1;
    Discard();
}

void InstallSignalHandlers()
{
    struct sigaction action {};
    action.sa_handler = OnSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(signal, &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN);
    // The OpenMP runtime ends the program where it gets no thread.
    std::atexit(RemoveTemporaries);
}

void SetFarewell(const std::string& line)
{
    farewellLength.store(0);
    const std::size_t length = std::min(line.size(), farewell.size());
    std::memcpy(farewell.data(), line.data(), length);
    farewellLength.store(length);
}

bool AreSameFile(const std::string& first, const std::string& second)
{
    std::error_code error;
    if (std::filesystem::equivalent(first, second, error)) {
        return true;
    }
    const auto resolve = [&error](const std::string& path) {
        return std::filesystem::weakly_canonical(std::filesystem::absolute(path, error), error);
    };
    const std::filesystem::path left = resolve(first);
    return !left.empty() && left == resolve(second);
}

} // namespace qva
