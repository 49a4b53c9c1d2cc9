// A line on the terminal that tells how far the work is.
#pragma once

#include <string>
#include <string_view>

namespace qva {

/// Shows stages on standard error while that is a terminal; otherwise it does nothing.
class Progress {
public:
    /// @param wanted  false for --quiet.
    explicit Progress(bool wanted);
    /// Clears the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// @param share  of the stage that is done, 0 ... 1; below 0 where it cannot be told.
    void Show(std::string_view stage, double share);

    /// Clears the line, so that a message can be written.
    void Clear();

private:
    bool active_;
    std::string shown_;
};

} // namespace qva
