// The one exception type of the library.
#pragma once

#include <cstdint>

namespace lumo {

/// Categories of failure, the values of Exception::code.
enum ExceptionCode : int32_t {
    exceptionResource = 0, ///< no memory, or nothing to copy into
    exceptionSize = 1,     ///< more bytes than maxDataSize
    exceptionFormat = 2,   ///< an unsupported depth, channel count or size of an image or table
    exceptionArgument = 3, ///< an invalid parameter or state
};

/// Thrown by value by every failing operation below the controller, and caught only there.
/// The message is a literal: never owned, never null in an exception that was thrown.
class Exception {
public:
    Exception() = default;
    Exception(int32_t exceptionCode, const char* text) : code(exceptionCode), message(text) {}

    int32_t code = 0;
    const char* message = nullptr;
};

} // namespace lumo
