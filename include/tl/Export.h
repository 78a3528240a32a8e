#pragma once

/// Marks what libtldevice.so exports; everything else in it is hidden.
#define TL_EXPORT __attribute__((visibility("default")))
