#include "host/ui/Scheduler.hpp"

#include <algorithm>
#include <stdexcept>

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

namespace orvo::host::ui {

struct AsioScheduler::PendingTimer {
  explicit PendingTimer(boost::asio::io_context& io) : timer(io) {}
  boost::asio::steady_timer timer;
  bool cancelled = false;
};

AsioScheduler::~AsioScheduler() {
  for (auto& [id, pending] : timers_) {
    pending->cancelled = true;
    pending->timer.cancel();
  }
}

Scheduler::TimerId AsioScheduler::StartTimer(Milliseconds delay, std::function<void()> callback) {
  const TimerId id = nextId_++;
  auto pending = std::make_shared<PendingTimer>(io_);
  pending->timer.expires_after(delay);
  timers_[id] = pending;
  // The handler holds the timer alive, so a cancel from inside another handler is safe.
  pending->timer.async_wait(
      [this, id, pending, callback = std::move(callback)](const boost::system::error_code& error) {
        if (error || pending->cancelled) return;
        timers_.erase(id);
        callback();
      });
  return id;
}

void AsioScheduler::CancelTimer(TimerId id) {
  const auto found = timers_.find(id);
  if (found == timers_.end()) return;
  found->second->cancelled = true;
  found->second->timer.cancel();
  timers_.erase(found);
}

void AsioScheduler::Post(std::function<void()> work) {
  boost::asio::post(io_, std::move(work));
}

void AsioScheduler::RunUntil(const std::function<bool()>& done) {
  while (!done()) {
    if (io_.stopped())
      throw std::runtime_error("the event loop stopped while waiting for an answer");
    io_.run_one();
  }
}

Milliseconds AsioScheduler::Now() const {
  return std::chrono::duration_cast<Milliseconds>(
      std::chrono::steady_clock::now().time_since_epoch());
}

Scheduler::TimerId ManualScheduler::StartTimer(Milliseconds delay, std::function<void()> callback) {
  const TimerId id = nextId_++;
  timers_[id] = Due{now_ + delay, std::move(callback)};
  return id;
}

void ManualScheduler::CancelTimer(TimerId id) {
  timers_.erase(id);
}

void ManualScheduler::Post(std::function<void()> work) {
  posted_.push_back(std::move(work));
}

void ManualScheduler::RunPosted() {
  while (!posted_.empty()) {
    auto work = std::move(posted_.front());
    posted_.erase(posted_.begin());
    work();
  }
}

void ManualScheduler::RunUntil(const std::function<bool()>& done) {
  RunPosted();
  if (!done()) throw std::logic_error("a modal wait that nothing in this test can end");
}

void ManualScheduler::Advance(Milliseconds step) {
  const Milliseconds end = now_ + step;
  for (;;) {
    RunPosted();
    // Earliest due timer, ties in the order they were started.
    auto next = std::min_element(timers_.begin(), timers_.end(), [](const auto& a, const auto& b) {
      return a.second.when < b.second.when || (a.second.when == b.second.when && a.first < b.first);
    });
    if (next == timers_.end() || next->second.when > end) break;
    now_ = next->second.when;
    auto callback = std::move(next->second.callback);
    timers_.erase(next);
    callback();
  }
  now_ = end;
}

}  // namespace orvo::host::ui
