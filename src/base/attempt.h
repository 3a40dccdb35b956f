// attempt: runs one step of an operation under the library's failure policy.
// A step that fails is abandoned, every value it did not finish setting stays
// as it was, and the operation goes on with its next step.
//
// The ports in components/ (and the forms' ports beside them) each have a
// forgiving wrapper built on these, so that operations read as plain steps.
#pragma once

#include <optional>
#include <type_traits>

namespace mervane {

template <class F>
bool attempt(F&& step) noexcept {
  try {
    step();
    return true;
  } catch (...) {
    return false;
  }
}

// The result of a step that yields a value, or nothing when it failed.
template <class F>
auto attemptValue(F&& step) noexcept -> std::optional<std::invoke_result_t<F>> {
  try {
    return step();
  } catch (...) {
    return std::nullopt;
  }
}

// The result of a step that yields a value, or `fallback` when it failed.
template <class T, class F>
T attemptOr(T fallback, F&& step) {
  try {
    return step();
  } catch (...) {
    return fallback;
  }
}

}  // namespace mervane
