// What the bit stream of a coded picture says about itself before it is decoded.
#pragma once

#include "formats/bit_reader.h"
#include "picture/source_description.h"

#include <functional>
#include <optional>

namespace qva {

/// How the chroma samples lie beside the luma samples.
struct ChromaLayout {
    bool isGrey = false; ///< there are none
    int shiftX = 0;      ///< 1: one for two columns
    int shiftY = 0;      ///< 1: one for two rows
    bool sitedX = false; ///< at the first of two columns, else in the middle of both
    bool sitedY = false;
};

struct CodedHeader {
    ImageSize size; ///< what comes out of the decoder
    ImageSize kept; ///< what the decoder holds in memory
    int bits = 0;
    ChromaLayout chroma;
    std::optional<CodePoints> points;
};

/// The sequence header of an AV1 stream (AV1 bit stream syntax, 5.5).
/// @param units  all data of a picture.
/// @throws std::out_of_range for streams that end too early, have no header, or two that differ.
CodedHeader ReadAv1Header(Bytes units);

/// Hands over the units of an HEVC picture: first the parameter sets.
/// @param configuration  the payload of its hvcC property.
/// @param units          all data of a picture.
/// @throws std::out_of_range where the data end too early.
void ForEachHevcUnit(Bytes configuration, Bytes units, const std::function<void(Bytes)>& body);

/// The sequence parameter set of an HEVC picture (ITU-T H.265, 7.3.2.2).
/// @throws std::out_of_range as ReadAv1Header.
CodedHeader ReadHevcHeader(Bytes configuration, Bytes units);

} // namespace qva
