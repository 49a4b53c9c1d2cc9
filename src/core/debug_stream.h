// The library's output stream, which discards everything.
#pragma once

#include <ostream>
#include <streambuf>

namespace lumo {

/// Accepts and forgets every character.
template <typename Char>
class DebugStreamBuffer : public std::basic_streambuf<Char> {
public:
    /// What was bound to the stream before.
    std::basic_streambuf<Char>* previous = nullptr;

protected:
    typename std::basic_streambuf<Char>::int_type overflow(
        typename std::basic_streambuf<Char>::int_type character) override
    {
        return character;
    }
};

/// The stream that the library writes to: its own, so that the host's standard output stays the
/// host's.
std::ostream& LibraryOutput();

/// Writes a line to LibraryOutput, from any thread.
void WriteLibraryLine(const char* text);

/// Binds the library's stream to a DebugStreamBuffer for the rest of the process; at exit the
/// stream gets its buffer back. Only the first call does something; calls may race.
void SilenceLibraryOutput();

} // namespace lumo
