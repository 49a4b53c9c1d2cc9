// What became of every picture of a batch: lines of JSON in the folder of its prints.
#pragma once

#include "base/descriptor.h"

#include <cstdint>
#include <map>
#include <string>

namespace qva {

/// What happened to one picture, and when.
struct Record {
    enum class Status { Begun, Done, Failed, Stopped };

    Status status = Status::Begun;
    std::string photo;
    std::string output;
    std::string digest;        ///< of all that decides the print
    std::uint64_t size = 0;    ///< bytes of the print
    std::int64_t modified = 0; ///< of the print, nanoseconds since 1970
    std::int64_t begun = 0;    ///< nanoseconds since 1970
    double seconds = 0.0;
    std::uint64_t peakMemory = 0;
    int exitCode = 0;
    std::string message; ///< why it failed
    std::string print;   ///< the JSON that the print told, or nothing
};

/// @param command  batch or watch.
/// @return one line without its end, as output.schema.json describes it.
std::string RecordText(const Record& record, const std::string& command);

/// The size and time of a file; zeros where there is none.
struct FileStamp {
    std::uint64_t size = 0;
    std::int64_t modified = 0; ///< nanoseconds since 1970

    bool operator==(const FileStamp&) const = default;
};

FileStamp StampOf(const std::string& path);

/// Nanoseconds since 1970.
std::int64_t TimeNow();

/// A file of records that one program at a time adds to. A line that a killed program left unended
/// is passed over.
class Journal {
public:
    /// Reads what is there; the last record of a print counts.
    /// @throws Failure where it cannot be written, or another batch or watch does so.
    Journal(const std::string& path, std::string command);

    /// Only reads, and writes nothing; there may be no file.
    static Journal Peek(const std::string& path);

    /// Prints outlive a program that is killed for a moment: what it began may still get its name.
    /// @return whether no print but this program's own can.
    /// @throws Failure where the file system knows no locks.
    bool AwaitOthers();

    /// The descriptor that every print keeps open for as long as it runs.
    int PrintsLock() const { return prints_.Get(); }

    void Append(const Record& record);

    /// Whether a print of these bytes and options is there already: as it was recorded, or left by
    /// one that was ended between the print and its record.
    /// @param sideBySide  gets its name behind the print; empty for none.
    bool HasPrint(const std::string& output, const std::string& sideBySide,
                  const std::string& digest) const;

    /// @return the picture that a print was made of, "" where there is no such print.
    std::string PhotoOf(const std::string& output) const;

private:
    Journal(const std::string& path, Descriptor file);

    struct Known {
        Record::Status status;
        std::string photo;
        std::string digest;
        FileStamp stamp;
        std::int64_t begun;
        int exitCode;
    };

    void Read();
    void Take(const std::string& line);

    std::string path_;
    std::string command_;
    Descriptor file_;
    Descriptor prints_; ///< another opening of it, as locks belong to openings
    bool isAlone_ = false;
    std::map<std::string, Known> known_; ///< by the print's name
};

} // namespace qva
