// The one progress rule of every row loop: 0 before the first row, the 100
// percent spread over the rows with a carried remainder, a call only when
// the percent grew, exactly 100 after the last row, and any callback result
// other than RC_SUCCESS stopping the loop with that result.
#pragma once

#include <cstdint>

#include "core/thread_state.h"

namespace vxkrn::core {

class Progress {
 public:
  // Percents run from `first` to `last` (0 to 100 unless an operation is
  // one stage of a longer one); both are clamped to 0..100 and `last` is
  // raised to `first` when below it.
  Progress(CallbackSlot callback, uint32_t rows, int32_t first = 0, int32_t last = 100)
      : callback_(callback), rows_(rows), percent_(clamp(first)) {
    const uint32_t span = clamp(last) > percent_ ? clamp(last) - percent_ : 0;
    step_ = rows ? span / rows : 0;
    remainder_ = rows ? span % rows : 0;
  }

  // The call with the first percent before the first row.
  ResultCode start() { return report(); }

  // Run step(y) for y = 0 .. rows - 1 with the reports around it: 0 first,
  // then after each row; the first failure or stop ends the loop.
  template <class Step>
  ResultCode each_row(std::int32_t rows, Step step) {
    const ResultCode started = start();
    if (started != RC_SUCCESS) return started;
    for (std::int32_t y = 0; y < rows; ++y) {
      const ResultCode rc = step(y);
      if (rc != RC_SUCCESS) return rc;
      const ResultCode reported = row_done();
      if (reported != RC_SUCCESS) return reported;
    }
    return RC_SUCCESS;
  }

  // After each row.
  ResultCode row_done() {
    const uint32_t before = percent_;
    percent_ += step_;
    carried_ += remainder_;
    if (carried_ >= rows_ && rows_) {
      ++percent_;
      carried_ -= rows_;
    }
    return percent_ > before ? report() : RC_SUCCESS;
  }

 private:
  ResultCode report() const {
    if (!callback_.function) return RC_SUCCESS;
    return callback_.function(static_cast<int32_t>(percent_), callback_.user_data);
  }

  static uint32_t clamp(int32_t percent) {
    return percent < 0 ? 0 : percent > 100 ? 100 : static_cast<uint32_t>(percent);
  }

  CallbackSlot callback_;
  uint32_t rows_;
  uint32_t percent_, carried_ = 0;
  uint32_t step_ = 0, remainder_ = 0;
};

// Silences both status callbacks of the thread for one scope: an operation
// that runs another one internally reports nothing for it.
class QuietCallbacks {
 public:
  QuietCallbacks() : state_(thread_state()), status_(state_.status), copy_(state_.copy_status) {
    state_.status = CallbackSlot{};
    state_.copy_status = CallbackSlot{};
  }
  ~QuietCallbacks() {
    state_.status = status_;
    state_.copy_status = copy_;
  }
  QuietCallbacks(const QuietCallbacks &) = delete;
  QuietCallbacks &operator=(const QuietCallbacks &) = delete;

 private:
  ThreadState &state_;
  CallbackSlot status_, copy_;
};

// Every other row loop reports through the general status callback.
inline Progress status_progress(uint32_t rows, int32_t first = 0, int32_t last = 100) {
  return Progress(thread_state().status, rows, first, last);
}

// The copy family reports through the copy status callback.
inline Progress copy_progress(uint32_t rows) {
  return Progress(thread_state().copy_status, rows);
}

}  // namespace vxkrn::core
