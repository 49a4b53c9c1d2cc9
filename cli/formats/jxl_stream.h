// A JPEG XL decoder that is fed from a file, piece by piece.
#pragma once

#include "picture/source_description.h"

#include <cstdio>
#include <jxl/decode.h>
#include <memory>
#include <string>
#include <vector>

namespace qva {

/// Exif data and the XMP packet are gathered on the way.
class JxlStream {
public:
    /// @throws Failure where the file cannot be opened.
    explicit JxlStream(const std::string& path);

    /// Decodes up to the next event of basic information, colour encoding, pixels wanted or picture
    /// complete.
    /// @return that event; JXL_DEC_SUCCESS at the end, JXL_DEC_NEED_MORE_INPUT where the file ends
    ///         before it, JXL_DEC_ERROR where it is damaged.
    /// @throws Failure where the file cannot be read.
    JxlDecoderStatus Next();

    JxlDecoder* Decoder() const { return decoder_.get(); }

    /// What was found so far; all of it after JXL_DEC_SUCCESS.
    const Metadata& Found() const { return found_; }

private:
    bool Refill();
    void BeginBox();
    void GrowBox();
    void EndBox();

    struct FileCloser {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    struct DecoderDestroyer {
        void operator()(JxlDecoder* decoder) const { JxlDecoderDestroy(decoder); }
    };

    std::string path_;
    std::unique_ptr<std::FILE, FileCloser> file_;
    std::vector<unsigned char> input_; ///< outlives the decoder, which points into it
    std::vector<unsigned char> box_;   ///< the one that is gathered; empty for none
    bool isExif_ = false;
    Metadata found_;
    std::unique_ptr<JxlDecoder, DecoderDestroyer> decoder_;
};

} // namespace qva
