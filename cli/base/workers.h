// Work shared by threads of the program's own. They sleep while there is nothing to do, where those
// of the OpenMP runtime go on looking for work and take the processor from whoever has some.
#pragma once

#include <cstdint>
#include <functional>

namespace qva {

/// Sets how many threads share the work of a call below, the caller's included.
/// @param count  at least 1.
void SetWorkers(int count);

/// As SetWorkers has set it; one per processor before.
int Workers();

/// Work on one item.
/// @param worker  0 ... Workers() - 1, never the same on two threads at a time.
using ItemWork = std::function<void(std::int64_t item, int worker)>;

/// Calls body for the items 0 ... count - 1, each once, in any order, on all threads.
/// @throws what a body threw first; items that were not begun by then are left out.
void ForEach(std::int64_t count, const ItemWork& body);

/// Steps of items 0 ... count - 1 that go through slots: no item enters a slot before the one in it
/// has left. The slot of an item is item % slots.
struct SlotSteps {
    std::int64_t count = 0;
    std::int64_t slots = 1;
    ItemWork shared;                           ///< on any thread
    std::function<void(std::int64_t)> ordered; ///< item after item, on the caller's thread
};

/// The shared step of an item, then its ordered one: to encode on all threads and write in order.
/// @throws what a step threw first; an item that was not begun by then is left out.
void RunSharedFirst(const SlotSteps& steps);

/// The ordered step of an item, then its shared one: to read in order and convert on all threads.
/// @throws as RunSharedFirst.
void RunOrderedFirst(const SlotSteps& steps);

/// Slots that keep all threads at work, few enough for what they hold to be small.
std::int64_t UsualSlots();

} // namespace qva
