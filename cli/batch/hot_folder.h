// A folder into which pictures are put, to be taken when they are complete.
#pragma once

#include "base/descriptor.h"
#include "batch/journal.h"

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace qva {

/// Knows of every file in a folder that has come or changed, and whether somebody still writes it.
class HotFolder {
public:
    /// What is in the folder already counts as just come.
    /// @param settle  seconds that a file must have been left alone.
    /// @throws Failure where the folder cannot be watched.
    HotFolder(const std::string& folder, double settle);

    /// Can be read when something has come.
    int Number() const { return events_.Get(); }

    /// @return paths of files that are complete, each once until it changes again.
    /// @throws Failure where the folder is gone.
    std::vector<std::string> TakeComplete();

    /// Milliseconds after which one may be complete; below 0 where only an event can bring one.
    int Patience() const;

private:
    using Clock = std::chrono::steady_clock;
    struct Candidate {
        FileStamp stamp;
        Clock::time_point due;
    };

    void TakeEvents();
    void Scan();
    void Notice(const std::string& name);

    std::string folder_;
    Clock::duration settle_;
    Descriptor events_;
    std::map<std::string, Candidate> candidates_; ///< by name
};

/// Puts a picture that cannot be printed where it is in nobody's way.
/// @param photo   in the folder.
/// @param reason  a line for people; written beside it as NAME.txt.
/// @return the picture's new path.
std::string MoveToFailed(const std::string& photo, const std::string& reason);

} // namespace qva
