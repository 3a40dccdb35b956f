// Report objects turned into display items for the design surface.
#include "authoring/designer/design_scene.h"

#include "authoring/designer/properties.h"

namespace mervane::authoring::designer {

namespace layout = engine::layout;

namespace {

layout::Rect rectOf(const Box& b) { return {b.x, b.y, b.width, b.height}; }

layout::TextAlign alignOf(const model::ReportObject& o) {
  switch (o.format.alignment) {
    case model::Alignment::Centre: return layout::TextAlign::Centre;
    case model::Alignment::Right: return layout::TextAlign::Right;
    case model::Alignment::Default:
      // Numbers and dates print on the right by default; fields of unknown
      // type are shown on the left, as text.
      return o.kind == model::ObjectKind::SummaryField ? layout::TextAlign::Right : layout::TextAlign::Left;
    default: return layout::TextAlign::Left;
  }
}

}  // namespace

void appendObjectItems(const model::ReportObject& o, const Box& box, std::vector<layout::DisplayItem>& items,
                       layout::PictureLoader* pictures) {
  const model::Format& f = o.format;
  switch (o.kind) {
    case model::ObjectKind::Line:
      items.push_back(layout::LineItem{box.x, box.y, box.x + o.width, box.y + o.height, f.lineWidth, f.colour,
                                       f.border == model::BorderStyle::None ? model::BorderStyle::Single : f.border});
      return;
    case model::ObjectKind::Box:
      items.push_back(layout::BoxItem{rectOf(box), f.border == model::BorderStyle::None ? model::BorderStyle::Single : f.border,
                                      f.lineWidth, f.borderColour, f.filled, f.background});
      return;
    case model::ObjectKind::Subreport:
      items.push_back(layout::BoxItem{rectOf(box), model::BorderStyle::Dashed, 10, 0x808080, false, model::kWhite});
      break;
    case model::ObjectKind::Picture:
      // A picture from a column shows as an empty frame with the column's name.
      layout::appendPictureItems(o, rectOf(box), o.picture.image.shared(), items, pictures);
      if (!o.picture.image.empty()) return;
      break;
    default:
      if (f.filled || f.border != model::BorderStyle::None)
        items.push_back(layout::BoxItem{rectOf(box), f.border, f.lineWidth, f.borderColour, f.filled, f.background});
      break;
  }
  layout::TextRun run;
  run.box = rectOf(box);
  run.font = {f.fontName, f.fontSize, f.bold, f.italic, f.underline};
  run.colour = f.colour;
  run.align = alignOf(o);
  run.text = designText(o);
  // A text of several lines shows its first one here.
  if (auto end = run.text.find_first_of(u"\r\n"); end != Text::npos) run.text.resize(end);
  run.source = o.name;
  if (!run.text.empty()) items.push_back(std::move(run));
}

std::vector<layout::DisplayItem> sceneItems(const model::ReportDefinition& report, const BandLayout& bands,
                                            const Box& visible, layout::PictureLoader* pictures) {
  std::vector<layout::DisplayItem> items;
  for (const Band& band : bands.bands()) {
    for (const auto& o : report.sections[band.section].objects) {
      const Box box = bands.objectBox(band.section, o);
      if (box.intersects(visible)) appendObjectItems(o, box, items, pictures);
    }
  }
  return items;
}

}  // namespace mervane::authoring::designer
