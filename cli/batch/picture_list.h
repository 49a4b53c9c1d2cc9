// Which pictures a batch is about, and how their prints are called.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qva {

/// One picture to print.
struct PrintJob {
    std::string photo;
    std::string output;
    std::string sideBySide; ///< empty: none
};

/// @param words  folders (the pictures in them, by content), lists (.txt or .list, a path a line; -
///               is standard input), globs, and pictures.
/// @return each picture once, in the order of the words, those of a folder or glob by name.
/// @throws Failure where a list or folder cannot be read.
/// @throws Misuse where a word gives no picture.
std::vector<std::string> PicturesOf(const std::vector<std::string>& words);

/// Whether a file holds a picture of a format that is known, by its first bytes.
bool IsPicture(const std::string& path);

/// How prints are called.
struct NamePatterns {
    std::string folder;              ///< of all prints
    std::string name = "{name}.tif"; ///< {name}, {ext}, {folder} of the picture, {n} its number
    std::string sideBySide;          ///< empty: none
};

/// @param number  of the picture in its batch, from 1.
PrintJob JobOf(const std::string& photo, std::int64_t number, const NamePatterns& patterns);

/// @throws Misuse for braces around something else, or an ending that is no format's.
void CheckPatterns(const NamePatterns& patterns);

/// @throws Misuse where two prints would have one name, or a print would replace a picture.
void CheckJobs(const std::vector<PrintJob>& jobs);

} // namespace qva
