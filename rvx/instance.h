// Instances and their transforms behind handles that cannot be mistaken for one another.
#pragma once

#include "transform.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

namespace rvx {

/// One client of the library. Every method may be called from any thread.
class Instance {
public:
    explicit Instance(Context context);

    const Context& context() const { return context_; }

    /// @return the transform's new handle.
    RvxXform Add(std::shared_ptr<const Transform> transform);

    /// @return null when the handle is not one of this instance.
    std::shared_ptr<const Transform> Find(RvxXform handle) const;

    /// @return false when the handle is not one of this instance.
    bool Remove(RvxXform handle);

private:
    const Context context_;
    mutable std::mutex mutex_;
    std::map<RvxXform, std::shared_ptr<const Transform>> transforms_;
};

/// Opens an instance. A call that is under way on another thread when its instance or transform is
/// closed ends normally: it holds a share of what it uses.
/// @return its handle, or 0 when the engine has no memory.
RvxInstance OpenInstance();

/// @return null when there is no such instance.
std::shared_ptr<Instance> FindInstance(RvxInstance handle);

/// @return false when there is no such instance.
bool CloseInstance(RvxInstance handle);

} // namespace rvx
