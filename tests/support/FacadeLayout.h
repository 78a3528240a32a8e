#pragma once

#include "tl/Facade.h"

/// Selects a layout while it lives, then the real one again.
class FacadeLayout {
public:
    explicit FacadeLayout(bool sandbox) { tl::Facade::instance().debug(sandbox); }
    ~FacadeLayout() { tl::Facade::instance().debug(false); }
    FacadeLayout(const FacadeLayout&) = delete;
    FacadeLayout& operator=(const FacadeLayout&) = delete;
};
