#pragma once

/// Marks objects that are constructed at load, before any object of the program.
///
/// In a static build, the linker decides in which order the library's objects and the program's are
/// constructed.  A priority overrides that for the whole program: the lowest number goes first, and
/// objects without a priority go last.  kernelVersionNames has the lowest; these follow, in the
/// order of their source file.
#define TL_BUILT_EARLY [[gnu::init_priority(1001)]]
