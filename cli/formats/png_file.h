// One PNG being written through libpng.
#pragma once

#include "base/output_file.h"
#include "picture/source_description.h"

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <png.h>
#include <span>
#include <string>

namespace qva {

/// The library reports errors by longjmp, so every call to it stands in
/// Guard, in a body that holds no object with a destructor.
class PngFile {
public:
    explicit PngFile(const OutputFile& file);
    ~PngFile();
    PngFile(const PngFile&) = delete;
    PngFile& operator=(const PngFile&) = delete;

    template <typename Body>
    void Guard(const Body& body)
    {
        errno = 0;
        if (setjmp(png_jmpbuf(png_)) != 0) {
            Fail();
        }
        body(png_, info_);
    }
    /// The size of an RGB picture, and how hard it is compressed.
    /// @param level  0 ... 9.
    void SetHeader(ImageSize size, int bits, int level);

    /// Writes a chunk as it is.
    void WriteChunk(const char* name, std::span<const unsigned char> data);

    /// Completes a file whose rows were written by the library, all of them.
    void Finish();

    /// Completes a file whose chunks were all written.
    void Close();

private:
    [[noreturn]] void Fail() const;
    static void OnError(png_structp png, png_const_charp message)
    {
        static_cast<PngFile*>(png_get_error_ptr(png))->message_ = message;
        png_longjmp(png, 1);
    }
    static void OnWarning(png_structp, png_const_charp) {}

    std::string path_;
    std::string message_;
    std::FILE* file_ = nullptr;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
};

} // namespace qva
