#pragma once

namespace tl {
int system(const char* cmd);
}
