// Output that appears under its name only when it is complete.
#pragma once

#include "base/descriptor.h"
#include "base/temporary_name.h"

#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace qva {

/// The folder a name lies in, "." where it names none.
std::string FolderOf(const std::string& path);

/// Where an output really goes.
struct OutputTarget {
    std::string path; ///< symbolic links followed
    mode_t mode = 0;  ///< the permissions of the old file, or those a new one gets
};

/// @throws Failure where the name stands for something but a regular file.
OutputTarget ResolveOutput(const std::string& path);

/// @throws Failure where something of this name is there already.
void EnsureNew(const std::string& path);

/// Shows that a file of this name can be created in its folder.
/// @throws Failure where it cannot.
void EnsureFolder(const std::string& output);

/// Opens or creates a file that lies beside a result, for reading and writing: a regular one, not
/// through a link, without waiting for what a pipe or a device waits for.
/// @param flags   more flags of open(2): O_APPEND.
/// @param result  for messages.
/// @throws Failure.
Descriptor OpenBeside(const std::string& path, int flags, mode_t mode, const std::string& result);

/// A file written under a temporary name in the directory of the final one and renamed at the
/// end. Until Commit the old file stays as it was; the temporary is removed by the destructor, and
/// when a signal ends the program.
class OutputFile {
public:
    /// Creates the temporary, so that a directory that cannot be written is known early.
    /// @throws Failure where that fails, or the name stands for something but a regular file.
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// The name as the user gave it.
    const std::string& Path() const { return path_; }

    /// Writes bytes behind those that are there.
    /// @throws Failure, on a full disk for example.
    void Append(std::string_view bytes) const;

    /// A new descriptor of the temporary.
    Descriptor Duplicate() const;

    /// Waits until the bytes are on the disk, then takes the final name.
    /// @throws Failure where the disk refuses; the old file is then as it was.
    void Commit();

private:
    void Discard();

    std::string path_;
    OutputTarget target_;
    std::optional<TemporaryName> temporary_;
    Descriptor descriptor_;
};

/// @return true where both names stand for one file, or would once they are created.
bool AreSameFile(const std::string& first, const std::string& second);

} // namespace qva
