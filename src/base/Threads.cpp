#include "base/Threads.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

void RunOnThreads(size_t count, int threads, const std::function<void(size_t)>& work) {
    std::atomic<size_t> next{0};
    auto take = [&] {
        for (size_t i; (i = next++) < count;) work(i);
    };
    std::vector<std::thread> helpers;
    for (size_t t = 1; t < std::min(size_t(std::max(threads, 1)), count); ++t) {
        try {
            helpers.emplace_back(take);
        } catch (const std::system_error&) {
            break;  // no more threads to be had: those there are do the work
        }
    }
    take();
    for (std::thread& helper : helpers) helper.join();
}
