// What the options of the commands mean, and what is said about those that mean nothing.
#include "base/errors.h"
#include "command/command_line.h"
#include "command/page_options.h"
#include "command/suggestion.h"
#include "samples.h"

#include <functional>
#include <gtest/gtest.h>
#include <sstream>

namespace qva {

namespace {

PageOptions Parsed(const std::string& arguments)
{
    PageOptions options;
    CLI::App app;
    AddPageOptions(app, options);
    app.parse("photo.exr -o page.tif " + arguments);
    FinishPage(options);
    return options;
}

CommandLine Read(const std::string& line)
{
    std::istringstream text("qva " + line);
    std::vector<std::string> words;
    for (std::string word; text >> word;) {
        words.push_back(word == "''" ? "" : word);
    }
    std::vector<const char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(word.c_str());
    }
    return ParseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

/// What the program says about a line of arguments; "" where it would begin to work.
std::string Complaint(const std::string& line)
{
    return samples::ErrorOf([&line] { Read(line); });
}

TEST(Options, FillTheirFields)
{
    using Options = const PageOptions&;
    const auto number = [](auto value) { return static_cast<double>(value); };
    const struct {
        const char* arguments;
        double expected;
        std::function<double(Options)> value;
    } cases[] = {
        {"--white 120", 120.0, [](Options o) { return *o.print.photo.source.white; }},
        {"--luminance-min 2", 2.0,
         [](Options o) { return *o.print.photo.source.zeroCodeLuminance; }},
        {"--luminance-max 3e2", 300.0,
         [](Options o) { return *o.print.photo.source.largestCodeLuminance; }},
        {"--top 900", 900.0, [](Options o) { return *o.print.photo.source.top; }},
        {"--max-pixels 2e6", 2e6, [&](Options o) { return number(o.print.photo.limits.pixels); }},
        {"--max-side 77", 77.0, [&](Options o) { return number(o.print.photo.limits.side); }},
        {"--paper-white 400", 400.0, [&](Options o) { return number(o.print.render.paperWhite); }},
        {"", 1.3, [](Options o) { return o.print.render.threshold; }},
        {"--threshold 2 --threshold 2.5", 2.5, [](Options o) { return o.print.render.threshold; }},
        {"--intent saturation", 1.0, [&](Options o) { return number(o.print.render.saturation); }},
        {"--intent relative", 0.0, [&](Options o) { return number(o.print.render.saturation); }},
        {"--no-black-point-compensation", 0.0,
         [&](Options o) { return number(o.print.render.blackPointCompensation); }},
        {"--threads 3", 3.0, [&](Options o) { return number(o.print.threads); }},
        {"--dpi 240", 240.0, [](Options o) { return o.print.write.dpi; }},
        {"", 1e9, [&](Options o) { return number(o.cut.maxMemory); }},
        {"--max-memory 1.5G", 1.5e9, [&](Options o) { return number(o.cut.maxMemory); }},
        {"--band-rows 7", 7.0, [&](Options o) { return number(*o.cut.bandLines); }},
        {"--band 2/4", 204.0,
         [&](Options o) { return number(o.cut.share->number * 100 + o.cut.share->count); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        EXPECT_EQ(c.expected, c.value(Parsed(c.arguments)));
    }
}

TEST(Options, ChooseByName)
{
    EXPECT_EQ(Compression::None, Parsed("--compression none").print.write.compression);
    EXPECT_EQ(Compression::Lzw, Parsed("--compression lzw").print.write.compression);
    EXPECT_EQ(Compression::Deflate, Parsed("").print.write.compression);
    EXPECT_EQ(Direction::Rows, Parsed("--direction rows").cut.direction);
    EXPECT_EQ(Direction::Columns, Parsed("--direction columns").cut.direction);
    EXPECT_EQ(std::nullopt, Parsed("").cut.direction);
    EXPECT_EQ(Continuation::Refuse, Parsed("").continuation);
    EXPECT_EQ(Continuation::Resume, Parsed("--resume").continuation);
    EXPECT_EQ(Continuation::Restart, Parsed("--restart").continuation);
    EXPECT_EQ(ProgressStyle::None, Parsed("-q").progress);
    EXPECT_EQ(ProgressStyle::Json, Parsed("-q --progress json").progress);
    EXPECT_EQ("bt2020", Parsed("--primaries bt2020 --encoding pq").print.photo.source.primaries);
    EXPECT_EQ("pq", Parsed("--primaries bt2020 --encoding pq").print.photo.source.encoding);
}

TEST(CommandLine, SaysWhatIsWrong)
{
    // Behind a + stands how to get help, too; behind a * the command line is blamed as well.
    const struct {
        const char* line;
        const char* complaint;
    } cases[] = {
        {"prnt", "+prnt: unknown subcommand; did you mean print?"},
        {"help jion", "+jion: unknown subcommand; did you mean join?"},
        {"frobnicate", "+frobnicate: unknown subcommand"},
        {"print a -o b.tif --treshold=2",
         "*The following argument was not expected: --treshold=2; did you mean --threshold?"},
        {"print a --ouput b.tif",
         "*--output is required; --ouput is unknown; did you mean --output?"},
        {"info a --xyzzy", "*The following argument was not expected: --xyzzy"},
        {"--prnt", "+--prnt: unknown option"},
        {"info", "*PHOTO is required"},
        {"print a", "*--output is required"},
        {"print a -o b.jpg", "b.jpg: the name must end in .tif, .tiff or .png"},
        {"join a -o b.jpg", "b.jpg: the name must end in .tif, .tiff or .png"},
        {"print a -o b.tif --side-by-side c.tif", "c.tif: the name must end in .png"},
        {"print a -o b.png --compression lzw", "--compression: PNG knows none and deflate"},
        {"page a -o b.png --band 1/2",
         "b.png: a share is a TIFF: the name must end in .tif or .tiff"},
        {"print a -o b.tif --threads 0", "*--threads: 0 is not between 1 and 1024"},
        {"print a -o b.tif --threads 1.5", "*--threads: '1.5' is not a whole number"},
        {"print a -o b.tif --threshold nan", "*--threshold: 'nan' is not a number"},
        {"print a -o b.tif --threshold 100.1", "*--threshold: 100.1 is not between 0 and 100"},
        {"print a -o b.tif --paper-white 300", "*--paper-white: '300' is not one of 100, 200, 400"},
        {"print a -o b.tif --profile ''", "*--profile: a file is missing"},
        {"print a -o b.tif --max-memory 1K",
         "*--max-memory: 1K is below the least that is needed, 130M"},
        {"print a -o b.tif --max-memory 4Q",
         "*--max-memory: '4Q' is not a number of bytes, such as 800M or 1G"},
        {"page a -o b.tif --band 3/2", "*--band: '3/2' is not a share such as 2/4"},
        {"page a -o b.tif --band 0/2", "*--band: '0/2' is not a share such as 2/4"},
        {"page a -o b.tif --band 1/", "*--band: '1/' is not a share such as 2/4"},
        {"print a -o b.tif --white 9 --luminance-max 9", "*--white excludes --luminance-max"},
        {"page a -o b.tif --resume --restart", "*--resume excludes --restart"},
        {"page a -o -",
         "--output: a page goes on where it was stopped, and needs a name for that; qva print "
         "writes to standard output"},
        {"print a b -o c.tif", "*The following argument was not expected: b; qva batch prints many "
                               "pictures"},
        {"page a -o b.tif --band 1/2 --side-by-side c.png", "*--side-by-side excludes --band"},
        {"print a -o b.tif", ""},
        {"join a b -o c.png", ""},
    };
    for (const auto& c : cases) {
        const bool blames = *c.complaint == '*';
        const bool helps = blames || *c.complaint == '+';
        EXPECT_EQ((blames ? "command line: " : "") + std::string(c.complaint + (helps ? 1 : 0)) +
                      (helps ? " (see qva --help)" : ""),
                  Complaint(c.line));
    }
}

TEST(CommandLine, ShowsHelpAndVersionInsteadOfWorking)
{
    for (const char* line : {"--version", "-V", "--help", "-h", "help", "help join", "join --help"})
    {
        EXPECT_EQ(nullptr, Read(line).command) << line;
    }
    EXPECT_EQ(Read("--version").text, Read("-V").text);
    EXPECT_EQ(Read("--help").text, Read("help").text);
    EXPECT_EQ(Read("join --help").text, Read("help join").text);
    EXPECT_NE(std::string::npos, Read("help join").text.find("SHARE"));
    EXPECT_EQ("photo.exr", Read("info photo.exr").command->Subject());
}

// Distances by hand.
TEST(Suggestion, CountsLetters)
{
    EXPECT_EQ(0U, EditDistance("print", "print"));
    EXPECT_EQ(1U, EditDistance("pirnt", "print"));
    EXPECT_EQ(3U, EditDistance("kitten", "sitting"));
    EXPECT_EQ(4U, EditDistance("", "join"));
    EXPECT_EQ("join", NearestOf("joi", {"print", "join", "info"}));
    EXPECT_EQ("", NearestOf("xy", {"x", "y"}));
    EXPECT_EQ("", NearestOf("", {"print"}));
}

} // namespace

} // namespace qva
