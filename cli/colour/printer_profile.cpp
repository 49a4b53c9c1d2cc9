#include "colour/printer_profile.h"

#include "base/errors.h"
#include "colour/lcms_handles.h"
#include "colour/photo_paper_profile.h"
#include "colour/profile_search.h"
#include "picture/input_file.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fmt/format.h>
#include <string_view>
#include <utility>

namespace qva {

namespace {

// Header, tag count and one tag; the largest is what the colour matcher takes.
constexpr std::size_t smallestProfile = 144;
constexpr std::size_t largestProfile = std::size_t{64} << 20;

std::vector<unsigned char> ReadFile(const std::string& path)
{
    const std::uint64_t size = SizeOfRegularFile(path);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                               std::fclose);
    if (!file) {
        throw Failure(path, SystemReason(errno));
    }
    if (size > largestProfile) {
        throw Failure(path, "is larger than 64 MiB and no ICC profile");
    }
    std::vector<unsigned char> bytes(size);
    if (std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
        throw Failure(path, std::ferror(file.get()) != 0 ? SystemReason(errno)
                                                         : "became shorter while it was read");
    }
    return bytes;
}

std::string_view Field(const std::vector<unsigned char>& bytes, std::size_t offset)
{
    return {reinterpret_cast<const char*>(bytes.data()) + offset, 4};
}

void CheckHeader(const std::vector<unsigned char>& bytes, const std::string& name)
{
    if (bytes.size() < smallestProfile || Field(bytes, 36) != "acsp") {
        throw Failure(name, "is not an ICC profile, as an .icc or .icm file holds one");
    }
    const std::uint32_t stated = static_cast<std::uint32_t>(bytes[0]) << 24 |
                                 static_cast<std::uint32_t>(bytes[1]) << 16 |
                                 static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
    if (stated != bytes.size()) {
        throw Failure(name, fmt::format("the profile states a size of {} bytes but has {}", stated,
                                        bytes.size()));
    }
    const std::string_view deviceClass = Field(bytes, 12);
    if (deviceClass == "link") {
        throw Failure(name, "is a device link, which leads from one device to another: the profile "
                            "of the printer itself is needed");
    }
    if (deviceClass != "prtr" && deviceClass != "mntr" && deviceClass != "spac") {
        throw Failure(name, fmt::format("is a profile of class '{}'; an output device's (prtr), a "
                                        "display's (mntr) or a colour space's (spac) is needed",
                                        deviceClass));
    }
    if (Field(bytes, 20) != "XYZ " && Field(bytes, 20) != "Lab ") {
        throw Failure(name, "the profile connects neither to XYZ nor to Lab");
    }
}

std::string DescriptionOf(cmsHPROFILE profile)
{
    char text[256] = "";
    cmsGetProfileInfoASCII(profile, cmsInfoDescription, "en", "US", text, sizeof text);
    return OneLine(text);
}

} // namespace

PrinterProfile BuiltInProfile()
{
    return {
        std::vector<unsigned char>(photoPaperProfile, photoPaperProfile + photoPaperProfileSize),
        "generic photo paper", true, true};
}

PrinterProfile ReadPrinterProfile(const std::string& name)
{
    const std::string path = FindProfile(name);
    return MakePrinterProfile(ReadFile(path), path);
}

PrinterProfile MakePrinterProfile(std::vector<unsigned char> bytes, const std::string& name)
{
    PrinterProfile profile;
    profile.bytes = std::move(bytes);
    CheckPrinterProfile(profile.bytes, name);
    profile.isPrinter = Field(profile.bytes, 12) == "prtr";
    const ContextHandle context = MakeContext();
    profile.description = DescriptionOf(OpenProfile(context.get(), profile.bytes).get());
    if (profile.description.empty()) {
        profile.description = name;
    }
    return profile;
}

void CheckPrinterProfile(const std::vector<unsigned char>& bytes, const std::string& name)
{
    CheckHeader(bytes, name);
    const ContextHandle context = MakeContext();
    if (!OpenProfile(context.get(), bytes)) {
        throw Failure(name, "the profile is damaged");
    }
}

PrinterProfile ProfileOf(const std::string& path)
{
    try {
        return path.empty() ? BuiltInProfile() : ReadPrinterProfile(path);
    } catch (const Failure& failure) {
        throw failure.As(exitProfile);
    }
}

} // namespace qva
