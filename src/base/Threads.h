#pragma once
// Work shared among threads, for the exports that encode several frames or sprites at once.

#include <cstddef>
#include <functional>

// Calls work(i) for each i from 0 to count - 1, on up to `threads` threads, the calling one among them.
// Where the system gives no more threads, those there are do the work.
void RunOnThreads(size_t count, int threads, const std::function<void(size_t)>& work);
