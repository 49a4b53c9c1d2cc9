// Owners for the colour engine's objects. Each user has a context of its own, so that errors stay
// silent and threads share nothing.
#pragma once

#include <lcms2.h>
#include <memory>
#include <type_traits>
#include <vector>

namespace qva {

struct ContextDeleter {
    void operator()(cmsContext context) const { cmsDeleteContext(context); }
};

struct ProfileCloser {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};

struct TransformDeleter {
    void operator()(void* transform) const { cmsDeleteTransform(transform); }
};

using ContextHandle = std::unique_ptr<std::remove_pointer_t<cmsContext>, ContextDeleter>;
using ProfileHandle = std::unique_ptr<void, ProfileCloser>;
using TransformHandle = std::unique_ptr<void, TransformDeleter>;

inline ContextHandle MakeContext()
{
    return ContextHandle(cmsCreateContext(nullptr, nullptr));
}

/// @return a null handle where the engine refuses the bytes.
inline ProfileHandle OpenProfile(cmsContext context, const std::vector<unsigned char>& bytes)
{
    return ProfileHandle(cmsOpenProfileFromMemTHR(context, bytes.data(),
                                                  static_cast<cmsUInt32Number>(bytes.size())));
}

} // namespace qva
