#include "catalogue/stored_value.h"

namespace mervane {

namespace {

std::int32_t numberOrZero(TextView text) { return parseLong(text).value_or(0); }

}  // namespace

std::int32_t StoredValue::applicationData(TextView value) {
  std::size_t last = value.rfind(u';');
  return numberOrZero(last == TextView::npos ? value : value.substr(last + 1));
}

std::optional<Text> StoredValue::title(TextView value) {
  std::size_t last = value.rfind(u';');
  if (last == TextView::npos || last < 2) return std::nullopt;
  return Text(value.substr(0, last - 2));
}

bool StoredValue::isFavourite(TextView value) {
  std::size_t first = value.find(u';');
  return first != TextView::npos && first + 1 < value.size() && value[first + 1] == u'Y';
}

std::optional<Text> StoredValue::leadingTitle(TextView value) {
  std::size_t first = value.find(u';');
  if (first == TextView::npos) return std::nullopt;
  return Text(value.substr(0, first));
}

Text StoredValue::compose(TextView title, char16_t flag, std::int32_t applicationData) {
  Text out(title);
  out += u';';
  out += flag;
  out += u';';
  out += decimal(applicationData);
  return out;
}

std::optional<StoredValue::Parts> StoredValue::split(TextView value) {
  const std::size_t first = value.find(u';');
  if (first == TextView::npos) return std::nullopt;
  const std::size_t second = value.find(u';', first + 1);
  if (second == TextView::npos) return std::nullopt;
  return Parts{Text(value.substr(0, first)), Text(value.substr(first + 1, second - first - 1)),
               Text(value.substr(second + 1))};
}

Text StoredValue::Parts::joined() const { return title + u";" + flag + u";" + rest; }

std::int32_t applicationDataFromText(TextView text) {
  static constexpr TextView kMarker = u"AppData=";
  std::size_t at = text.find(kMarker);
  if (at == TextView::npos) return 0;
  std::size_t start = at + kMarker.size();
  std::size_t end = text.find(u';', start);
  if (end == TextView::npos) return 0;
  return numberOrZero(text.substr(start, end - start));
}

}  // namespace mervane
