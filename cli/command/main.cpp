// The program's process: its streams and its signals.
#include "base/signals.h"
#include "command/program.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

/// Keeps files from becoming a standard stream that the caller closed: messages would go into
/// them. The place is taken the wrong way round, so that using the stream fails as before.
void OccupyClosedStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) {
            // The lowest number that is free is this one.
            open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

} // namespace

int main(int count, char** arguments)
{
    OccupyClosedStreams();
    qva::InstallSignalHandlers();
    return qva::RunProgram(count, arguments);
}
