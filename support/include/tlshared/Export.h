#pragma once

/// Marks what libtlshared.so exports; everything else in it is hidden.
#define TLSHARED_EXPORT __attribute__((visibility("default")))
