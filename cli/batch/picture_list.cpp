#include "batch/picture_list.h"

#include "base/errors.h"
#include "base/output_file.h"
#include "base/pipe_ends.h"
#include "formats/format_table.h"
#include "formats/writer_table.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <glob.h>
#include <iostream>
#include <map>
#include <set>

namespace qva {

namespace {

namespace fs = std::filesystem;

void ReadList(std::istream& list, std::vector<std::string>& pictures)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    for (std::string line; std::getline(list, line);) {
        if (pictures.empty() && line.starts_with(byteOrderMark)) {
            line.erase(0, byteOrderMark.size());
        }
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (!line.empty()) {
            pictures.push_back(line);
        }
    }
}

void ListFolder(const std::string& folder, std::vector<std::string>& pictures)
{
    std::vector<std::string> found;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error))
    {
        const std::string path = entry->path().string();
        if (!entry->path().filename().string().starts_with('.') && IsPicture(path)) {
            found.push_back(path);
        }
    }
    if (error) {
        throw Failure(folder, SystemReason(error.value()));
    }
    if (found.empty()) {
        throw Misuse(folder, "holds no pictures");
    }
    std::sort(found.begin(), found.end());
    pictures.insert(pictures.end(), found.begin(), found.end());
}

bool IsPattern(const std::string& word)
{
    return word.find_first_of("*?[") != std::string::npos;
}

/// @return whether something fits the pattern.
bool Expand(const std::string& word, std::vector<std::string>& pictures)
{
    glob_t found{};
    const bool fits = glob(word.c_str(), 0, nullptr, &found) == 0;
    for (std::size_t i = 0; fits && i < found.gl_pathc; ++i) {
        pictures.emplace_back(found.gl_pathv[i]);
    }
    globfree(&found);
    return fits;
}

void Take(const std::string& word, std::vector<std::string>& pictures)
{
    std::error_code error;
    if (word == pipeName) {
        ReadList(std::cin, pictures);
    } else if (fs::is_directory(word, error)) {
        ListFolder(word, pictures);
    } else if (HasEnding(word, ".txt") || HasEnding(word, ".list")) {
        std::ifstream list(word);
        if (!list) {
            throw Failure(word, SystemReason(errno));
        }
        ReadList(list, pictures);
    } else if (fs::exists(word, error) || !IsPattern(word)) {
        pictures.push_back(word);
    } else if (!Expand(word, pictures)) {
        throw Misuse(word, "matches no file");
    }
}

std::string Replaced(const std::string& pattern,
                     const std::vector<std::pair<std::string, std::string>>& values)
{
    std::string text;
    for (std::size_t i = 0; i < pattern.size();) {
        const auto value = std::find_if(values.begin(), values.end(), [&](const auto& entry) {
            return pattern.compare(i, entry.first.size(), entry.first) == 0;
        });
        if (value != values.end()) {
            text += value->second;
            i += value->first.size();
        } else if (pattern[i] == '{' || pattern[i] == '}') {
            throw Misuse(pattern, "a brace stands around none of {name}, {ext}, {folder} and {n}");
        } else {
            text += pattern[i++];
        }
    }
    return text;
}

std::string Named(const std::string& pattern, const std::string& photo, std::int64_t number)
{
    std::error_code error;
    const fs::path path(photo);
    const std::string ending = path.extension().string();
    return Replaced(pattern,
                    {{"{name}", path.stem().string()},
                     {"{ext}", ending.empty() ? "" : ending.substr(1)},
                     {"{folder}", fs::absolute(path, error).parent_path().filename().string()},
                     {"{n}", fmt::format("{:04}", number)}});
}

} // namespace

std::vector<std::string> PicturesOf(const std::vector<std::string>& words)
{
    std::vector<std::string> all;
    for (const std::string& word : words) {
        Take(word, all);
    }
    std::set<std::string> seen;
    std::erase_if(all, [&seen](const std::string& path) {
        return !seen.insert(fs::path(path).lexically_normal().string()).second;
    });
    return all;
}

bool IsPicture(const std::string& path)
{
    std::error_code error;
    if (!fs::is_regular_file(path, error)) {
        return false;
    }
    std::array<char, headBytes> head{};
    std::ifstream file(path, std::ios::binary);
    file.read(head.data(), head.size());
    const std::string_view bytes(head.data(), static_cast<std::size_t>(file.gcount()));
    return FormatOfContent(bytes) != nullptr;
}

PrintJob JobOf(const std::string& photo, std::int64_t number, const NamePatterns& patterns)
{
    const fs::path folder(patterns.folder);
    PrintJob job{photo, (folder / Named(patterns.name, photo, number)).string(), {}};
    if (!patterns.sideBySide.empty()) {
        job.sideBySide = (folder / Named(patterns.sideBySide, photo, number)).string();
    }
    return job;
}

void CheckPatterns(const NamePatterns& patterns)
{
    OutputFormatOf(patterns.name);
    for (const std::string& pattern : {patterns.name, patterns.sideBySide}) {
        if (Named(pattern, "a.exr", 1).find('/') != std::string::npos) {
            throw Misuse(pattern, "names a folder: -o does that");
        }
    }
}

void CheckJobs(const std::vector<PrintJob>& jobs)
{
    std::map<std::string, std::string> photos;
    std::set<std::string> inputs;
    for (const PrintJob& job : jobs) {
        inputs.insert(fs::path(job.photo).lexically_normal().string());
    }
    for (const PrintJob& job : jobs) {
        for (const std::string& output : {job.output, job.sideBySide}) {
            if (output.empty()) {
                continue;
            }
            const auto [other, isNew] = photos.emplace(output, job.photo);
            if (!isNew) {
                throw Misuse(output, fmt::format("is the name of two results, of {} and {}: give "
                                                 "--name with {{ext}}, {{folder}} or {{n}}",
                                                 other->second, job.photo));
            }
            if (inputs.count(fs::path(output).lexically_normal().string()) > 0) {
                throw Misuse(output, "would replace a picture of the batch: give another -o");
            }
        }
    }
}

} // namespace qva
