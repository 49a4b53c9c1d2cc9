#include "picture/rendered_for.h"

#include <gtest/gtest.h>

namespace qva {

namespace {

TEST(RenderedFor, GoesThroughText)
{
    for (const bool saturation : {false, true}) {
        for (const bool compensation : {false, true}) {
            const RenderedFor paper = {0x00f1234567890abc, {saturation, compensation}};
            EXPECT_EQ(paper, ParseSoftware(SoftwareText(paper)));
        }
    }
    EXPECT_EQ("qva (for profile 00f1234567890abc, relative)",
              SoftwareText(RenderedFor{0x00f1234567890abc, {false, false}}));
    EXPECT_EQ("qva", SoftwareText(std::nullopt));
}

// FNV-1a of the empty text and of "a", from the authors' test vectors.
TEST(RenderedFor, DigestsBytes)
{
    EXPECT_EQ(0xcbf29ce484222325u, DigestOf({}));
    EXPECT_EQ(0xaf63dc4c8601ec8cu, DigestOf({'a'}));
}

TEST(RenderedFor, TakesNothingElse)
{
    for (const char* text :
         {"", "qva", "qva (for profile 12, relative)", "qva (for profile 00f1234567890abc)",
          "qva (for profile 00F1234567890ABC, relative)",
          "qva (for profile 00f1234567890abc, relative) and more",
          "qva (for profile xyz1234567890abc, relative)"})
    {
        EXPECT_FALSE(ParseSoftware(text)) << text;
    }
}

} // namespace

} // namespace qva
