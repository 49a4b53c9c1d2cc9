// Profiles and calls the matcher's tests share.
#pragma once

#include "colour/photo_paper_profile.h"
#include "print/embedded_profiles.h"
#include "rvx32p.h"

#include <array>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

using Bytes = std::vector<uint8_t>;
using Pixel = std::array<uint16_t, 3>;

inline Bytes Bt2020()
{
    return Bytes(lumo::bt2020Profile, lumo::bt2020Profile + sizeof lumo::bt2020Profile);
}

inline Bytes Xyz()
{
    return Bytes(lumo::xyzProfile, lumo::xyzProfile + sizeof lumo::xyzProfile);
}

inline Bytes Paper()
{
    return Bytes(qva::photoPaperProfile, qva::photoPaperProfile + qva::photoPaperProfileSize);
}

inline RvxProfileDescriptor Describe(const void* profile)
{
    RvxProfileDescriptor record{};
    record.version = 0x02000000;
    record.location = 4;
    record.count = 1;
    record.profile = profile;
    record.api = 0x03020000;
    return record;
}

/// An instance for one test.
class Matcher {
public:
    Matcher()
    {
        const uint32_t version = 0x03020000;
        EXPECT_EQ(0, RVX_Initialize(&version, nullptr, &instance));
    }
    ~Matcher() { EXPECT_EQ(0, RVX_Terminate(instance)); }
    Matcher(const Matcher&) = delete;
    Matcher& operator=(const Matcher&) = delete;

    int32_t Create(const void* source, const void* xyz, const void* device,
                   uint32_t flags = 0x20032, uint16_t intent = 1)
    {
        const RvxProfileDescriptor records[3] = {Describe(source), Describe(xyz), Describe(device)};
        return RVX_CreateColorMatchingXform(instance, &records[0], &records[1], &records[2], &xform,
                                            nullptr, 0, flags, intent);
    }

    int32_t CreateFor(const Bytes& device, uint32_t flags = 0x20032, uint16_t intent = 1)
    {
        return Create(Bt2020().data(), Xyz().data(), device.data(), flags, intent);
    }

    Pixel Match(const Pixel& in) const
    {
        Pixel out{};
        EXPECT_EQ(0, RVX_MatchColors(instance, xform, in.data(), out.data(), 1));
        return out;
    }

    uint16_t MatchGrey(int code) const
    {
        const auto v = static_cast<uint16_t>(code);
        return Match({v, v, v})[1];
    }

    RvxInstance instance = 0;
    RvxXform xform = 0;
};

inline uint32_t Load32(const Bytes& bytes, size_t at)
{
    return uint32_t{bytes.at(at)} << 24 | uint32_t{bytes.at(at + 1)} << 16 |
           uint32_t{bytes.at(at + 2)} << 8 | bytes.at(at + 3);
}

inline void Store32(Bytes& bytes, size_t at, uint32_t value)
{
    for (size_t i = 0; i < 4; ++i) {
        bytes.at(at + i) = static_cast<uint8_t>(value >> (24 - 8 * i));
    }
}

/// Where the directory entry of a tag stands: signature, offset, size.
inline size_t EntryOf(const Bytes& profile, uint32_t tag)
{
    size_t at = 132;
    while (Load32(profile, at) != tag) {
        at += 12;
    }
    return at;
}
