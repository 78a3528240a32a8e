#pragma once

/// Marks what libtlshared.so exports; everything else in it is hidden.
#define TLSHARED_EXPORT __attribute__((visibility("default")))

/// Marks the private members of an exported class, which are no more to be linked to than to be
/// called.
#define TLSHARED_HIDDEN __attribute__((visibility("hidden")))
