#include "base/output_file.h"

#include "samples.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qva {

namespace {

using samples::Content;
using samples::Folder;

void Write(const OutputFile& file, const std::string& text)
{
    const Descriptor descriptor = file.Duplicate();
    ASSERT_EQ(static_cast<ssize_t>(text.size()), write(descriptor.Get(), text.data(), text.size()));
}

std::size_t Entries(const Folder& folder)
{
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(folder / ""), {}));
}

TEST(OutputFile, TakesItsNameOnlyWhenCommitted)
{
    const Folder folder;
    const std::string path = folder / "a.tif";
    samples::WriteBytes(path, "old");
    chmod(path.c_str(), 0640);
    {
        const OutputFile file(path);
        Write(file, "half");
        EXPECT_EQ("old", Content(path));
    }
    EXPECT_EQ("old", Content(path));
    EXPECT_EQ(1U, Entries(folder));
    OutputFile file(path);
    Write(file, "new");
    file.Commit();
    EXPECT_EQ("new", Content(path));
    EXPECT_EQ(1U, Entries(folder));
    struct stat status {};
    stat(path.c_str(), &status);
    EXPECT_EQ(0640U, status.st_mode & 0777U);
}

TEST(OutputFile, WritesThroughLinksAndRefusesSpecialFiles)
{
    const Folder folder;
    samples::WriteBytes(folder / "real", "old");
    std::filesystem::create_symlink("real", folder / "link");
    std::filesystem::create_symlink("nowhere", folder / "dangling");
    {
        OutputFile file(folder / "link");
        Write(file, "new");
        file.Commit();
    }
    EXPECT_EQ("new", Content(folder / "real"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
    const std::pair<std::string, const char*> refused[] = {
        {folder / "", "is a directory: name a file in it, or see qva batch"},
        {folder / "dangling", "is a symbolic link to nowhere"},
        {folder / "none/a", "cannot be written: no such file or directory; make its folder first"},
        {folder / "real/a", "cannot be written: not a directory"},
        {"/dev/full", "is not a regular file"},
    };
    for (const auto& [path, reason] : refused) {
        EXPECT_EQ(path + ": " + reason,
                  samples::ErrorOf([name = path] { const OutputFile file(name); }));
    }
}

// A run that was killed leaves its temporary; one that runs, or stopped, has it still.
TEST(Leftovers, AreTemporariesThatNobodyHolds)
{
    const Folder folder;
    for (const char* name : {".qva-b123456789", ".qva-aaaaaaaaaa", ".qva-cccccccccc.tif",
                             "a.tif.qva-part", ".qva-settings", ".qva-b12345678",
                             ".qva-b1234567890", ".qva-b1234567_9", ".qvaxb123456789"})
    {
        samples::WriteBytes(folder / name, "left");
    }
    std::filesystem::create_directory(folder / ".qva-folder9999");
    std::filesystem::create_symlink(".qva-aaaaaaaaaa", folder / ".qva-link999999");
    mkfifo((folder / ".qva-pipe999999").c_str(), 0600);
    OutputFile file(folder / "a.tif");
    const std::vector<std::string> expected = {
        folder / ".qva-aaaaaaaaaa", folder / ".qva-b123456789", folder / ".qva-cccccccccc.tif"};
    EXPECT_EQ(13U, Entries(folder));
    EXPECT_EQ(expected, LeftoversIn(folder / ""));
    file.Commit();
    EXPECT_EQ(expected, LeftoversIn(folder / ""));
    EXPECT_TRUE(LeftoversIn(folder / "none").empty());
}

TEST(AreSameFile, SeesThroughNames)
{
    const Folder folder;
    samples::WriteBytes(folder / "a", "");
    samples::WriteBytes(folder / "b", "");
    std::filesystem::create_symlink("a", folder / "soft");
    std::filesystem::create_hard_link(folder / "a", folder / "hard");
    EXPECT_TRUE(AreSameFile(folder / "a", folder / "./a"));
    EXPECT_TRUE(AreSameFile(folder / "a", folder / "soft"));
    EXPECT_TRUE(AreSameFile(folder / "a", folder / "hard"));
    EXPECT_TRUE(AreSameFile(folder / "new", folder / "./new"));
    EXPECT_FALSE(AreSameFile(folder / "a", folder / "b"));
    EXPECT_FALSE(AreSameFile(folder / "a", folder / "new"));
}

} // namespace

} // namespace qva
