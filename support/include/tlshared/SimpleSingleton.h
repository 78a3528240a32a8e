#pragma once

#include "tlshared/Export.h"

/// One `T` for the whole process, made on first use and destroyed at process exit.
///
/// Making it is guarded against a concurrent first use; using it is not.  Types that libtlshared.so
/// owns specialise Instance(), so that the object lives in that library and is one whatever
/// visibility or linkage its users are built with.
template <class T>
class TLSHARED_EXPORT SimpleSingleton {
public:
    static T& Instance()
    {
        static T instance;
        return instance;
    }
};
