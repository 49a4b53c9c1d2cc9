// Profiles by name, in the folders where systems keep them.
#pragma once

#include <string>
#include <vector>

namespace qva {

/// The folders that are searched, whether they exist or not, the user's own before the system's:
/// the icc folders of XDG_DATA_HOME and XDG_DATA_DIRS (freedesktop.org, base
/// directories), .color/icc of the home folder, /usr/local/share/color/icc, /usr/share/color/icc.
std::vector<std::string> ProfileFolders();

/// The file that a name stands for: the name itself where such a file exists or it names a folder;
/// else the first file of this name in the folders or below them, with or without .icc or .icm;
/// else the name.
std::string FindProfile(const std::string& name);

} // namespace qva
