#pragma once

#include "tlshared/Export.h"

/// One `T` for the whole process, constructed on first use and destroyed at process exit.
///
/// A concurrent first use is safe; concurrent use is up to `T`.  For its own types, libtlshared.so
/// specialises Instance(): the one object lives in that library, however its users are compiled and
/// linked.
template <class T>
class TLSHARED_EXPORT SimpleSingleton {
public:
    /// The one object.
    static T& Instance()
    {
        static T instance;
        return instance;
    }
};
