#include "formats/writer_table.h"

#include "samples.h"

#include <gtest/gtest.h>

namespace qva {

namespace {

TEST(WriterTable, ChoosesByTheEndingOfTheName)
{
    const struct {
        const char* path;
        std::string format; ///< empty: refused
    } cases[] = {
        {"a.tif", "TIFF"}, {"a.TIFF", "TIFF"},    {"b/c.PnG", "PNG"},
        {".png", "PNG"},   {"a.png.tif", "TIFF"}, {"a.tif.png", "PNG"},
        {"a.PDF", "PDF"},  {"tif", ""},           {"a.tif~", ""},
        {"a.tiff2", ""},   {"a.tif/", ""},        {"a.jpg", ""},
        {"", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        std::string found;
        const std::string error = samples::ErrorOf([&] { found = OutputFormatOf(c.path).name; });
        EXPECT_EQ(c.format, found);
        const std::string refusal =
            std::string(c.path) + ": the name must end in .tif, .tiff or .png";
        EXPECT_EQ(c.format.empty() ? refusal : "", error);
    }
}

} // namespace

} // namespace qva
