// Signals that are waited for instead of being interrupted by.
#pragma once

#include "base/descriptor.h"

#include <csignal>

namespace qva {

/// While this lives, requests to end and the ends of children wait to be asked for. To be made
/// before the library starts threads: these would take the signals otherwise.
class StopSignals {
public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// Can be read when there is something to take.
    int Number() const { return descriptor_.Get(); }

    /// @return the last request to end that has come, or 0.
    int Take();

    /// The signals that were blocked before.
    const sigset_t& Before() const { return before_; }

private:
    sigset_t before_{};
    Descriptor descriptor_;
};

} // namespace qva
