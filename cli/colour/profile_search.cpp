#include "colour/profile_search.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace qva {

namespace {

std::string Environment(const char* name, const std::string& otherwise)
{
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : otherwise;
}

/// The files at any depth that bear the name, in alphabetical order.
std::vector<std::string> FilesNamed(const std::string& folder, const std::string& name)
{
    // More folders than that are no folders of profiles.
    constexpr int deepest = 4;
    std::vector<std::string> found;
    std::error_code error;
    std::filesystem::recursive_directory_iterator file(
        folder, std::filesystem::directory_options::skip_permission_denied, error);
    for (; !error && file != std::filesystem::recursive_directory_iterator(); file.increment(error))
    {
        if (file.depth() >= deepest) {
            file.disable_recursion_pending();
        }
        const std::string own = file->path().filename().string();
        std::error_code ignored;
        if ((own == name || own == name + ".icc" || own == name + ".icm") &&
            file->is_regular_file(ignored)) {
            found.push_back(file->path().string());
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace

std::vector<std::string> ProfileFolders()
{
    std::vector<std::string> folders;
    const std::string home = Environment("HOME", "");
    const std::string data =
        Environment("XDG_DATA_HOME", home.empty() ? "" : home + "/.local/share");
    for (const std::string& folder :
         {data.empty() ? "" : data + "/color/icc", data.empty() ? "" : data + "/icc",
          home.empty() ? "" : home + "/.color/icc"})
    {
        if (!folder.empty()) {
            folders.push_back(folder);
        }
    }
    std::istringstream shared(Environment("XDG_DATA_DIRS", "/usr/local/share:/usr/share") +
                              ":/usr/local/share:/usr/share");
    for (std::string folder; std::getline(shared, folder, ':');) {
        const std::string profiles = folder + "/color/icc";
        if (!folder.empty() && std::find(folders.begin(), folders.end(), profiles) == folders.end())
        {
            folders.push_back(profiles);
        }
    }
    return folders;
}

std::string FindProfile(const std::string& name)
{
    std::error_code error;
    if (name.empty() || name.find('/') != std::string::npos || std::filesystem::exists(name, error))
    {
        return name;
    }
    for (const std::string& folder : ProfileFolders()) {
        const std::vector<std::string> files = FilesNamed(folder, name);
        if (!files.empty()) {
            return files.front();
        }
    }
    return name;
}

} // namespace qva
