#include "base/workers.h"

#include <atomic>
#include <gtest/gtest.h>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <vector>

namespace qva {

namespace {

/// Restores the number of threads.
class WorkersTest : public testing::TestWithParam<int> {
protected:
    void SetUp() override { SetWorkers(GetParam()); }
    void TearDown() override { SetWorkers(before_); }

private:
    int before_ = Workers();
};

using WorkersOf = WorkersTest;

TEST_P(WorkersOf, TakeEveryItemOnceAndNoNumberTwiceAtATime)
{
    std::vector<int> calls(1000);
    std::vector<std::atomic<int>> busy(static_cast<std::size_t>(GetParam()));
    std::atomic<bool> collided{false};
    ForEach(1000, [&](std::int64_t item, int worker) {
        auto& mine = busy.at(static_cast<std::size_t>(worker));
        collided = collided || mine++ != 0;
        ++calls[static_cast<std::size_t>(item)];
        --mine;
    });
    EXPECT_EQ(std::vector<int>(1000, 1), calls);
    EXPECT_FALSE(collided);
    ForEach(0, [](std::int64_t, int) { FAIL(); });
}

TEST_P(WorkersOf, KeepSlotsApartAndTheCallersStepInOrder)
{
    constexpr std::int64_t count = 300;
    constexpr std::int64_t slots = 3;
    for (const bool sharedFirst : {true, false}) {
        SCOPED_TRACE(sharedFirst);
        // What the first step puts into a slot, the second finds there.
        std::vector<std::int64_t> inSlot(slots, -1);
        std::atomic<std::int64_t> wrong{0};
        std::vector<std::int64_t> order;
        const auto caller = std::this_thread::get_id();
        const auto first = [&](std::int64_t item) {
            wrong += inSlot[static_cast<std::size_t>(item % slots)] != -1 ? 1 : 0;
            inSlot[static_cast<std::size_t>(item % slots)] = item;
        };
        const auto second = [&](std::int64_t item) {
            wrong += inSlot[static_cast<std::size_t>(item % slots)] != item ? 1 : 0;
            inSlot[static_cast<std::size_t>(item % slots)] = -1;
        };
        SlotSteps steps;
        steps.count = count;
        steps.slots = slots;
        steps.shared = [&](std::int64_t item, int) { sharedFirst ? first(item) : second(item); };
        steps.ordered = [&](std::int64_t item) {
            order.push_back(item);
            wrong += std::this_thread::get_id() != caller ? 1 : 0;
            sharedFirst ? second(item) : first(item);
        };
        sharedFirst ? RunSharedFirst(steps) : RunOrderedFirst(steps);
        std::vector<std::int64_t> expected(count);
        std::iota(expected.begin(), expected.end(), 0);
        EXPECT_EQ(expected, order);
        EXPECT_EQ(0, wrong);
        EXPECT_EQ(std::vector<std::int64_t>(slots, -1), inSlot);
    }
}

TEST_P(WorkersOf, HandOnWhatAStepThrowsAndBeginNothingMore)
{
    const auto fail = [](std::int64_t item, std::int64_t at) {
        if (item == at) {
            throw std::runtime_error("item " + std::to_string(item));
        }
    };
    EXPECT_THROW(ForEach(100, [&](std::int64_t item, int) { fail(item, 50); }), std::runtime_error);
    for (const bool sharedFails : {true, false}) {
        for (const bool sharedFirst : {true, false}) {
            std::atomic<std::int64_t> done{0};
            SlotSteps steps;
            steps.count = 100000;
            steps.slots = 4;
            steps.shared = [&](std::int64_t item, int) {
                ++done;
                fail(item, sharedFails ? 20 : -1);
            };
            steps.ordered = [&](std::int64_t item) {
                ++done;
                fail(item, sharedFails ? -1 : 20);
            };
            const auto run = [&] { sharedFirst ? RunSharedFirst(steps) : RunOrderedFirst(steps); };
            EXPECT_THROW(run(), std::runtime_error);
            EXPECT_GT(200, done);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Threads, WorkersOf, testing::Values(1, 2, 5));

} // namespace

} // namespace qva
