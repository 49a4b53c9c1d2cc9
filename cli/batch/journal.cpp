#include "batch/journal.h"

#include "base/child_process.h"
#include "base/errors.h"
#include "base/output_file.h"

#include <array>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace qva {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::int64_t second = 1000000000;
constexpr std::array<const char*, 4> statusNames = {"begun", "done", "failed", "stopped"};

std::int64_t Nanoseconds(const timespec& time)
{
    return time.tv_sec * second + time.tv_nsec;
}

std::string ClockText(std::int64_t time)
{
    return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}",
                       fmt::gmtime(static_cast<std::time_t>(time / second)));
}

/// All prints are in one folder, which may be called in many ways.
std::string KeyOf(const std::string& output)
{
    return std::filesystem::path(output).filename().string();
}

// What is locked of the file: for the program that writes it, and for all that it starts.
constexpr off_t writerPlace = 0;
constexpr off_t printsPlace = 1;

/// Locks a byte for an opening of the file and what inherits it.
/// @return false where another opening has it.
bool Lock(const Descriptor& file, off_t place, const std::string& path)
{
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = place;
    lock.l_len = 1;
    if (fcntl(file.Get(), F_OFD_SETLK, &lock) == 0) {
        return true;
    }
    if (errno != EAGAIN && errno != EACCES) {
        throw Failure(path, "cannot be locked: " + SystemReason(errno), exitOutput);
    }
    return false;
}

std::string Dumped(const Json& value)
{
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace

std::string RecordText(const Record& record, const std::string& command)
{
    Json json;
    json["schema"] = 1;
    json["command"] = command;
    json["status"] = statusNames[static_cast<std::size_t>(record.status)];
    json["file"] = record.photo;
    json["output"] = record.output;
    json["digest"] = record.digest;
    json["begun"] = ClockText(record.begun);
    json["begunAt"] = record.begun;
    if (record.status != Record::Status::Begun) {
        json["size"] = record.size;
        json["modified"] = record.modified;
        json["seconds"] = record.seconds;
        json["peakMemory"] = record.peakMemory;
        json["exitCode"] = record.exitCode;
        json["message"] = record.message;
        const Json print = Json::parse(record.print, nullptr, false);
        json["print"] = print.is_object() ? print : Json();
    }
    return Dumped(json);
}

FileStamp StampOf(const std::string& path)
{
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return {};
    }
    return {static_cast<std::uint64_t>(status.st_size), Nanoseconds(status.st_mtim)};
}

std::int64_t TimeNow()
{
    // The clock of file times, so that both can be compared.
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return Nanoseconds(now);
}

Journal::Journal(const std::string& path, std::string command)
    : path_(path),
      command_(std::move(command)),
      file_(OpenBeside(path, O_APPEND, 0666, path)),
      prints_(OpenBeside(path, O_APPEND, 0666, path))
{
    if (!Lock(file_, writerPlace, path)) {
        throw Failure(path, "another qva batch or watch writes into this folder", exitOutput);
    }
    Read();
    // What a killed program left of a line ends here.
    const off_t size = lseek(file_.Get(), 0, SEEK_END);
    char last = '\n';
    if (size > 0 && pread(file_.Get(), &last, 1, size - 1) == 1 && last != '\n' &&
        write(file_.Get(), "\n", 1) != 1)
    {
        throw Failure(path_, WriteReason(errno), exitOutput);
    }
}

Journal::Journal(const std::string& path, Descriptor file) : path_(path), file_(std::move(file))
{
    if (file_.IsOpen()) {
        Read();
    }
}

bool Journal::AwaitOthers()
{
    isAlone_ = isAlone_ || Lock(prints_, printsPlace, path_);
    return isAlone_;
}

Journal Journal::Peek(const std::string& path)
{
    return Journal(path, Descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)));
}

void Journal::Read()
{
    std::string line;
    std::vector<char> block(std::size_t{1} << 16);
    off_t place = 0;
    while (const ssize_t count = pread(file_.Get(), block.data(), block.size(), place)) {
        if (count < 0) {
            throw Failure(path_, "cannot be read: " + SystemReason(errno), exitOutput);
        }
        for (ssize_t i = 0; i < count; ++i) {
            const char letter = block[static_cast<std::size_t>(i)];
            if (letter != '\n') {
                line += letter;
                continue;
            }
            Take(line);
            line.clear();
        }
        place += count;
    }
}

void Journal::Take(const std::string& line)
{
    const Json json = Json::parse(line, nullptr, false);
    if (!json.is_object()) {
        return;
    }
    const auto text = [&json](const char* name) {
        const auto member = json.find(name);
        return member != json.end() && member->is_string() ? member->get<std::string>() : "";
    };
    const auto number = [&json](const char* name) {
        const auto member = json.find(name);
        return member != json.end() && member->is_number_integer() ? member->get<std::int64_t>()
                                                                   : 0;
    };
    const std::string status = text("status");
    for (std::size_t i = 0; i < statusNames.size(); ++i) {
        if (status == statusNames[i]) {
            known_[KeyOf(text("output"))] = {
                static_cast<Record::Status>(i),
                text("file"),
                text("digest"),
                {static_cast<std::uint64_t>(number("size")), number("modified")},
                number("begunAt"),
                static_cast<int>(number("exitCode"))};
        }
    }
}

void Journal::Append(const Record& record)
{
    const std::string line = RecordText(record, command_) + '\n';
    // One call, so that a line is there or not; and before the next picture begins.
    const ssize_t count = write(file_.Get(), line.data(), line.size());
    if (count != static_cast<ssize_t>(line.size()) || fdatasync(file_.Get()) != 0) {
        throw Failure(path_, WriteReason(count < 0 ? errno : ENOSPC), exitOutput);
    }
    known_[KeyOf(record.output)] = {record.status, record.photo,
                                    record.digest, {record.size, record.modified},
                                    record.begun,  record.exitCode};
}

bool Journal::HasPrint(const std::string& output, const std::string& sideBySide,
                       const std::string& digest) const
{
    const auto found = known_.find(KeyOf(output));
    if (found == known_.end() || found->second.digest != digest) {
        return false;
    }
    const Known& known = found->second;
    if (known.status == Record::Status::Done) {
        return StampOf(output) == known.stamp &&
               (sideBySide.empty() || StampOf(sideBySide).size > 0);
    }
    // A print gets its name when it is complete, so one that is younger than its beginning is
    // whole.
    const auto isWhole = [&known](const std::string& path) {
        const FileStamp stamp = StampOf(path);
        return stamp.size > 0 && stamp.modified >= known.begun;
    };
    const bool wasEnded = known.status != Record::Status::Failed || known.exitCode > exitSignal;
    return wasEnded && isWhole(output) && (sideBySide.empty() || isWhole(sideBySide));
}

std::string Journal::PhotoOf(const std::string& output) const
{
    const auto found = known_.find(KeyOf(output));
    const bool isThere = found != known_.end() && (found->second.status == Record::Status::Done ||
                                                   found->second.status == Record::Status::Begun);
    return isThere ? found->second.photo : "";
}

} // namespace qva
