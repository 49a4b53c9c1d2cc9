#include "formats/heif_view.h"

#include <algorithm>
#include <cmath>

namespace qva {

namespace {

/// A step or a place in the stored picture.
struct Vector {
    std::int64_t x = 0;
    std::int64_t y = 0;

    Vector operator-() const { return {-x, -y}; }
    Vector operator+(const Vector& other) const { return {x + other.x, y + other.y}; }
    Vector operator*(std::int64_t factor) const { return {x * factor, y * factor}; }
    bool operator==(const Vector&) const = default;
};

/// Where the pixels of the shown picture are stored: (x, y) at origin + right x + down y.
struct Shown {
    Vector origin;
    Vector right = {1, 0};
    Vector down = {0, 1};
    ImageSize size;
};

struct Turn {
    Vector right;
    Vector down;
};

// The orientations 1 ... 8: where a step to the right, and one down, lead in what is stored.
constexpr Turn turns[] = {{{1, 0}, {0, 1}},   {{-1, 0}, {0, 1}}, {{-1, 0}, {0, -1}},
                          {{1, 0}, {0, -1}},  {{0, 1}, {1, 0}},  {{0, -1}, {1, 0}},
                          {{0, -1}, {-1, 0}}, {{0, 1}, {-1, 0}}};

void TurnLeft(Shown& shown)
{
    shown.origin = shown.origin + shown.right * (shown.size.width - 1);
    const Vector right = shown.right;
    shown.right = shown.down;
    shown.down = -right;
    std::swap(shown.size.width, shown.size.height);
}

void Mirror(Shown& shown, bool isLeftToRight)
{
    Vector& axis = isLeftToRight ? shown.right : shown.down;
    shown.origin =
        shown.origin + axis * ((isLeftToRight ? shown.size.width : shown.size.height) - 1);
    axis = -axis;
}

/// Width, height and the offsets of the crop's centre from the picture's.
/// @return false where the crop is none.
bool Crop(Bytes payload, Shown& shown)
{
    ByteReader reader(payload);
    double numbers[4];
    for (double& number : numbers) {
        const auto numerator = static_cast<std::int32_t>(reader.Word());
        const auto denominator = static_cast<std::int32_t>(reader.Word());
        if (denominator <= 0) {
            return false;
        }
        number = static_cast<double>(numerator) / denominator;
    }
    const ImageSize old = shown.size;
    const ImageSize size = {std::llround(numbers[0]), std::llround(numbers[1])};
    const std::int64_t left =
        std::llround(numbers[2] + (static_cast<double>(old.width) - numbers[0]) / 2.0);
    const std::int64_t top =
        std::llround(numbers[3] + (static_cast<double>(old.height) - numbers[1]) / 2.0);
    if (size.width < 1 || size.height < 1 || left < 0 || top < 0 || left + size.width > old.width ||
        top + size.height > old.height)
    {
        return false;
    }
    shown.origin = shown.origin + shown.right * left + shown.down * top;
    shown.size = size;
    return true;
}

StoredView PartOf(const Shown& shown)
{
    const Vector last =
        shown.origin + shown.right * (shown.size.width - 1) + shown.down * (shown.size.height - 1);
    StoredView view;
    view.left = std::min(shown.origin.x, last.x);
    view.top = std::min(shown.origin.y, last.y);
    view.size = {std::abs(last.x - shown.origin.x) + 1, std::abs(last.y - shown.origin.y) + 1};
    for (std::size_t i = 0; i < std::size(turns); ++i) {
        if (shown.right == turns[i].right && shown.down == turns[i].down) {
            view.orientation = static_cast<int>(i) + 1;
        }
    }
    return view;
}

} // namespace

StoredView ViewOf(const std::vector<HeifProperty>& properties, ImageSize stored)
{
    Shown shown;
    shown.size = stored;
    bool hasFalseCrop = false;
    for (const HeifProperty& property : properties) {
        const bool hasByte = !property.payload.empty();
        if (property.type == FourLetters("irot") && hasByte) {
            for (int i = property.payload[0] & 3; i > 0; --i) {
                TurnLeft(shown);
            }
        } else if (property.type == FourLetters("imir") && hasByte) {
            Mirror(shown, (property.payload[0] & 1) != 0);
        } else if (property.type == FourLetters("clap") && property.payload.size() >= 32) {
            hasFalseCrop = !Crop(property.payload, shown) || hasFalseCrop;
        }
    }
    StoredView view = PartOf(shown);
    view.hasFalseCrop = hasFalseCrop;
    return view;
}

} // namespace qva
