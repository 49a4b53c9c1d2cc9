// Writes a picture in memory as a file of the format that its name asks for.
#pragma once

#include "base/output_file.h"
#include "base/progress.h"
#include "formats/row_writer.h"
#include "picture/rendered_page.h"

namespace qva {

/// Writes a rendered page.
/// @throws Failure where the file cannot be written.
void WritePage(const OutputFile& file, const Page& page, const WriteSettings& settings,
               Progress& progress);

} // namespace qva
