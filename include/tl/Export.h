#pragma once

/// \file
/// What libtldevice.so exports.

/// Marks what libtldevice.so exports; everything else in it is hidden.
#define TL_EXPORT __attribute__((visibility("default")))

/// Keeps private members of an exported class from being exported.
#define TL_HIDDEN __attribute__((visibility("hidden")))
