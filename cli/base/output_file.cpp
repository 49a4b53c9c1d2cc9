#include "base/output_file.h"

#include "base/errors.h"
#include "base/phase_times.h"
#include "base/scratch_file.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace qva {

namespace {

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
        throw Failure(path, "is a symbolic link to nowhere", exitOutput);
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
        throw Failure(path,
                      S_ISDIR(status.st_mode)
                          ? "is a directory: name a file in it, or see qva batch"
                          : "is not a regular file",
                      exitOutput);
    }
    return {target, ModeFor(target)};
}

void EnsureNew(const std::string& path)
{
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0) {
        throw Failure(path, "is there already: --no-clobber keeps it", exitOutput);
    }
}

void EnsureFolder(const std::string& output)
{
    ResolveOutput(output);
    // Thrown away at once: it only shows that files can be created where the result will lie.
    try {
        const ScratchFile trial(FolderOf(output));
    } catch (const Failure&) {
        throw Failure(output, WriteReason(errno), exitOutput);
    }
}

Descriptor OpenBeside(const std::string& path, int flags, mode_t mode, const std::string& result)
{
    Descriptor file(
        open(path.c_str(), flags | O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, mode));
    const int error = file.IsOpen() ? 0 : errno;
    struct stat status {};
    const bool known =
        file.IsOpen() ? fstat(file.Get(), &status) == 0 : lstat(path.c_str(), &status) == 0;
    if (known && !S_ISREG(status.st_mode)) {
        throw Failure(result, "cannot be written: " + path + " is not a regular file", exitOutput);
    }
    if (!file.IsOpen()) {
        throw Failure(result, WriteReason(error), exitOutput);
    }
    return file;
}

OutputFile::OutputFile(const std::string& path) : path_(path), target_(ResolveOutput(path))
{
    do {
        temporary_.emplace(FolderOf(target_.path));
        descriptor_ = Descriptor(
            open(temporary_->Path().c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    } while (!descriptor_.IsOpen() && errno == EEXIST);
    if (!descriptor_.IsOpen()) {
        throw Failure(path, WriteReason(errno), exitOutput);
    }
    MarkAsUsed(descriptor_.Get());
}

OutputFile::~OutputFile()
{
    Discard();
}

void OutputFile::Discard()
{
    if (descriptor_.IsOpen()) {
        descriptor_.Close();
        unlink(temporary_->Path().c_str());
    }
    temporary_.reset();
}

Descriptor OutputFile::Duplicate() const
{
    Descriptor copy(dup(descriptor_.Get()));
    if (!copy.IsOpen()) {
        throw Failure(path_, WriteReason(errno), exitOutput);
    }
    return copy;
}

void OutputFile::Append(std::string_view bytes) const
{
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor_.Get(), bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            throw Failure(path_, WriteReason(errno), exitOutput);
        }
        bytes.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
}

void OutputFile::Commit()
{
    const InPhase writing(Phase::Writing);
    if (fchmod(descriptor_.Get(), target_.mode) != 0 || fsync(descriptor_.Get()) != 0 ||
        std::rename(temporary_->Path().c_str(), target_.path.c_str()) != 0)
    {
        throw Failure(path_, WriteReason(errno), exitOutput);
    }
    descriptor_.Close();
    Discard();
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
