// The part of IPTC datasets that stays true of a print.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace qva {

/// The datasets among the resources that an image editor keeps beside a picture; empty where there
/// are none.
/// @param resources  "8BIM", number, name, size and bytes, one after the other.
std::vector<unsigned char> IptcOfResources(std::span<const unsigned char> resources);

/// The resource of datasets alone, as IptcOfResources reads it.
std::vector<unsigned char> ResourcesOfIptc(std::span<const unsigned char> iptc);

struct IptcCopy {
    std::vector<unsigned char> datasets;
    std::size_t kept = 0;
    std::size_t leftOut = 0;
};

/// Takes the envelope and the editorial record, but for the kind and orientation of the picture and
/// its preview.
/// @param iptc  datasets of IIM 4.2, chapter 1; read up to the first that is damaged.
IptcCopy CopyIptc(std::span<const unsigned char> iptc);

} // namespace qva
