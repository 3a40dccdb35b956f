// ForgivingPart: the common ground of the forgiving wrappers around a
// component or form that lives for one call. The wrapper owns the object,
// or nothing when it could not be made; every call on it runs under the
// library's failure policy: skipped when there is no object or when it fails,
// giving the fallback value instead of raising anything.
#pragma once

#include <memory>
#include <utility>

#include "base/attempt.h"
#include "components/maker.h"

namespace mervane {

// Holder is how the wrapper keeps the object: owned alone (unique_ptr, the
// default), shared with the component that handed it out (shared_ptr).
template <class T, class Holder = std::unique_ptr<T>>
class ForgivingPart {
 public:
  explicit operator bool() const { return part_ != nullptr; }
  // Lets go of the object now; later calls are skipped.
  void reset() { part_.reset(); }

 protected:
  explicit ForgivingPart(Holder part = nullptr) : part_(std::move(part)) {}
  explicit ForgivingPart(const Maker<T>& make) : part_(attemptOr<std::unique_ptr<T>>(nullptr, make)) {}

  template <class F>
  bool step(F&& call) noexcept {
    return part_ && attempt([&] { call(*part_); });
  }
  template <class R, class F>
  R value(R fallback, F&& call) {
    if (!part_) return fallback;
    return attemptOr(std::move(fallback), [&] { return call(*part_); });
  }

 private:
  Holder part_;
};

}  // namespace mervane
