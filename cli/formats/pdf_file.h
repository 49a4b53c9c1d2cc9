// A PDF from front to end, in as little memory as its objects take one by one.
#pragma once

#include "base/output_file.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qva {

/// Text as a PDF has it between objects: UTF-16 in hexadecimal digits.
/// @param text  UTF-8; what is none becomes U+FFFD.
std::string PdfText(const std::string& text);

/// Numbered objects, and at the end where each of them lies (ISO 32000-1, 7.5.8: places have eight
/// bytes, so that a file may be larger than ten digits of a plain table allow). Failures are thrown
/// as Failure.
class PdfFile {
public:
    /// The file must outlive this.
    explicit PdfFile(const OutputFile& file);

    /// The number of an object that is written later, for those that refer to it.
    int NewNumber();

    void WriteObject(int number, std::string_view body);

    /// @param entries  of its dictionary, but for the length.
    void WriteStream(int number, std::string_view entries, std::string_view bytes);

    /// A stream whose bytes come piece by piece.
    void BeginStream(int number, std::string_view entries);
    void Append(std::string_view bytes);
    void EndStream();

    /// Every number must have got its object.
    /// @param entries  of the file: its root and the like.
    void Finish(std::string_view entries);

private:
    void BeginObject(int number);

    const OutputFile& file_;
    std::uint64_t place_ = 0;           ///< of the next byte
    std::vector<std::uint64_t> places_; ///< of objects; number 1 first
    int length_ = 0;                    ///< the object that will hold the open stream's length
    std::uint64_t streamBegin_ = 0;
};

} // namespace qva
