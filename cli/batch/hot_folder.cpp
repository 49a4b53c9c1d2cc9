#include "batch/hot_folder.h"

#include "base/errors.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <sys/inotify.h>
#include <unistd.h>

namespace qva {

namespace {

namespace fs = std::filesystem;

/// Names under which programs write what is not complete yet.
bool IsProvisional(const std::string& name)
{
    constexpr std::array<const char*, 5> endings = {"~", ".part", ".partial", ".tmp",
                                                    ".crdownload"};
    return name.empty() || name.front() == '.' ||
           std::any_of(endings.begin(), endings.end(),
                       [&name](const char* ending) { return name.ends_with(ending); });
}

/// Whether a program has the file open for writing. A lease for reading is only given where none
/// has; a file system that knows no leases leaves it to the time that a file is left alone.
bool IsBeingWritten(const std::string& path)
{
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file.IsOpen() || fcntl(file.Get(), F_SETLEASE, F_RDLCK) != 0) {
        return file.IsOpen() && errno == EAGAIN;
    }
    fcntl(file.Get(), F_SETLEASE, F_UNLCK);
    return false;
}

} // namespace

HotFolder::HotFolder(const std::string& folder, double settle)
    : folder_(folder),
      settle_(std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(settle))),
      events_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    constexpr std::uint32_t events = IN_CREATE | IN_MODIFY | IN_CLOSE_WRITE | IN_MOVED_TO |
                                     IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
    if (!events_.IsOpen() || inotify_add_watch(events_.Get(), folder.c_str(), events) < 0) {
        throw Failure(folder, "cannot be watched: " + SystemReason(errno));
    }
    Scan();
}

void HotFolder::Scan()
{
    std::error_code error;
    for (fs::directory_iterator entry(folder_, error), end; !error && entry != end;
         entry.increment(error))
    {
        Notice(entry->path().filename().string());
    }
}

void HotFolder::Notice(const std::string& name)
{
    std::error_code error;
    const fs::path path = fs::path(folder_) / name;
    if (!IsProvisional(name) && fs::is_regular_file(path, error)) {
        candidates_[name] = {StampOf(path.string()), Clock::now() + settle_};
    }
}

void HotFolder::TakeEvents()
{
    alignas(inotify_event) std::array<char, 16384> block{};
    for (ssize_t count = 0; (count = read(events_.Get(), block.data(), block.size())) > 0;) {
        for (ssize_t place = 0; place < count;) {
            const auto* event = reinterpret_cast<const inotify_event*>(block.data() + place);
            place += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            if ((event->mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) != 0) {
                throw Failure(folder_, "is there no more");
            }
            if ((event->mask & IN_Q_OVERFLOW) != 0) {
                Scan();
            } else if (event->len > 0) {
                Notice(event->name);
            }
        }
    }
}

std::vector<std::string> HotFolder::TakeComplete()
{
    TakeEvents();
    std::vector<std::string> complete;
    const Clock::time_point now = Clock::now();
    for (auto entry = candidates_.begin(); entry != candidates_.end();) {
        auto& [name, candidate] = *entry;
        const std::string path = (fs::path(folder_) / name).string();
        if (candidate.due > now) {
            ++entry;
            continue;
        }
        const FileStamp stamp = StampOf(path);
        if (stamp.modified != 0 && (stamp != candidate.stamp || IsBeingWritten(path))) {
            candidate = {stamp, now + settle_};
            ++entry;
            continue;
        }
        if (stamp.modified != 0) {
            complete.push_back(path);
        }
        entry = candidates_.erase(entry);
    }
    return complete;
}

int HotFolder::Patience() const
{
    if (candidates_.empty()) {
        return -1;
    }
    Clock::time_point next = Clock::time_point::max();
    for (const auto& entry : candidates_) {
        next = std::min(next, entry.second.due);
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, 60000));
}

std::string MoveToFailed(const std::string& photo, const std::string& reason)
{
    const fs::path path(photo);
    const fs::path folder = path.parent_path() / "failed";
    std::error_code error;
    fs::create_directory(folder, error);
    fs::path target = folder / path.filename();
    for (int i = 2; fs::exists(target, error); ++i) {
        target =
            folder / fmt::format("{}-{}{}", path.stem().string(), i, path.extension().string());
    }
    fs::rename(path, target, error);
    if (error) {
        throw Failure(
            photo,
            fmt::format("cannot be moved to {}: {}", folder.string(), SystemReason(error.value())),
            exitOutput);
    }
    std::ofstream(target.string() + ".txt") << reason << '\n';
    return target.string();
}

} // namespace qva
