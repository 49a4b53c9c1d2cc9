#include "instance.h"

#include <atomic>
#include <utility>

namespace rvx {
namespace {

/// Instances and transforms draw from one sequence that never repeats, so a stale handle, or one
/// of the other kind, is always recognised.
uint64_t NextHandle()
{
    static std::atomic<uint64_t> last{0};
    return ++last;
}

struct Registry {
    std::mutex mutex;
    std::map<RvxInstance, std::shared_ptr<Instance>> instances;
};

/// Never destroyed: a host's own destructors may still call the library while the process ends.
Registry& TheRegistry()
{
    static Registry& registry = *new Registry;
    return registry;
}

} // namespace

Instance::Instance(Context context) : context_(std::move(context))
{
}

RvxXform Instance::Add(std::shared_ptr<const Transform> transform)
{
    const RvxXform handle = NextHandle();
    const std::lock_guard lock(mutex_);
    transforms_.emplace(handle, std::move(transform));
    return handle;
}

std::shared_ptr<const Transform> Instance::Find(RvxXform handle) const
{
    const std::lock_guard lock(mutex_);
    const auto found = transforms_.find(handle);
    return found == transforms_.end() ? nullptr : found->second;
}

bool Instance::Remove(RvxXform handle)
{
    const std::lock_guard lock(mutex_);
    return transforms_.erase(handle) != 0;
}

RvxInstance OpenInstance()
{
    Context context = MakeContext();
    if (!context) {
        return 0;
    }
    auto instance = std::make_shared<Instance>(std::move(context));
    const RvxInstance handle = NextHandle();
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    registry.instances.emplace(handle, std::move(instance));
    return handle;
}

std::shared_ptr<Instance> FindInstance(RvxInstance handle)
{
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    const auto found = registry.instances.find(handle);
    return found == registry.instances.end() ? nullptr : found->second;
}

bool CloseInstance(RvxInstance handle)
{
    Registry& registry = TheRegistry();
    std::unique_lock lock(registry.mutex);
    const auto node = registry.instances.extract(handle);
    lock.unlock(); // what it holds is freed without keeping the others waiting
    return !node.empty();
}

} // namespace rvx
