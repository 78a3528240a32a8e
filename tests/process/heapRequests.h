#pragma once

/// How often this program has asked for memory, in every library, through malloc(), calloc(), realloc() or operator new.
unsigned long heapRequests();
