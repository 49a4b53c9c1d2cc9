// Decodes one coded picture, as HEIF files hold them.
#pragma once

#include "formats/coded_header.h"
#include "formats/plane_view.h"

#include <memory>
#include <string>

namespace qva {

/// The planes of a decoded picture, in memory of the library that decoded it.
class CodedPicture {
public:
    virtual ~CodedPicture() = default;

    /// Luma and, where the picture is not grey, two chroma planes, as the header says.
    virtual PlaneSet Planes() const = 0;

    /// What only the decoder knows of the stream's code points; the header's otherwise.
    virtual std::optional<CodePoints> Points() const { return {}; }
};

/// Decodes an AV1 picture with dav1d. The result does not depend on the threads.
/// @param path     of the file, for messages.
/// @param units    all data of the picture, which ReadAv1Header was called with.
/// @param threads  1 or more.
/// @throws Failure where the data are damaged.
std::unique_ptr<CodedPicture> DecodeAv1(const std::string& path, Bytes units,
                                        const CodedHeader& header, int threads);

/// Decodes an HEVC picture with libde265, on this thread.
/// @param configuration  the payload of its hvcC property.
/// @throws Failure as above.
std::unique_ptr<CodedPicture> DecodeHevc(const std::string& path, Bytes configuration, Bytes units,
                                         const CodedHeader& header);

} // namespace qva
