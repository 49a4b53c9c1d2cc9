#include "call_options.h"

#include "base/errors.h"
#include "command/print_options.h"

#include <algorithm>
#include <omp.h>

namespace qva::python {

CallOptions OptionsOf(std::vector<std::string> words)
{
    CallOptions options;
    CLI::App app;
    AddPhotoOptions(app, options.photo);
    AddRenderOptions(app, options.profile, options.render, options.threads);
    words.emplace_back("pixels"); // where the program has the name of a file
    std::reverse(words.begin(), words.end());
    try {
        app.parse(words);
    } catch (const CLI::ParseError& error) {
        const std::string text = error.what();
        const std::size_t colon = text.find(": ");
        throw Misuse(text.substr(0, colon),
                     colon == std::string::npos ? "cannot be used" : text.substr(colon + 2));
    }
    return options;
}

std::string ScriptText(const std::string& text)
{
    std::string script;
    std::size_t i = 0;
    while (i < text.size()) {
        if (text.compare(i, 2, "--") != 0) {
            script += text[i++];
            continue;
        }
        for (i += 2; i < text.size() && (std::islower(text[i]) != 0 || text[i] == '-'); ++i) {
            script += text[i] == '-' ? '_' : text[i];
        }
    }
    return script;
}

ThreadCount::ThreadCount(int threads) : before_(omp_get_max_threads())
{
    omp_set_num_threads(threads > 0 ? threads : std::clamp(before_, 1, omp_get_num_procs()));
}

ThreadCount::~ThreadCount()
{
    omp_set_num_threads(before_);
}

} // namespace qva::python
