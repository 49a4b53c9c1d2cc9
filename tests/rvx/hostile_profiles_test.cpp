#include "rvx/matcher.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <random>
#include <thread>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr uint32_t mebibyte = 1u << 20;

/// Pages of which the last cannot be touched; profiles are laid against it.
class EdgeOfMemory {
public:
    EdgeOfMemory()
        : pages_(static_cast<uint8_t*>(
              mmap(nullptr, mebibyte, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        EXPECT_EQ(0, mprotect(edge(), mebibyte / 2, PROT_NONE));
    }
    ~EdgeOfMemory() { munmap(pages_, mebibyte); }
    EdgeOfMemory(const EdgeOfMemory&) = delete;
    EdgeOfMemory& operator=(const EdgeOfMemory&) = delete;

    uint8_t* edge() const { return pages_ + mebibyte / 2; }

    /// The first `count` bytes, so that the next one is out of reach.
    const uint8_t* Put(const Bytes& profile, size_t count) const
    {
        std::memcpy(edge() - count, profile.data(), count);
        return edge() - count;
    }

private:
    uint8_t* pages_;
};

/// Tries a profile in each of the three places.
void ExpectInEveryPlace(int32_t status, const void* profile)
{
    const Bytes rgb = Bt2020(), xyz = Xyz();
    Matcher matcher;
    EXPECT_EQ(status, matcher.Create(profile, xyz.data(), rgb.data()));
    EXPECT_EQ(status, matcher.Create(rgb.data(), profile, rgb.data()));
    EXPECT_EQ(status, matcher.Create(rgb.data(), xyz.data(), profile));
    EXPECT_EQ(0u, matcher.xform);
}

TEST(HostileProfiles, DamagedHeadersAndDirectoriesAreRefused)
{
    // The first tag's entry: signature at 132, offset at 136, size at 140. Ten tags end at 252.
    const struct {
        const char* what;
        size_t at;
        uint32_t value;
    } cases[] = {
        {"no signature", 36, 0},
        {"signature, other case", 36, 0x41435350},
        {"size 0", 0, 0},
        {"size of the header alone", 0, 128},
        {"size one short of the least", 0, 143},
        {"size inside the directory", 0, 251},
        {"size cuts off the last tag", 0, 543},
        {"size beyond 64 MiB", 0, 64 * mebibyte + 1},
        {"size of all ones", 0, 0xFFFFFFFF},
        {"no tags", 128, 0},
        {"more tags than bytes", 128, 35},
        {"a count that wraps", 128, 0x15555556},
        {"tag in the header", 136, 0},
        {"tag in the directory", 136, 251},
        {"tag behind the end", 136, 545},
        {"tag that wraps", 136, 0xFFFFFFF8},
        {"tag too short", 140, 7},
        {"tag too long", 140, 544 - 252 + 1},
        {"tag whose end wraps", 140, 0xFFFFFFFF},
        {"link", 12, 0x6C696E6B},
        {"abstract", 12, 0x61627374},
        {"named colours", 12, 0x6E6D636C},
        {"unknown class", 12, 0x3F3F3F3F},
        {"connection space RGB", 20, 0x52474220},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Bytes profile = Bt2020();
        Store32(profile, c.at, c.value);
        ExpectInEveryPlace(RVX_ERROR_PROFILE, profile.data());
    }
}

TEST(HostileProfiles, ProfilesThatCannotServeInTheirPlaceAreRefused)
{
    const Bytes rgb = Bt2020(), xyz = Xyz();
    Bytes grey = rgb, input = rgb, oneWay = Xyz(), empty = Paper();
    Store32(grey, 16, 0x47524159);
    Store32(input, 12, 0x73636E72);
    Store32(oneWay, EntryOf(oneWay, 0x42324130), 0x3F3F3F3F);
    for (uint32_t i = 0; i < 10; ++i) {
        Store32(empty, 132 + 12 * i, 0x3F3F3F30 + i);
    }
    Matcher matcher;
    EXPECT_EQ(RVX_ERROR_PROFILE, matcher.Create(grey.data(), xyz.data(), rgb.data()));
    EXPECT_EQ(RVX_ERROR_PROFILE, matcher.Create(rgb.data(), grey.data(), rgb.data()));
    EXPECT_EQ(RVX_ERROR_PROFILE, matcher.Create(rgb.data(), oneWay.data(), rgb.data()));
    EXPECT_EQ(RVX_ERROR_PROFILE, matcher.Create(rgb.data(), xyz.data(), oneWay.data()));
    EXPECT_EQ(RVX_ERROR_PROFILE, matcher.Create(rgb.data(), xyz.data(), input.data()));
    EXPECT_EQ(RVX_ERROR_TRANSFORM, matcher.Create(rgb.data(), xyz.data(), empty.data()));
    EXPECT_EQ(RVX_OK, matcher.Create(input.data(), xyz.data(), rgb.data()));
}

TEST(HostileProfiles, MemoryThatIsNotThereIsAStatus)
{
    const EdgeOfMemory memory;
    ExpectInEveryPlace(RVX_ERROR_ARGUMENT, nullptr);
    ExpectInEveryPlace(RVX_ERROR_UNREADABLE, memory.edge());
    ExpectInEveryPlace(RVX_ERROR_UNREADABLE, reinterpret_cast<const void*>(uintptr_t{1}));
    ExpectInEveryPlace(RVX_ERROR_UNREADABLE, reinterpret_cast<const void*>(~uintptr_t{15}));
    for (const size_t count : {4, 131, 132, 251, 252, 300, 543}) {
        SCOPED_TRACE(count);
        ExpectInEveryPlace(RVX_ERROR_UNREADABLE, memory.Put(Bt2020(), count));
    }
}

TEST(HostileProfiles, AnOverstatedSizeIsHarmless)
{
    const EdgeOfMemory memory;
    for (const uint32_t size : {545u, 100000u, 64 * mebibyte}) {
        Bytes device = Bt2020();
        Store32(device, 0, size);
        Matcher matcher;
        ASSERT_EQ(0, matcher.Create(Bt2020().data(), Xyz().data(), memory.Put(device, 544)));
        EXPECT_NEAR(32768, matcher.MatchGrey(65535), 2);
    }
}

TEST(HostileProfiles, RandomDamageNeverGetsFurtherThanAStatus)
{
    std::mt19937 random(20201);
    Matcher matcher;
    const EdgeOfMemory memory;
    for (int round = 0; round < 400; ++round) {
        Bytes device = round % 4 == 0 ? Paper() : round % 4 == 1 ? Xyz() : Bt2020();
        const size_t reach = round % 2 == 0 ? device.size() : 400;
        for (uint32_t i = random() % 8 + 1; i > 0; --i) {
            device[random() % reach] = static_cast<uint8_t>(random());
        }
        const uint8_t* at = memory.Put(device, device.size());
        const int32_t status = matcher.Create(Bt2020().data(), Xyz().data(), at, 0x30032,
                                              static_cast<uint16_t>(round % 4));
        ASSERT_TRUE(status <= 0 && status >= RVX_ERROR_INTERNAL);
        if (status == 0) {
            matcher.MatchGrey(0);
            EXPECT_EQ(0, RVX_DisposeXform(matcher.instance, matcher.xform));
        }
    }
}

/// Makes process_vm_readv fail with EPERM on the calling thread, as some containers do.
void ForbidReading()
{
    sock_filter rules[] = {
        {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
        {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, SYS_process_vm_readv},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | EPERM},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
    };
    const sock_fprog program{4, rules};
    ASSERT_EQ(0, prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0));
    ASSERT_EQ(0, prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program));
    ASSERT_EQ(-1, syscall(SYS_process_vm_readv, getpid(), nullptr, 0, nullptr, 0, 0));
}

TEST(HostileProfiles, ProfilesAreCopiedPlainlyWhereTheCallIsForbidden)
{
    std::thread([] {
        ForbidReading();
        Matcher matcher;
        ASSERT_EQ(0, matcher.CreateFor(Paper()));
        EXPECT_NEAR(32768, matcher.MatchGrey(65535), 2);
        EXPECT_EQ(RVX_ERROR_ARGUMENT, matcher.Create(Bt2020().data(), Xyz().data(), nullptr));
    }).join();
}

} // namespace
