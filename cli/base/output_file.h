// Output that appears under its name only when it is complete.
#pragma once

#include <string>
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

/// Shows that a file of this name can be created in its folder.
/// @throws Failure where it cannot.
void EnsureFolder(const std::string& output);

/// A file written under a temporary name in the directory of the final one and renamed at the
/// end. Until Commit the old file stays as it was; the temporary is removed by the destructor, and
/// when the program is ended by a signal (up to four files at a time).
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

    /// A new descriptor of the temporary, owned by the caller.
    int Duplicate() const;

    /// Waits until the bytes are on the disk, then takes the final name.
    /// @throws Failure where the disk refuses; the old file is then as it was.
    void Commit();

private:
    void Discard();

    std::string path_;
    OutputTarget target_;
    std::string temporary_;
    int descriptor_ = -1;
    int slot_ = -1;
};

/// Makes SIGINT, SIGTERM and SIGHUP remove the temporaries before they end the program, and lets
/// a reached file size limit be an ordinary write error.
void InstallSignalHandlers();

/// A line that is written to standard error when one of these signals ends the program; empty for
/// none.
void SetFarewell(const std::string& line);

/// @return true where both names stand for one file, or would once they are created.
bool AreSameFile(const std::string& first, const std::string& second);

} // namespace qva
