#include "base/descriptor.h"

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace qva {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept
{
    if (this != &other) {
        Close();
        number_ = other.Release();
    }
    return *this;
}

int Descriptor::Release() noexcept
{
    return std::exchange(number_, -1);
}

void Descriptor::Close() noexcept
{
    if (number_ >= 0) {
        const int error = errno;
        close(number_);
        errno = error;
        number_ = -1;
    }
}

} // namespace qva
