#pragma once

/// Marks what libtldevice.so exports; everything else in it is hidden.
#define TL_EXPORT __attribute__((visibility("default")))

/// Marks the private members of an exported class, which are no more to be linked to than to be
/// called.
#define TL_HIDDEN __attribute__((visibility("hidden")))
