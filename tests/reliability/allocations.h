#pragma once

/// The program's operator new, which counts, and fails when it is told to.
namespace allocations {

/// From now on the allocation number `point` fails, from 1, `andAllAfter` it, too; 0: none fails.  Counting starts again.
void failFrom(unsigned long point, bool andAllAfter);

/// No allocation fails any more.  \returns how many there were since failFrom().
unsigned long failNone();

/// How many blocks are allocated and not freed.
long live();

}  // namespace allocations
