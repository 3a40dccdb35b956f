// Fuzzes the report definition reader. The first byte chooses how the rest
// is used: as a whole stream (header included), or as a body that the
// harness wraps in a valid header, so that the fuzzer reaches the record
// reader without having to find checksums. Whatever reads must write and
// read back to the same definition and the same bytes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "engine/model/definition_stream.h"

using namespace mervane::engine::model;

namespace {

std::uint32_t crc32(const std::uint8_t* p, std::size_t n) {
  std::uint32_t crc = 0xFFFFFFFFu;
  for (std::size_t i = 0; i < n; ++i) {
    crc ^= p[i];
    for (int k = 0; k < 8; ++k) crc = (crc & 1) ? 0xEDB88320u ^ (crc >> 1) : crc >> 1;
  }
  return ~crc;
}

std::vector<std::uint8_t> sealed(const std::uint8_t* body, std::size_t size) {
  std::vector<std::uint8_t> out = {'M', 'V', 'R', 'D', 1, 0, 0, 0};
  auto put32 = [&](std::uint32_t v) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
  };
  put32(static_cast<std::uint32_t>(size));
  put32(crc32(body, size));
  out.insert(out.end(), body, body + size);
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::vector<std::uint8_t> stream =
      (data[0] & 1) ? sealed(data + 1, size - 1) : std::vector<std::uint8_t>(data + 1, data + size);
  DefinitionLimits limits;
  limits.maxRecords = 20000;
  const DefinitionReadResult result = readDefinition(stream, limits);
  if (!result.definition) {
    if (result.message.empty()) std::abort();
    return 0;
  }
  const std::vector<std::uint8_t> written = writeDefinition(*result.definition);
  const DefinitionReadResult again = readDefinition(written, limits);
  if (!again.definition || !(*again.definition == *result.definition)) std::abort();
  if (writeDefinition(*again.definition) != written) std::abort();
  return 0;
}
