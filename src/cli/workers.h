// Work spread over a few threads: each item handed out once, in order, to the next free worker.
#ifndef VELMORA_CLI_WORKERS_H_
#define VELMORA_CLI_WORKERS_H_

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

// Calls work(0) .. work(count - 1), each once, on up to `workers` threads, the calling thread
// among them. The first exception a call throws is thrown again once every thread has stopped.
template <typename Work>
inline void ForEachOnWorkers(size_t count, unsigned workers, const Work& work) {
  std::atomic<size_t> next{0};
  std::atomic<bool> failed{false};
  std::exception_ptr error;
  std::mutex error_mutex;
  auto drain = [&]() {
    for (size_t i = next++; i < count && !failed; i = next++) {
      try {
        work(i);
      } catch (...) {
        const std::lock_guard<std::mutex> lock(error_mutex);
        if (!error) error = std::current_exception();
        failed = true;
      }
    }
  };
  std::vector<std::thread> threads;
  const size_t extra = std::min<size_t>(std::max(workers, 1U), count) - (count > 0 ? 1 : 0);
  for (size_t w = 0; w < extra; ++w) threads.emplace_back(drain);
  drain();
  for (std::thread& thread : threads) thread.join();
  if (error) std::rethrow_exception(error);
}

#endif  // VELMORA_CLI_WORKERS_H_
