#include "proof/proof.h"

#include "picture/reduced_size.h"

namespace qva {

namespace {

constexpr std::size_t worstPlaces = 5;

Lab OnPaper(const DeviceProfile& device, std::uint16_t code)
{
    const std::array<std::uint16_t, 3> codes = {code, code, code};
    std::array<std::uint16_t, ColourTable::mostOutputs> inks{};
    Lab lab{};
    device.FromCodes(codes.data(), 1, inks.data());
    device.ToLab(inks.data(), 1, PaperWhite::Shown, &lab);
    return lab;
}

} // namespace

ImageSize ViewSize(ImageSize page, const ProofSettings& settings)
{
    return settings.longerSide > 0 ? ReducedSize(page, settings.longerSide) : page;
}

PaperColours PaperOf(const DeviceProfile& device)
{
    return {OnPaper(device, 65535), OnPaper(device, 0)};
}

ProofResult MakeProof(ProofSource& source, const DeviceProfile& device, const ViewerSpace& viewer,
                      const ProofSettings& settings, ImageSize view, const ViewRows& show,
                      Progress& progress)
{
    const ColourTable table = MakeProofTable(device, viewer, settings.white);
    const ProofSizes sizes = {source.Size(), view};
    const auto read = [&source](std::int64_t count, std::uint16_t* codes) {
        source.Read(count, codes);
    };
    ProofResult result{
        RunProof(table, sizes, settings.inkLimit, read, show, progress), {}, PaperOf(device)};
    for (const Place& place : result.figures.WorstPlaces(worstPlaces)) {
        result.worst.push_back({place, PrintedColourOf(device, place.codes.data())});
    }
    return result;
}

} // namespace qva
