// A run of one page that says in words why a report cannot be shown, for
// when the engine could not even start a run (it normally makes such pages
// itself).
#pragma once

#include <memory>

#include "engine/layout/page_source.h"

namespace mervane::viewer {

std::unique_ptr<engine::layout::PageSource> messagePages(const Text& heading, const Text& message);

}  // namespace mervane::viewer
