#pragma once
// The event loop as the windows see it: one-shot timers, posted work, and the modal wait.
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include <boost/asio/io_context.hpp>

namespace orvo::host::ui {

using Milliseconds = std::chrono::milliseconds;

class Scheduler {
 public:
  using TimerId = std::uint64_t;

  virtual ~Scheduler() = default;
  // Calls `callback` once, `delay` from now, on the event loop.
  virtual TimerId StartTimer(Milliseconds delay, std::function<void()> callback) = 0;
  // Safe to call for a timer that has already fired or been cancelled.
  virtual void CancelTimer(TimerId id) = 0;
  virtual void Post(std::function<void()> work) = 0;
  // Runs the loop until `done` holds: how a modal question waits without stopping serial input
  // and timers.
  virtual void RunUntil(const std::function<bool()>& done) = 0;
  virtual Milliseconds Now() const = 0;
};

class AsioScheduler final : public Scheduler {
 public:
  explicit AsioScheduler(boost::asio::io_context& io) : io_(io) {}
  ~AsioScheduler() override;

  TimerId StartTimer(Milliseconds delay, std::function<void()> callback) override;
  void CancelTimer(TimerId id) override;
  void Post(std::function<void()> work) override;
  void RunUntil(const std::function<bool()>& done) override;
  Milliseconds Now() const override;

  boost::asio::io_context& Context() { return io_; }

 private:
  struct PendingTimer;
  boost::asio::io_context& io_;
  TimerId nextId_ = 1;
  std::map<TimerId, std::shared_ptr<PendingTimer>> timers_;
};

// A clock that moves only when a test says so.
class ManualScheduler final : public Scheduler {
 public:
  TimerId StartTimer(Milliseconds delay, std::function<void()> callback) override;
  void CancelTimer(TimerId id) override;
  void Post(std::function<void()> work) override;
  // Runs posted work; a question nobody can answer here is a fault of the test.
  void RunUntil(const std::function<bool()>& done) override;
  Milliseconds Now() const override { return now_; }

  // Moves the clock forward, firing every timer that falls due on the way, in order.
  void Advance(Milliseconds step);
  void RunPosted();
  std::size_t PendingTimers() const { return timers_.size(); }

 private:
  struct Due {
    Milliseconds when;
    std::function<void()> callback;
  };
  Milliseconds now_{0};
  TimerId nextId_ = 1;
  std::map<TimerId, Due> timers_;
  std::vector<std::function<void()>> posted_;
};

}  // namespace orvo::host::ui
