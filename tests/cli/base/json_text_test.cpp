#include "base/json_text.h"

#include <gtest/gtest.h>
#include <limits>

namespace qva {

namespace {

void WriteAll(JsonWriter& json)
{
    json.OpenObject();
    json.Add("text", "a\"b\n\xff");
    json.Add("whole", std::int64_t{-9007199254740993});
    json.Add("number", 20.0);
    json.Add("small", 1e-5);
    json.Add("not a number", std::numeric_limits<double>::quiet_NaN());
    json.OpenObject("within");
    json.Add("yes", true);
    json.Close();
    json.OpenArray("none");
    json.Close();
    json.OpenArray("list");
    json.Add({}, "x");
    json.OpenObject();
    json.Add("y", 1);
    json.Close();
    json.Close();
    json.Close();
}

// What the library of values makes of the same text says whether it is the usual form.
TEST(JsonText, IsWhatATreeOfValuesIsWrittenAs)
{
    using Json = nlohmann::ordered_json;
    JsonWriter line(false);
    JsonWriter lines(true);
    WriteAll(line);
    WriteAll(lines);
    const Json tree = Json::parse(line.Text());
    EXPECT_EQ(tree.dump(), line.Text());
    EXPECT_EQ(tree.dump(2), lines.Text());
    EXPECT_EQ("a\"b\n\xef\xbf\xbd", tree["text"]);
    EXPECT_EQ(-9007199254740993, tree["whole"]);
    EXPECT_EQ(1e-5, tree["small"]);
    EXPECT_TRUE(tree["not a number"].is_null());
    EXPECT_EQ(true, tree["within"]["yes"]);
    EXPECT_EQ("{}", [] {
        JsonWriter empty(true);
        empty.OpenObject();
        empty.Close();
        return empty.Text();
    }());
}

TEST(JsonText, GivesTheMembersOfAnObjectAndOfThoseWithin)
{
    const auto members =
        ReadJsonMembers(R"( {"a": -1, "b": {"c": 20.0, "d": "x\"y"}, "e": null, "f": true} )");
    ASSERT_TRUE(members);
    const JsonMembers expected = {
        {"a", "-1"}, {"b.c", "20.0"}, {"b.d", R"("x\"y")"}, {"e", "null"}, {"f", "true"}};
    EXPECT_EQ(expected, *members);
    EXPECT_EQ("20.0", ValueOf(*members, "b.c"));
    EXPECT_EQ(std::nullopt, ValueOf(*members, "c"));
    for (const char* text : {"", "1", "\"a\"", "[1]", "{\"a\":1", "{\"a\":1}x", "{\"a\":[1]}",
                             "{\"a\":{\"b\":{\"c\":1}}}", "{a:1}", "{\"a\":1e999}", "\xff"})
    {
        EXPECT_FALSE(ReadJsonMembers(text)) << text;
    }
    EXPECT_FALSE(ReadJsonMembers(std::string(100000, '[')));
    EXPECT_FALSE(ReadJsonMembers(std::string("{\"a\":") + std::string(100000, '{')));
}

} // namespace

} // namespace qva
