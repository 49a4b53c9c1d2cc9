// What a call is asked for, checked by the rules that the program has for its options.
#pragma once

#include "command/shared_options.h"
#include "render/render_settings.h"

#include <string>
#include <vector>

namespace qva::python {

struct CallOptions {
    PhotoOptions photo;
    std::string profile; ///< a file; empty: the built-in one
    RenderSettings render;
    int threads = 0; ///< 0: one per core
};

/// @param words  as on a command line: "--white", "1000".
/// @throws Misuse.
CallOptions OptionsOf(std::vector<std::string> words);

/// The text of a failure with options named as a script names them: white for --white.
std::string ScriptText(const std::string& text);

/// Sets how many threads the calls of one thread work with, as long as this lives.
class ThreadCount {
public:
    /// @param threads  0: one per core, or fewer where OMP_NUM_THREADS says so.
    explicit ThreadCount(int threads);
    ~ThreadCount();
    ThreadCount(const ThreadCount&) = delete;
    ThreadCount& operator=(const ThreadCount&) = delete;

private:
    int before_;
};

} // namespace qva::python
