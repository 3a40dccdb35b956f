// Writes the definition fuzzer's seed corpus into the folder given as the
// only argument: whole streams (first byte 0) and bodies for the harness to
// wrap (first byte 1), from a blank report, the tests' rich report and a
// report carrying fields of a newer version.
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "engine/model/definition_stream.h"
#include "sample_definition.h"

using namespace mervane::engine::model;

namespace {

void save(const std::string& path, std::uint8_t mode, const std::vector<std::uint8_t>& stream) {
  std::ofstream out(path, std::ios::binary);
  out.put(static_cast<char>(mode));
  const std::size_t skip = mode == 1 ? kDefinitionHeaderSize : 0;
  out.write(reinterpret_cast<const char*>(stream.data() + skip), static_cast<std::streamsize>(stream.size() - skip));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: definition_seeds <folder>\n");
    return 2;
  }
  const std::string folder = argv[1];
  ReportDefinition future = blankReport();
  future.unknown.bytes = "\xA2\x02\x03" "abc";  // field 36, a text of three bytes
  future.sections[0].unknown.bytes = "\xC8\x01\x0E";             // field 25, the number 7
  const std::pair<const char*, ReportDefinition> samples[] = {
      {"blank", blankReport()},
      {"rich", testing::richReport()},
      {"subreport", testing::ordersSubreport()},
      {"future", future},
  };
  for (const auto& [name, definition] : samples) {
    const std::vector<std::uint8_t> stream = writeDefinition(definition);
    save(folder + "/" + name + ".stream", 0, stream);
    save(folder + "/" + name + ".body", 1, stream);
  }
  return 0;
}
