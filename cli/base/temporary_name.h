// Names of files that must not outlive the program.
#pragma once

#include <string>
#include <vector>

namespace qva {

/// A new name in a folder. What stands under it is removed when the program ends, by a signal too,
/// while this lives (sixteen names at a time); only SIGKILL leaves it.
class TemporaryName {
public:
    /// Chooses a name; the file is the caller's to create, so that a signal finds it from its first
    /// moment.
    /// @param ending  of the name, where somebody goes by it: ".tif".
    explicit TemporaryName(const std::string& folder, const std::string& ending = {});
    ~TemporaryName();
    TemporaryName(const TemporaryName&) = delete;
    TemporaryName& operator=(const TemporaryName&) = delete;

    const std::string& Path() const { return path_; }

private:
    std::string path_;
    int slot_ = -1;
};

/// Keeps others from taking a temporary for one that was left behind.
/// @param descriptor  of the file; it counts as in use until this is closed.
void MarkAsUsed(int descriptor);

/// Temporaries in a folder whose programs were killed, in the order of their names. Files of
/// programs that run are not among them.
std::vector<std::string> LeftoversIn(const std::string& folder);

/// Removes what stands under the names of all TemporaryName that live; a signal handler may call
/// it.
void RemoveTemporaries() noexcept;

} // namespace qva
