// The records and the handle that every call of the library needs.
#pragma once

#include "colour/printer_profile.h"
#include "colour/range_choice.h"
#include "render/render_settings.h"

#include <cstdint>
#include <lumo/qva.h>
#include <string>

namespace qva {

/// A handle of the library, alive as long as this.
class LibraryHandle {
public:
    /// @throws std::bad_alloc.
    LibraryHandle();
    ~LibraryHandle();
    LibraryHandle(const LibraryHandle&) = delete;
    LibraryHandle& operator=(const LibraryHandle&) = delete;

    QVA_HANDLE Get() const { return handle_; }

private:
    QVA_HANDLE handle_ = nullptr;
};

/// A packed image of 16-bit codes.
QVA_IMAGE ImageRecord(std::uint16_t* codes, ImageSize size);

/// One that the library only reads.
QVA_IMAGE SourceRecord(const std::uint16_t* codes, ImageSize size);

/// @param profile  must outlive the record.
QVA_OUTPUT_CONDITIONS ConditionsRecord(const PrinterProfile& profile,
                                       const RenderSettings& settings);

/// Refuses a picture whose reduced copy would be too narrow to be divided into regions.
/// @param reducedSide  pixels of the copy's longer side.
void EnsureWidth(ImageSize size, std::int64_t reducedSide, const std::string& name);

/// @throws Failure that tells what a status other than QVA_OK means.
[[noreturn]] void RefuseStatus(std::uint32_t status, const RenderRange& range,
                               const std::string& name);

} // namespace qva
