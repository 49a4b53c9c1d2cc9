#include "base/temporary_name.h"

#include "base/descriptor.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <random>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace qva {

namespace {

constexpr std::string_view prefix = ".qva-";
constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::size_t letterCount = 10;

// Signal handlers may not touch strings: the names live in fixed buffers, valid while used.
struct Slot {
    std::atomic<bool> used{false};
    std::array<char, 4096> name{};
};
std::array<Slot, 16> slots;
std::mutex slotMutex;

int Remember(const std::string& name)
{
    const std::lock_guard lock(slotMutex);
    for (std::size_t i = 0; i < slots.size(); ++i) {
        if (!slots[i].used.load() && name.size() < slots[i].name.size()) {
            std::memcpy(slots[i].name.data(), name.c_str(), name.size() + 1);
            slots[i].used.store(true);
            return static_cast<int>(i);
        }
    }
    return -1;
}

std::string RandomName()
{
    std::random_device random;
    std::string name(prefix);
    for (std::size_t i = 0; i < letterCount; ++i) {
        name.push_back(letters[random() % letters.size()]);
    }
    return name;
}

/// Whether RandomName may have made it, perhaps with an ending behind: others begin with a prefix,
/// too.
bool IsOurs(const std::string& name)
{
    const std::size_t end = prefix.size() + letterCount;
    return name.starts_with(prefix) && name.size() >= end &&
           name.find_first_not_of(letters, prefix.size()) >= end &&
           (name.size() == end || name[end] == '.');
}

/// Whether a regular file is there that nobody has marked.
bool IsUnused(const std::string& path)
{
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    return file.IsOpen() && fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_nlink > 0 && flock(file.Get(), LOCK_SH | LOCK_NB) == 0;
}

} // namespace

TemporaryName::TemporaryName(const std::string& folder, const std::string& ending)
    : path_((std::filesystem::path(folder) / (RandomName() + ending)).string()),
      slot_(Remember(path_))
{
}

TemporaryName::~TemporaryName()
{
    if (slot_ >= 0) {
        slots[static_cast<std::size_t>(slot_)].used.store(false);
    }
}

void MarkAsUsed(int descriptor)
{
    // Waits for somebody who looks at this moment. A file system without locks has no leftovers.
    flock(descriptor, LOCK_EX);
}

std::vector<std::string> LeftoversIn(const std::string& folder)
{
    std::vector<std::string> found;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error))
    {
        const std::filesystem::path& path = entry->path();
        if (IsOurs(path.filename().string()) && IsUnused(path.string())) {
            found.push_back(path.string());
        }
    }
    if (!found.empty()) {
        // One that was just created is marked by now, or has its final name.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        std::erase_if(found, [](const std::string& path) { return !IsUnused(path); });
        std::sort(found.begin(), found.end());
    }
    return found;
}

void RemoveTemporaries() noexcept
{
    for (Slot& slot : slots) {
        if (slot.used.load()) {
            unlink(slot.name.data());
        }
    }
}

} // namespace qva
