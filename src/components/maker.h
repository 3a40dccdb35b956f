// Maker: how an operation gets a component or a form that lives for one
// call (the report engine, the host's Vardo readers, a window). Making one
// may fail: the maker throws.
#pragma once

#include <functional>
#include <memory>

namespace mervane {

template <class T>
using Maker = std::function<std::unique_ptr<T>()>;

}  // namespace mervane
