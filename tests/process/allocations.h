#pragma once

/// Counts what this program allocates, in every library, and makes it fail.
namespace allocations {

/// How often memory was asked for, through malloc(), calloc(), realloc() or operator new.
unsigned long count();

/// The use of operator new behind `number` others throws std::bad_alloc; the ones after it succeed again.
void failOnce(unsigned long number);

/// Takes failOnce() back.  \returns whether operator new has thrown meanwhile.
bool haveFailed();

/// While it lives the test's own allocations neither fail nor count as one that passes.
class Exempt {
public:
    Exempt();
    ~Exempt();
    Exempt(const Exempt&) = delete;
    Exempt& operator=(const Exempt&) = delete;

private:
    unsigned long kept_;
};

}  // namespace allocations
