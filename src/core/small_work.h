// Work that is not worth a second thread.
#pragma once

#include "core/team_size.h"

namespace lumo {

/// While one lives, the loops of its thread run on that thread alone: for work so small that waking
/// other threads, and waiting for them on a busy machine, costs more than they give. Every call has
/// one, small or not.
class SmallWork {
public:
    explicit SmallWork(bool small) : small_(small)
    {
        depth_ += small_ ? 1 : 0;
        parallel::ForgetShortage();
    }
    SmallWork(const SmallWork&) = delete;
    SmallWork& operator=(const SmallWork&) = delete;
    ~SmallWork() { depth_ -= small_ ? 1 : 0; }
    static bool UnderWay() { return depth_ > 0; }

private:
    static inline thread_local int depth_ = 0;
    bool small_;
};

} // namespace lumo
