// Fuzzes the host stand-ins' two Vardo report readers with the same bytes,
// read as a file of the older family and of the newer one. Reading never
// fails: damaged input gives no properties, never a crash.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "host/vardo_format.h"

using namespace mervane;
using namespace mervane::host;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const VardoProperties definition = readDefinition(bytes);
  definitionApplicationData(definition);
  definition.find(u"TITLE");
  const VardoProperties document = readDocument(bytes);
  document.find(u"Title");
  document.find(u"AppSpecificData");
  return 0;
}
