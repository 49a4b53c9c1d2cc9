// Writes the manual pages and completions of the program into a folder, while it is built.
#include "command/command_line.h"
#include "command/documents.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

namespace {

bool Write(const std::string& path, const std::string& text)
{
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file) {
        std::cerr << path << ": cannot be written\n";
    }
    return static_cast<bool>(file);
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        std::cerr << "usage: make_documents FOLDER\n";
        return EXIT_FAILURE;
    }
    const std::string folder = std::string(arguments[1]) + "/";
    qva::Program program;
    const CLI::App& app = *program.app;
    bool isWritten = Write(folder + "man1/qva.1", qva::ManualPage(app, nullptr)) &&
                     Write(folder + "qva", qva::BashCompletion(app)) &&
                     Write(folder + "_qva", qva::ZshCompletion(app)) &&
                     Write(folder + "qva.fish", qva::FishCompletion(app));
    for (const CLI::App* command : app.get_subcommands({})) {
        isWritten = isWritten && Write(folder + "man1/qva-" + command->get_name() + ".1",
                                       qva::ManualPage(app, command));
    }
    return isWritten ? EXIT_SUCCESS : EXIT_FAILURE;
}
