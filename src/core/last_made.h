// Shares what the last call made from the same numbers.
#pragma once

#include "core/block_pool.h"

#include <array>
#include <cstring>
#include <memory>
#include <mutex>

namespace lumo {

/// Holds one object that depends on `count` numbers alone. Pages and bands of one job come with the
/// same numbers, and so do most calls of a process. Any thread may ask at any time.
template <typename Value, size_t count>
class LastMade {
public:
    using Numbers = std::array<double, count>;

    /// The object of these numbers, bit for bit; make() builds it where the last one has others.
    /// What make() throws is passed on and nothing is kept.
    template <typename Make>
    std::shared_ptr<const Value> Get(const Numbers& numbers, Make&& make)
    {
        if (std::shared_ptr<const Value> known = Find(numbers)) {
            return known;
        }
        const LastingMemory lasting;
        const std::shared_ptr<const Value> made = make();
        std::shared_ptr<const Value> before = made; // outlives the lock
        const std::lock_guard<std::mutex> hold(lock_);
        numbers_ = numbers;
        value_.swap(before);
        return made;
    }

private:
    std::shared_ptr<const Value> Find(const Numbers& numbers)
    {
        const std::lock_guard<std::mutex> hold(lock_);
        const bool same = std::memcmp(&numbers_, &numbers, sizeof numbers) == 0;
        return same ? value_ : nullptr;
    }

    std::mutex lock_;
    Numbers numbers_ = {};
    std::shared_ptr<const Value> value_;
};

} // namespace lumo
