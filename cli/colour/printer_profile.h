// The ICC profile of the output device: read, and checked before the library sees it.
#pragma once

#include <string>
#include <vector>

namespace qva {

/// The bytes of a profile whose header tells their number truly; of any device colours, inks too.
struct PrinterProfile {
    std::vector<unsigned char> bytes;
    std::string description; ///< for people; the file's name where the profile has none
    bool isBuiltIn = false;
    bool isPrinter = true; ///< its class is that of output devices
};

/// The generic photo-paper profile that is compiled in.
PrinterProfile BuiltInProfile();

/// Reads a profile by its name (FindProfile) and checks what it says about itself; whether its
/// tables serve a print is found out by TryProfile. Device colours are never a reason to refuse
/// one: CMYK and other inks are as welcome as RGB and grey.
/// @throws Failure where the file cannot be read, its size field is not its length, or it is not
///         a profile of an output device, a display or a colour space.
PrinterProfile ReadPrinterProfile(const std::string& name);

/// The same for bytes that came from elsewhere.
/// @param name  for messages.
PrinterProfile MakePrinterProfile(std::vector<unsigned char> bytes, const std::string& name);

/// The profile of a file, or the built-in one where no name is given.
PrinterProfile ProfileOf(const std::string& path);

/// The checks of ReadPrinterProfile on bytes.
/// @param name  for messages.
void CheckPrinterProfile(const std::vector<unsigned char>& bytes, const std::string& name);

} // namespace qva
