// Makes memory or threads run out at a chosen moment, and counts what is held.
#pragma once

namespace faults
{

enum class Kind { allocation, thread };

/// From here on the n-th request of this kind fails (1 is the next one); with `lasting` all later ones as well.
/// Allocations are those of operator new on all threads, and of calloc in the library.
void begin(Kind kind, long n, bool lasting);

/// Requests are granted again. True if one has failed.
bool end();

/// Pieces of memory that are held now.
long held_blocks();

/// True once the process has no more threads than at its start, for which this waits a second at most: a thread that
/// has been joined may still be on its way out.
bool all_threads_ended();

} // namespace faults
