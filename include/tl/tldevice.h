#pragma once

/// \file
/// The whole library.  Each header can also be included by itself.

#include "tl/DeviceProperties.h"
#include "tl/DeviceType.h"
#include "tl/Facade.h"
#include "tl/Utilities.h"
#include "tl/WatchProcess.h"
#include "tl/tlTimer.h"
