#include "support/file_matcher.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <rvx32p.h>
#include <vector>

namespace lumo::test {
namespace {

constexpr int grid = 17;
constexpr size_t answerCount = 3 * (grid * grid * grid + 1);

std::vector<uint16_t>& Answers()
{
    static std::vector<uint16_t> answers;
    return answers;
}

// The table node of a code, or -1.
int NodeOf(uint16_t code)
{
    const int node = (code * 16 + 65534) / 65535;
    return node * 65535 / 16 == code ? node : -1;
}

} // namespace

void LoadFileMatcher(const std::string& path)
{
    Answers().clear();
    if (path.empty()) {
        return;
    }
    Answers().resize(answerCount);
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(Answers().data()), answerCount * 2);
    if (!file) {
        std::fprintf(stderr, "%s: not a file of answers\n", path.c_str());
        std::abort();
    }
}

FileMatcherState& FileMatcher()
{
    static FileMatcherState state;
    return state;
}

} // namespace lumo::test

using lumo::test::Answers;
using lumo::test::FileMatcher;

int32_t RVX_Initialize(const uint32_t* version, void*, RvxInstance* instance)
{
    if (FileMatcher().failInitialize) {
        return -1;
    }
    FileMatcher().version = *version;
    *instance = 1;
    return 0;
}

int32_t RVX_CreateColorMatchingXform(RvxInstance, const RvxProfileDescriptor* source,
                                     const RvxProfileDescriptor* xyz,
                                     const RvxProfileDescriptor* device, RvxXform* xform, void*,
                                     uint32_t, uint32_t flags, uint16_t intent)
{
    if (Answers().empty() && !FileMatcher().answer) {
        return -1;
    }
    FileMatcher().descriptors[0] = *source;
    FileMatcher().descriptors[1] = *xyz;
    FileMatcher().descriptors[2] = *device;
    FileMatcher().flags = flags;
    FileMatcher().intent = intent;
    ++FileMatcher().created;
    *xform = 2;
    return 0;
}

int32_t RVX_MatchColors(RvxInstance, RvxXform, const uint16_t* in, uint16_t* out, uint32_t count)
{
    using namespace lumo::test;
    for (uint32_t pixel = 0; pixel < count; ++pixel, in += 3, out += 3) {
        FileMatcher().asked.push_back({in[0], in[1], in[2]});
        if (FileMatcher().answer) {
            const Triple xyz = FileMatcher().answer(FileMatcher().asked.back());
            std::copy(xyz.begin(), xyz.end(), out);
            continue;
        }
        const int nodes[3] = {NodeOf(in[0]), NodeOf(in[1]), NodeOf(in[2])};
        if (nodes[0] < 0 || nodes[1] < 0 || nodes[2] < 0) {
            std::fprintf(stderr, "asked for a colour that is no node\n");
            std::abort();
        }
        // A single black pixel is the black measurement only before any table is sampled; its
        // triple equals node 0 where both are stored.
        const int node = (nodes[0] * grid + nodes[1]) * grid + nodes[2];
        std::memcpy(out, Answers().data() + 3 * node, 6);
    }
    return 0;
}

int32_t RVX_DisposeXform(RvxInstance, RvxXform)
{
    ++FileMatcher().disposed;
    return FileMatcher().failRelease ? -1 : 0;
}

int32_t RVX_Terminate(RvxInstance)
{
    ++FileMatcher().terminated;
    return 0;
}
