// Blocks of records through several threads, results in the order of the input.
//
// There is no thread for reading and none for writing: whoever is free reads the next block, works on it and,
// if it is the oldest one out, writes what has become ready. One job is the same loop on the main thread
// alone. How far threads may run ahead of the output is bounded, and so is memory.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "record_source.hpp"

namespace vqs {

// The jobs that are worth starting: `wanted` (0: one a processor), and no more than there are blocks.
unsigned usefulJobs(unsigned wanted, const RecordSource& source);

template <class Result>
class OrderedWork {
 public:
  // Works on one block; each thread has one of its own.
  using Worker = std::function<Result(RecordBlock& block)>;
  // Takes the results in order, one at a time, from changing threads.
  using Taker = std::function<void(Result& result)>;

  OrderedWork(RecordSource& source, Taker take) : source_(source), take_(std::move(take)) {}

  // Runs until the input ends. A fault of the input lets what was read before come out first; any other ends
  // all at once. The first fault is thrown.
  void run(std::vector<Worker> workers) {
    window_ = workers.size() * 4;
    std::vector<std::jthread> threads;
    for (size_t index = 1; index < workers.size(); ++index)
      threads.emplace_back([this, &worker = workers[index]] { loop(worker); });
    loop(workers[0]);
    threads.clear();
    if (fault_) std::rethrow_exception(fault_);
  }

 private:
  void loop(Worker& worker) {
    try {
      RecordBlock block;
      for (uint64_t ticket = 0; readBlock(block, ticket);) {
        Result result = worker(block);
        finish(ticket, std::move(result));
      }
    } catch (...) {
      const std::lock_guard hold(mutex_);
      if (!fault_) fault_ = std::current_exception();
      isStopped_ = true;
      roomCame_.notify_all();
    }
  }

  bool readBlock(RecordBlock& block, uint64_t& ticket) {
    const std::lock_guard reading(readMutex_);
    {
      std::unique_lock hold(mutex_);
      roomCame_.wait(hold, [&] { return isStopped_ || isAtEnd_ || nextTicket_ - nextOut_ < window_; });
      if (isStopped_ || isAtEnd_) return false;
    }
    try {
      if (source_.next(block)) {
        ticket = nextTicket_++;
        return true;
      }
    } catch (...) {
      const std::lock_guard hold(mutex_);
      if (!fault_) fault_ = std::current_exception();
    }
    isAtEnd_ = true;
    return false;
  }

  void finish(uint64_t ticket, Result&& result) {
    std::unique_lock hold(mutex_);
    ready_.emplace(ticket, std::move(result));
    if (isWriting_) return;
    isWriting_ = true;
    while (!isStopped_ && !ready_.empty() && ready_.begin()->first == nextOut_) {
      Result next = std::move(ready_.begin()->second);
      ready_.erase(ready_.begin());
      hold.unlock();
      take_(next);
      hold.lock();
      ++nextOut_;
      roomCame_.notify_all();
    }
    isWriting_ = false;
  }

  RecordSource& source_;
  Taker take_;
  uint64_t window_ = 0;

  // Held while reading; guards the source, isAtEnd_ and nextTicket_.
  std::mutex readMutex_;
  bool isAtEnd_ = false;
  uint64_t nextTicket_ = 0;

  // Guards all below. Taken inside readMutex_ or alone.
  std::mutex mutex_;
  std::condition_variable roomCame_;
  std::map<uint64_t, Result> ready_;
  uint64_t nextOut_ = 0;
  bool isWriting_ = false;
  bool isStopped_ = false;
  std::exception_ptr fault_;
};

}  // namespace vqs
