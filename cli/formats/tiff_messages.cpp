#include "formats/tiff_messages.h"

#include <cstdarg>
#include <cstdio>
#include <new>

namespace qva {

namespace {

int OnError(TIFF*, void* message, const char*, const char* format, va_list arguments)
{
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
    try {
        *static_cast<std::string*>(message) = text;
    } catch (const std::bad_alloc&) {
        // The library cannot be passed by an exception; the failure is told without a reason.
    }
    return 1;
}

int OnWarning(TIFF*, void*, const char*, const char*, va_list)
{
    return 1;
}

} // namespace

TiffOptions MakeTiffOptions(std::string& message)
{
    TiffOptions options(TIFFOpenOptionsAlloc(), TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), OnError, &message);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), OnWarning, nullptr);
    return options;
}

} // namespace qva
