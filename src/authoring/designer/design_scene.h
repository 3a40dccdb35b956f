// The design surface's report objects as display items, drawn "as they will
// print": text in its font, colour and alignment, fields by name in braces,
// lines and boxes, borders and backgrounds. The painter that paints report
// pages paints these too; the bands, grid and handles around them are the
// control's own.
#pragma once

#include <vector>

#include "authoring/designer/band_layout.h"
#include "engine/layout/display_list.h"
#include "engine/layout/picture.h"

namespace mervane::authoring::designer {

// Appends the items that show `object` placed at `box` (surface twips).
// With a `pictures` loader, pictures not decoded yet are asked of it and
// show as empty frames until then.
void appendObjectItems(const model::ReportObject& object, const Box& box, std::vector<engine::layout::DisplayItem>& items,
                       engine::layout::PictureLoader* pictures = nullptr);

// The items of every object whose box meets `visible`, in drawing order.
std::vector<engine::layout::DisplayItem> sceneItems(const model::ReportDefinition& report, const BandLayout& layout,
                                                    const Box& visible, engine::layout::PictureLoader* pictures = nullptr);

}  // namespace mervane::authoring::designer
