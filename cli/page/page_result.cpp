#include "page/page_result.h"

#include "base/errors.h"
#include "base/phase_times.h"
#include "formats/strip_encoder.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fmt/format.h>
#include <numeric>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace qva {

namespace {

constexpr const char* lineEnd = "end";

/// Whether a name still stands for an open file.
bool IsFile(int descriptor, const std::string& name)
{
    struct stat open {};
    struct stat named {};
    return fstat(descriptor, &open) == 0 && stat(name.c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

/// What a descriptor's file holds, up to a number of bytes.
std::string ReadAll(int descriptor, std::size_t most)
{
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        return "";
    }
    most = std::min(most, static_cast<std::size_t>(status.st_size));
    std::string text(most, '\0');
    std::size_t done = 0;
    while (done < most) {
        const ssize_t count =
            pread(descriptor, text.data() + done, most - done, static_cast<off_t>(done));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    text.resize(done);
    return text;
}

bool WriteAll(int descriptor, const std::string& text)
{
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count <= 0 && errno != EINTR) {
            return false;
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

} // namespace

/// A line of the journal: one band.
struct PageResult::Entry {
    std::uint32_t checksum = 0;
    std::vector<std::uint64_t> sizes; ///< of its strips

    std::string Text() const
    {
        return fmt::format("band {} {} {}\n", checksum, fmt::join(sizes, " "), lineEnd);
    }

    /// @return nothing for a line that was not written to its end.
    static std::optional<Entry> Parse(const std::string& line)
    {
        std::istringstream words(line);
        std::string word;
        Entry entry;
        if (!(words >> word >> entry.checksum) || word != "band") {
            return std::nullopt;
        }
        for (std::uint64_t size = 0; words >> size;) {
            entry.sizes.push_back(size);
        }
        words.clear();
        return words >> word && word == lineEnd ? std::optional(entry) : std::nullopt;
    }
};

PageResult::PageResult(const std::string& path, const TiffPage& page, std::int64_t linesPerBand,
                       const std::string& plan, Continuation continuation)
    : path_(path),
      target_(ResolveOutput(path)),
      part_(target_.path + ".qva-part"),
      journal_(target_.path + ".qva-journal"),
      page_(page),
      linesPerBand_(linesPerBand),
      plan_(plan)
{
    OpenPart(continuation);
    try {
        writer_.emplace(descriptor_.Get(), path_, page_);
        if (continuation == Continuation::Resume || continuation == Continuation::Any) {
            Resume(continuation);
        }
        if (ftruncate(descriptor_.Get(), writer_->End()) != 0) {
            FailToWrite();
        }
        // Written anew up to here: what was found damaged is forgotten.
        if (bands_ == 0 && (ftruncate(journalDescriptor_.Get(), 0) != 0 ||
                            !WriteAll(journalDescriptor_.Get(), plan_ + "\n")))
        {
            FailToWrite();
        }
    } catch (...) {
        DiscardEmpty();
        throw;
    }
}

PageResult::~PageResult()
{
    writer_.reset();
    if (bands_ == 0) {
        Discard();
    }
}

void PageResult::FailToWrite() const
{
    throw Failure(path_, WriteReason(errno), exitOutput);
}

void PageResult::OpenPart(Continuation continuation)
{
    descriptor_ = OpenBeside(part_, 0, target_.mode, path_);
    // Between opening and locking another run can have finished: what is locked then is its result.
    if (flock(descriptor_.Get(), LOCK_EX | LOCK_NB) != 0 || !IsFile(descriptor_.Get(), part_)) {
        throw Failure(path_, "another program is writing it", exitOutput);
    }
    OpenJournal(continuation);
}

void PageResult::OpenJournal(Continuation continuation)
{
    struct stat part = {};
    const bool isEmpty = fstat(descriptor_.Get(), &part) == 0 && part.st_size == 0;
    try {
        journalDescriptor_ = OpenBeside(journal_, O_APPEND, 0666, path_);
    } catch (...) {
        if (isEmpty) {
            unlink(part_.c_str());
        }
        throw;
    }
    // A journal without a part is that of a run which ended just before it removed it.
    if (continuation == Continuation::Refuse && !isEmpty && HasBands()) {
        throw Failure(path_,
                      fmt::format("an unfinished run left {}: --resume goes on with it, "
                                  "--restart begins anew",
                                  part_),
                      exitOutput);
    }
}

/// No journal of this page is longer: a number of 20 digits a strip, a few words a band.
std::size_t PageResult::LongestJournal() const
{
    return plan_.size() + 1 + 64 * static_cast<std::size_t>(page_.layout.Strips());
}

/// Whether the journal tells of more than a plan.
bool PageResult::HasBands() const
{
    const std::string journal = ReadAll(journalDescriptor_.Get(), LongestJournal());
    return journal.find('\n') < journal.size() - 1;
}

void PageResult::Resume(Continuation continuation)
{
    const std::string journal = ReadAll(journalDescriptor_.Get(), LongestJournal());
    // A line counts from its end on: what stands behind the last was being written.
    std::size_t end = journal.find('\n');
    if (end == std::string::npos) {
        return;
    }
    if (journal.compare(0, end, plan_) != 0) {
        if (continuation == Continuation::Any) {
            return;
        }
        throw Failure(path_,
                      fmt::format("{} was begun with other options, another picture or "
                                  "another version: --restart begins anew",
                                  part_),
                      exitOutput);
    }
    std::size_t good = end + 1;
    for (; (end = journal.find('\n', good)) != std::string::npos; good = end + 1) {
        const std::optional<Entry> entry = Entry::Parse(journal.substr(good, end - good));
        if (!entry || static_cast<std::int64_t>(entry->sizes.size()) != StripsOfNextBand() ||
            entry->sizes.empty() || !Holds(*entry, writer_->End()))
        {
            break;
        }
        for (const std::uint64_t size : entry->sizes) {
            writer_->Keep(size);
        }
        Count(*entry);
    }
    if (bands_ > 0 && ftruncate(journalDescriptor_.Get(), static_cast<off_t>(good)) != 0) {
        FailToWrite();
    }
}

/// Whether the part really holds a band: a machine that lost its power may have kept the journal
/// but not all of the part.
bool PageResult::Holds(const Entry& entry, std::int64_t place) const
{
    std::uint32_t checksum = 0;
    std::vector<unsigned char> bytes;
    for (const std::uint64_t size : entry.sizes) {
        if (size > 2 * page_.layout.SizeOf(0) + 1024) {
            return false;
        }
        bytes.resize(size);
        if (pread(descriptor_.Get(), bytes.data(), size, place) != static_cast<ssize_t>(size)) {
            return false;
        }
        checksum = Checksum(checksum, bytes);
        place += static_cast<std::int64_t>(size);
    }
    return checksum == entry.checksum;
}

std::int64_t PageResult::StripsOfNextBand() const
{
    const std::int64_t first = FirstStrip();
    const std::int64_t perBand =
        (linesPerBand_ + page_.layout.stripLines - 1) / page_.layout.stripLines;
    return std::min(perBand, page_.layout.Strips() - first);
}

void PageResult::Append(const std::uint16_t* codes)
{
    const InPhase writing(Phase::Writing);
    Entry entry;
    EncodeStrips(page_, FirstStrip(), StripsOfNextBand(), codes, [&](const EncodedStrip& strip) {
        writer_->Append(strip);
        entry.checksum = Checksum(entry.checksum, strip);
        entry.sizes.push_back(strip.size());
    });
    Note(entry);
    Count(entry);
}

void PageResult::Count(const Entry& entry)
{
    const auto size = std::accumulate(entry.sizes.begin(), entry.sizes.end(), std::uint64_t{0});
    checksum_ = static_cast<std::uint32_t>(
        crc32_combine(checksum_, entry.checksum, static_cast<z_off_t>(size)));
    ++bands_;
}

void PageResult::Note(const Entry& entry)
{
    if (!WriteAll(journalDescriptor_.Get(), entry.Text())) {
        FailToWrite();
    }
}

void PageResult::Finish(const Describer& describe)
{
    writer_->Finish(describe ? describe(checksum_) : std::string());
    writer_.reset();
}

void PageResult::Commit()
{
    const InPhase writing(Phase::Writing);
    if (fchmod(descriptor_.Get(), target_.mode) != 0 || fsync(descriptor_.Get()) != 0 ||
        std::rename(part_.c_str(), target_.path.c_str()) != 0)
    {
        FailToWrite();
    }
    unlink(journal_.c_str());
}

void PageResult::DiscardEmpty()
{
    struct stat part = {};
    if (fstat(descriptor_.Get(), &part) == 0 && part.st_size == 0 && !HasBands()) {
        Discard();
    }
}

void PageResult::Discard()
{
    unlink(part_.c_str());
    unlink(journal_.c_str());
}

} // namespace qva
