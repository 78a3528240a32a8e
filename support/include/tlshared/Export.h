#pragma once

/// \file
/// What libtlshared.so exports.

/// Marks what libtlshared.so exports; everything else in it is hidden.
#define TLSHARED_EXPORT __attribute__((visibility("default")))

/// Keeps private members of an exported class from being exported.
#define TLSHARED_HIDDEN __attribute__((visibility("hidden")))
