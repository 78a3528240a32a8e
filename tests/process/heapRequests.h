#pragma once

/// How often this program and its libraries have called malloc(), calloc(), realloc() or operator
/// new.
unsigned long heapRequests();
