#include "formats/jxl_stream.h"

#include "base/errors.h"
#include "formats/reader_threads.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <omp.h>

namespace qva {

namespace {

constexpr std::size_t pieceBytes = 1 << 18;
constexpr std::size_t firstBoxBytes = 1 << 14;
constexpr std::size_t mostBoxBytes = 1 << 24;

/// The decoder's work, on the threads that the rest of the program works with.
JxlParallelRetCode RunOnTeam(void* threads, void* decoder, JxlParallelRunInit prepare,
                             JxlParallelRunFunction run, std::uint32_t first, std::uint32_t last)
{
    const auto count = static_cast<std::int64_t>(last) - first;
    const auto team = static_cast<int>(
        std::clamp<std::int64_t>(count, 1, std::max(*static_cast<const int*>(threads), 1)));
    const JxlParallelRetCode status = prepare(decoder, static_cast<std::size_t>(team));
    if (status != 0 || team == 1) {
        for (std::uint32_t i = first; status == 0 && i < last; ++i) {
            run(decoder, i, 0);
        }
        return status;
    }
#pragma omp parallel for num_threads(team) schedule(dynamic, 1)
    for (std::uint32_t i = first; i < last; ++i) {
        run(decoder, i, static_cast<std::size_t>(omp_get_thread_num()));
    }
    return 0;
}

} // namespace

JxlStream::JxlStream(const std::string& path)
    : path_(path), file_(std::fopen(path.c_str(), "rb")), threads_(ReaderThreads())
{
    if (!file_) {
        throw Failure(path, SystemReason(errno));
    }
    decoder_.reset(JxlDecoderCreate(nullptr));
    if (!decoder_) {
        throw std::bad_alloc();
    }
    JxlDecoder* decoder = decoder_.get();
    JxlDecoderSetParallelRunner(decoder, RunOnTeam, &threads_);
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
