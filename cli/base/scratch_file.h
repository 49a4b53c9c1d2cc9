// A nameless file on disk for what does not fit memory.
#pragma once

#include "base/descriptor.h"

#include <cstdint>
#include <string>

namespace qva {

/// Bytes that are gone when the object is, or the program ends in any way.
class ScratchFile {
public:
    /// @throws Failure where nothing can be created in the folder.
    explicit ScratchFile(const std::string& folder);

    /// The folder of TMPDIR, or the system's for large files.
    static std::string CommonFolder();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    /// Writes bytes at a place; the file grows as needed.
    /// @throws Failure, on a full disk for example.
    void Write(std::int64_t place, const void* bytes, std::size_t count);

    /// Reads bytes that were written.
    void Read(std::int64_t place, void* bytes, std::size_t count) const;

    /// Its descriptor.
    int Number() const { return descriptor_.Get(); }

private:
    std::string name_;
    Descriptor descriptor_;
};

} // namespace qva
