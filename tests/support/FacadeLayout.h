#pragma once

#include "tl/Facade.h"

/// Puts the process's facade into a layout while it lives, and back into the real one.
class FacadeLayout {
public:
    explicit FacadeLayout(bool sandbox) { tl::Facade::instance().debug(sandbox); }
    ~FacadeLayout() { tl::Facade::instance().debug(false); }
    FacadeLayout(const FacadeLayout&) = delete;
    FacadeLayout& operator=(const FacadeLayout&) = delete;
};
