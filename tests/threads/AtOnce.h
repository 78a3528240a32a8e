#pragma once

#include <atomic>
#include <thread>
#include <vector>

/// Runs `work(i)` on several threads, i from 0, all of which start once the last one is ready.
template <class Work>
void atOnce(unsigned threads, Work work)
{
    std::atomic<unsigned> missing(threads);
    std::vector<std::thread> running;
    for (unsigned i = 0; i < threads; ++i)
        running.emplace_back([&missing, &work, i] {
            missing.fetch_sub(1);
            while (missing.load() > 0)
                std::this_thread::yield();
            work(i);
        });
    for (std::thread& thread : running)
        thread.join();
}
