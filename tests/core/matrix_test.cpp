#include "core/matrix.h"

#include "core/allocation.h"
#include "core/vector.h"
#include "support/images.h"

namespace lumo::test {

TEST(GuardedImage, NoticesWritesOutsideItsPixels)
{
    const int32_t cases[][3] = {{0, 0, 1}, {1, 14, 1}, {0, -1, 0}, {0, 15, 0}, {1, 15, 0}};
    for (const auto& c : cases) {
        GuardedImage guarded(2, 5, 1);
        RowOf<uint16_t>(guarded.image, c[0])[c[1]] = 2;
        EXPECT_EQ(c[2] != 0, guarded.Intact()) << c[0] << ", " << c[1];
    }
}

TEST(Matrix, CopiesShareTheBufferUntilOneIsCreatedAnew)
{
    Matrix first = MakeMatrix<uint16_t>(2, 3, {1, 2, 3});
    first.roi.y = 1;
    Matrix second(first);
    Matrix third;
    third = second;
    EXPECT_TRUE(*first.refCount == 3 && third.roi.y == 1);
    second.Create(4, 4, rgb16Type);
    third.Release();
    EXPECT_TRUE(second.roi.y == 0 && second.roi.height == 4 && second.step == 12);
    EXPECT_TRUE(*first.refCount == 1 && At<uint16_t>(first, 1, 2) == 3);
    EXPECT_TRUE(third.data == nullptr && third.type == -1 && third.channels == 0);
}

TEST(Matrix, ExternalHeadersNeitherCountNorFree)
{
    GuardedImage guarded(2, 3, 9);
    Matrix view = guarded.image;
    view.Release();
    EXPECT_TRUE(view.data == guarded.image.data && view.external && view.refCount == nullptr);
    ExpectException(1, "Error in EnsureDataSize, data size is too large.",
                    [&] { view.Create(1 << 30, 1 << 30, rgb16Type); });
    EXPECT_TRUE(view.data == guarded.image.data && view.external && view.rows == 2);
    view.CopyTo(view);
    EXPECT_EQ(std::vector<uint16_t>(18, 9), Elements<uint16_t>(view));
    EXPECT_TRUE(!view.external && *view.refCount == 1);
}

// Elements that lie in the object.
struct Inside : VectorC<double> {
    ~Inside() override { Release(); }
    double* Allocate(uint64_t n) override { return n <= 4 ? room : nullptr; }
    void Deallocate() override { data = nullptr; }
    double room[4] = {};
};

TEST(Vector, CopiesGoIntoTheStorageOfTheirTarget)
{
    Vector<double> numbers(3, 7.5);
    Inside inside;
    numbers.CopyTo(inside);
    EXPECT_TRUE(inside.data == inside.room && inside.size == 3 && *inside.refCount == 1);
    EXPECT_EQ(7.5, inside.room[2]);
    ExpectException(0, "Error in CloneMemory, failed copy",
                    [&] { Vector<double>(5, 1.0).CopyTo(inside); });
}

TEST(Matrix, RefusesMoreThanSixtyGigabytesAndCopiesOfNothing)
{
    const char* message = "Error in EnsureDataSize, data size is too large.";
    EXPECT_NO_THROW(EnsureDataSize(60'000'000'000));
    ExpectException(1, message, [] { AllocAligned(60'000'000'001); });
    ExpectException(1, message, [] { Matrix(-1, 4, rgb16Type); });
    ExpectException(1, message, [] { Matrix(1 << 30, 1 << 30, MakeType(D64F, 512)); });
    Matrix empty(0, 5, rgb16Type);
    ExpectException(0, "Error in CopyTo, failed copy", [&] { empty.CopyTo(empty); });
    ExpectException(0, "Error in CloneMemory, failed copy",
                    [] { CloneMemory<char>("a", 1, nullptr, 1); });
}

} // namespace lumo::test
