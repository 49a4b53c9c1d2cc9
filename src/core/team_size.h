// How many threads a parallel region may ask the runtime for.
#pragma once

namespace lumo::parallel {

/// The threads of the calling thread's next region: as many as OpenMP's settings say, or fewer,
/// down to 1, where the system does not start that many. The runtime would end the process over a
/// thread that it cannot start, so they are started once for a try, before the first region that
/// needs them; a thread whose last region had as many costs nothing more.
///
/// Not seen: threads and memory that others take between the try and the region; workers that the
/// host's own smaller regions on this thread have ended since; the few hundred bytes that the
/// runtime itself asks for.
int TeamSize();

/// Notes the size of the region that the calling thread leads.
void NoteTeam(int threads);

/// A call begins: what the system refused to the last one may be there again.
void ForgetShortage();

} // namespace lumo::parallel
