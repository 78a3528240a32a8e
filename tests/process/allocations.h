#pragma once

/// Counts what this program allocates, in every library, and makes it fail.
namespace allocations {

/// How often memory was asked for, through malloc(), calloc(), realloc() or operator new.
unsigned long count();

/// From the `number`th use of operator new on (0: the next) it throws std::bad_alloc, until succeed().
void failFrom(unsigned long number);
void succeed();

/// How often operator new has thrown since failFrom().
unsigned long failures();

}  // namespace allocations
