#include "formats/jxl_stream.h"

#include "base/errors.h"
#include "base/workers.h"

#include <cerrno>
#include <cstring>
#include <new>

namespace qva {

namespace {

constexpr std::size_t pieceBytes = 1 << 18;
constexpr std::size_t firstBoxBytes = 1 << 14;
constexpr std::size_t mostBoxBytes = 1 << 24;

/// The decoder's work, on the threads that the rest of the program works with.
JxlParallelRetCode RunOnWorkers(void*, void* decoder, JxlParallelRunInit prepare,
                                JxlParallelRunFunction run, std::uint32_t first, std::uint32_t last)
{
    const JxlParallelRetCode status = prepare(decoder, static_cast<std::size_t>(Workers()));
    if (status == 0) {
        ForEach(std::int64_t{last} - first, [&](std::int64_t item, int worker) {
            run(decoder, first + static_cast<std::uint32_t>(item),
                static_cast<std::size_t>(worker));
        });
    }
    return status;
}

} // namespace

JxlStream::JxlStream(const std::string& path) : path_(path), file_(std::fopen(path.c_str(), "rb"))
{
    if (!file_) {
        throw Failure(path, SystemReason(errno));
    }
    decoder_.reset(JxlDecoderCreate(nullptr));
    if (!decoder_) {
        throw std::bad_alloc();
    }
    JxlDecoder* decoder = decoder_.get();
    JxlDecoderSetParallelRunner(decoder, RunOnWorkers, nullptr);
    JxlDecoderSubscribeEvents(decoder, JXL_DEC_BASIC_INFO | JXL_DEC_COLOR_ENCODING |
                                           JXL_DEC_FULL_IMAGE | JXL_DEC_BOX);
    JxlDecoderSetKeepOrientation(decoder, JXL_TRUE);
    JxlDecoderSetDecompressBoxes(decoder, JXL_TRUE);
}

JxlDecoderStatus JxlStream::Next()
{
    for (;;) {
        const JxlDecoderStatus status = JxlDecoderProcessInput(decoder_.get());
        if (status == JXL_DEC_NEED_MORE_INPUT) {
            if (Refill()) {
                continue;
            }
            EndBox();
        } else if (status == JXL_DEC_BOX) {
            EndBox();
            BeginBox();
            continue;
        } else if (status == JXL_DEC_BOX_NEED_MORE_OUTPUT) {
            GrowBox();
            continue;
        } else if (status == JXL_DEC_SUCCESS) {
            EndBox();
        }
        return status;
    }
}

bool JxlStream::Refill()
{
    const std::size_t rest = JxlDecoderReleaseInput(decoder_.get());
    const std::vector<unsigned char> kept(input_.end() - static_cast<std::ptrdiff_t>(rest),
                                          input_.end());
    input_.resize(rest + pieceBytes);
    std::copy(kept.begin(), kept.end(), input_.begin());
    const std::size_t read = std::fread(input_.data() + rest, 1, pieceBytes, file_.get());
    if (std::ferror(file_.get()) != 0) {
        throw Failure(path_, SystemReason(errno));
    }
    input_.resize(rest + read);
    // What is kept is a part of a header; a decoder that holds back more makes no headway.
    return read > 0 && rest <= pieceBytes &&
           JxlDecoderSetInput(decoder_.get(), input_.data(), input_.size()) == JXL_DEC_SUCCESS;
}

void JxlStream::BeginBox()
{
    JxlBoxType type;
    if (JxlDecoderGetBoxType(decoder_.get(), type, JXL_TRUE) != JXL_DEC_SUCCESS) {
        return;
    }
    isExif_ = std::memcmp(type, "Exif", 4) == 0;
    if (!isExif_ && std::memcmp(type, "xml ", 4) != 0) {
        return;
    }
    box_.resize(firstBoxBytes);
    JxlDecoderSetBoxBuffer(decoder_.get(), box_.data(), box_.size());
}

void JxlStream::GrowBox()
{
    const std::size_t used = box_.size() - JxlDecoderReleaseBoxBuffer(decoder_.get());
    if (box_.size() >= mostBoxBytes) {
        // Left out; the decoder passes over what nobody takes.
        box_.clear();
        return;
    }
    box_.resize(box_.size() * 2);
    JxlDecoderSetBoxBuffer(decoder_.get(), box_.data() + used, box_.size() - used);
}

void JxlStream::EndBox()
{
    if (box_.empty()) {
        return;
    }
    box_.resize(box_.size() - JxlDecoderReleaseBoxBuffer(decoder_.get()));
    if (!isExif_) {
        found_.xmp = box_;
    } else if (box_.size() > 4) {
        // The place of the TIFF structure behind these four bytes (ISO/IEC 18181-2, 9.9).
        std::size_t place = 4;
        for (std::size_t i = 0, offset = 0; i < 4; ++i) {
            offset = offset << 8 | box_[i];
            place = 4 + offset;
        }
        if (place < box_.size()) {
            found_.exif.assign(box_.begin() + static_cast<std::ptrdiff_t>(place), box_.end());
        }
    }
    box_.clear();
}

} // namespace qva
