// The growing result of a page: strips of finished bands, and a journal that lets a stopped run go
// on.
#pragma once

#include "base/descriptor.h"
#include "base/output_file.h"
#include "formats/strip_writer.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qva {

/// What happens to an unfinished result of the same name.
enum class Continuation {
    Refuse,  ///< it is an error
    Resume,  ///< it is gone on with, if there is one
    Restart, ///< it is thrown away
    Any,     ///< it is gone on with where it fits, else thrown away
};

/// A TIFF under NAME.qva-part with its journal NAME.qva-journal, both in the folder of NAME. They
/// outlive the program, until Commit gives the file its name.
class PageResult {
public:
    /// @param plan          everything that decides the bytes, on one line: a run only goes on
    ///                      with what was begun under the same plan.
    /// @param linesPerBand  a multiple of a strip.
    /// @throws Failure where it cannot be written, another program is writing it, or an
    ///         unfinished one is in the way or belongs to another plan.
    PageResult(const std::string& path, const TiffPage& page, std::int64_t linesPerBand,
               const std::string& plan, Continuation continuation);
    ~PageResult();
    PageResult(const PageResult&) = delete;
    PageResult& operator=(const PageResult&) = delete;

    /// Bands that are done, those of earlier runs included.
    std::int64_t Bands() const { return bands_; }

    /// Encodes and writes the next band.
    /// @param codes  its packed lines.
    void Append(const std::uint16_t* codes);

    /// Text for the file that holds the CRC-32 of all its strips.
    using Describer = std::function<std::string(std::uint32_t checksum)>;

    /// Completes the TIFF; every band must be there.
    void Finish(const Describer& describe = {});

    /// The finished TIFF, to be read while it has no name.
    const std::string& PartPath() const { return part_; }

    /// Gives it its name, once it is on the disk.
    void Commit();

    /// Removes part and journal, once the result has been made from them.
    void Discard();

private:
    struct Entry;
    /// Leaves no file behind where a run could not begin.
    void DiscardEmpty();
    void OpenPart(Continuation continuation);
    void OpenJournal(Continuation continuation);
    std::size_t LongestJournal() const;
    bool HasBands() const;
    void Resume(Continuation continuation);
    void Count(const Entry& entry);
    bool Holds(const Entry& entry, std::int64_t place) const;
    std::int64_t FirstStrip() const { return bands_ * linesPerBand_ / page_.layout.stripLines; }
    std::int64_t StripsOfNextBand() const;
    void Note(const Entry& entry);
    [[noreturn]] void FailToWrite() const;

    std::string path_;
    OutputTarget target_;
    std::string part_;
    std::string journal_;
    TiffPage page_;
    std::int64_t linesPerBand_;
    std::string plan_;
    Descriptor descriptor_;
    Descriptor journalDescriptor_;
    std::optional<StripWriter> writer_;
    std::int64_t bands_ = 0;
    std::uint32_t checksum_ = 0;
};

} // namespace qva
