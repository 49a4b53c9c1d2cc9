#include "core/linear_interpolation.h"

#include "support/images.h"

namespace lumo::test {

Vector<double> MakeVector(std::initializer_list<double> values)
{
    Vector<double> vector(values.size());
    std::copy(values.begin(), values.end(), vector.data);
    return vector;
}

TEST(LinearInterpolation, InterpolatesHoldsTheEndsAndRefusesTables)
{
    LinearInterpolation searched;
    LinearInterpolationFast computed;
    for (LinearInterpolation* curve : {&searched, static_cast<LinearInterpolation*>(&computed)}) {
        curve->Initialize(MakeVector({0, 1, 2}), MakeVector({0, 10, 40}));
        for (const uint64_t n : {5, 1, 0}) {
            const auto text =
                std::string("Error in LinearInterpolation::Initialize, size of lutx ") +
                (n == 1 ? "must be greater than 1" : " must be same as luty");
            const auto set = [&] { curve->Initialize(Vector<double>(n), Vector<double>(1)); };
            ExpectException(3, text.c_str(), set);
        }
        for (const auto& c : {std::pair{1.5, 25.0}, {-5, 0}, {7, 40}, {0, 0}, {1, 10}, {2, 40}}) {
            EXPECT_EQ(c.second, (*curve)(c.first)) << c.first;
        }
    }
    // What stands beside an end is not looked at beyond it.
    for (LinearInterpolation* curve : {&searched, static_cast<LinearInterpolation*>(&computed)}) {
        curve->Initialize(MakeVector({0, 1, 2, 3}), MakeVector({4, HUGE_VAL, -HUGE_VAL, 6}));
        EXPECT_TRUE((*curve)(0.0) == 4.0 && (*curve)(-1.0) == 4.0) << (*curve)(0.0);
        EXPECT_TRUE((*curve)(3.0) == 6.0 && (*curve)(9.0) == 6.0) << (*curve)(3.0);
    }
    searched.Initialize(MakeVector({0, 1, 3, 7, 15}), MakeVector({0, 2, 4, 8, 24}));
    for (const auto& c : {std::pair{0.5, 1.0}, {1, 2}, {2, 3}, {3, 4}, {6, 7}, {11, 16}}) {
        EXPECT_EQ(c.second, searched(c.first)) << c.first;
    }
    ExpectException(3, "Error in SearchIndexWithBinaryTree, data is empty",
                    [] { SearchIndexWithBinaryTree(Vector<double>(), 1.0); });
}

} // namespace lumo::test
