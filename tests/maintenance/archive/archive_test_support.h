// Helpers for the archiver's tests: scratch folders, whole-file reads and
// writes, an events recorder, the peers' command lines, and a hand-made zip
// builder for archives our writer would never produce.
#pragma once

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "maintenance/archive/archiver.h"
#include "base/zip/zip_format.h"

namespace mervane {
// Failure reasons print as their numbers in test messages.
inline void PrintTo(ArchiveError e, std::ostream* os) {
  *os << "ArchiveError " << static_cast<int>(e);
}
}  // namespace mervane

namespace mervane::archive_test {

namespace fs = std::filesystem;

// A fresh folder removed with everything in it at the end of the test.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::random_device rd;
    path_ =
        fs::temp_directory_path() / ("mervane-zip-" + std::to_string(rd()) + std::to_string(rd()));
    fs::create_directories(path_);
  }
  ~ScratchFolder() {
    std::error_code ec;
    fs::remove_all(path_, ec);
  }
  const fs::path& path() const { return path_; }
  fs::path operator/(const std::string& name) const { return path_ / fs::path(name); }
  fs::path make(const std::string& sub) const {
    fs::create_directories(*this / sub);
    return *this / sub;
  }

 private:
  fs::path path_;
};

inline void writeFile(const fs::path& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

inline Text text(const fs::path& p) { return p.u16string(); }

// Names of the files in a folder, sorted; temporary files show up here too.
inline std::vector<std::string> listFolder(const fs::path& folder) {
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(folder))
    names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

inline std::string randomBytes(std::size_t n, unsigned seed) {
  std::mt19937 g(seed);
  std::string s(n, '\0');
  for (auto& c : s) c = static_cast<char>(g());
  return s;
}

inline std::string reportText(std::size_t n, unsigned seed) {
  static const char* words[] = {"Customer", "Invoice", "Total",   "Amount", "Date",
                                "Region",   "Sales",   "Quarter", "Net",    "VAT",
                                "Balance",  "Account", "Group",   "Sum"};
  std::mt19937 g(seed);
  std::string s;
  while (s.size() < n) {
    s += words[g() % 14];
    s += g() % 5 ? " " : "\r\n";
    if (g() % 7 == 0) s += std::to_string(g() % 100000) + "." + std::to_string(g() % 100);
  }
  s.resize(n);
  return s;
}

// Runs a shell command quietly; its exit status.
inline int shell(const std::string& command) {
  return std::system(("(" + command + ") >/dev/null 2>&1").c_str()) == 0 ? 0 : 1;
}

inline std::string quote(const fs::path& p) { return "'" + p.string() + "'"; }

struct Progress {
  Text name;
  std::int32_t originalSize, bytesRead;
  std::int16_t percent;
  std::int32_t totalFiles, processedFiles, totalBytes, processedBytes;
};

class RecordingEvents : public ArchiveEvents {
 public:
  std::vector<Progress> progressCalls;
  std::vector<std::pair<Text, std::int32_t>> counts;
  int throwAfterCounts = -1;  // raise from the count event after this many
  std::function<void(const Progress&)> onProgress;

  void progress(const Text& f, std::int32_t o, std::int32_t b, std::int16_t p, std::int32_t tf,
                std::int32_t pf, std::int32_t tb, std::int32_t pb) override {
    progressCalls.push_back({f, o, b, p, tf, pf, tb, pb});
    if (onProgress) onProgress(progressCalls.back());
  }
  void fileCount(const Text& f, std::int32_t n) override {
    counts.push_back({f, n});
    if (throwAfterCounts >= 0 && static_cast<int>(counts.size()) > throwAfterCounts)
      throw std::runtime_error("host error");
  }
  void diskFull(std::int16_t) override { ADD_FAILURE() << "no disk events expected"; }
  void diskRequest(std::int16_t) override { ADD_FAILURE() << "no disk events expected"; }
};

// A zip built by hand, entry by entry, for the archives our writer refuses
// to make. Offsets are kept so tests can corrupt chosen fields.
struct RawEntry {
  std::string name;
  std::string data;
  std::uint16_t method = zip::kMethodDeflated;
  std::uint16_t flags = 0;
};

struct RawZip {
  std::string bytes;
  std::vector<std::size_t> localAt;    // each entry's local header
  std::vector<std::size_t> centralAt;  // each entry's central header
  std::size_t endAt = 0;               // end of central directory record
};

inline std::string rawDeflate(const std::string& data) {
  z_stream z{};
  deflateInit2(&z, 6, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  std::string out(deflateBound(&z, static_cast<uLong>(data.size())), '\0');
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  z.avail_in = static_cast<uInt>(data.size());
  z.next_out = reinterpret_cast<Bytef*>(out.data());
  z.avail_out = static_cast<uInt>(out.size());
  deflate(&z, Z_FINISH);
  out.resize(z.total_out);
  deflateEnd(&z);
  return out;
}

inline RawZip buildZip(const std::vector<RawEntry>& entries) {
  RawZip z;
  std::string central;
  std::vector<std::size_t> centralRelative;
  for (const RawEntry& e : entries) {
    std::string payload = e.method == zip::kMethodDeflated ? rawDeflate(e.data) : e.data;
    auto crc = static_cast<std::uint32_t>(
        crc32(0, reinterpret_cast<const Bytef*>(e.data.data()), static_cast<uInt>(e.data.size())));
    auto header = [&](bool local) {
      std::string h;
      zip::RecordWriter w(h);
      w.u32(local ? zip::kLocalHeaderSignature : zip::kCentralHeaderSignature);
      if (!local) w.u16(20);
      w.u16(20);
      w.u16(e.flags);
      w.u16(e.method);
      w.u32(0x21);  // 1980-01-01
      w.u32(crc);
      w.u32(static_cast<std::uint32_t>(payload.size()));
      w.u32(static_cast<std::uint32_t>(e.data.size()));
      w.u16(static_cast<std::uint16_t>(e.name.size()));
      w.u16(0);
      if (!local) {
        w.u16(0);
        w.u16(0);
        w.u16(0);
        w.u32(0);
        w.u32(static_cast<std::uint32_t>(z.localAt.back()));
      }
      w.bytes(e.name);
      return h;
    };
    z.localAt.push_back(z.bytes.size());
    z.bytes += header(true) + payload;
    centralRelative.push_back(central.size());
    central += header(false);
  }
  for (std::size_t r : centralRelative) z.centralAt.push_back(z.bytes.size() + r);
  std::size_t cdAt = z.bytes.size();
  z.bytes += central;
  z.endAt = z.bytes.size();
  zip::RecordWriter w(z.bytes);
  w.u32(zip::kEndSignature);
  w.u32(0);
  w.u16(static_cast<std::uint16_t>(entries.size()));
  w.u16(static_cast<std::uint16_t>(entries.size()));
  w.u32(static_cast<std::uint32_t>(central.size()));
  w.u32(static_cast<std::uint32_t>(cdAt));
  w.u16(0);
  return z;
}

inline void put32(std::string& bytes, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<char>((v >> (8 * i)) & 0xFF);
}
inline void put16(std::string& bytes, std::size_t at, std::uint16_t v) {
  bytes[at] = static_cast<char>(v & 0xFF);
  bytes[at + 1] = static_cast<char>(v >> 8);
}

// Central header field offsets, for corrupting them.
constexpr std::size_t kCentralFlags = 8, kCentralMethod = 10, kCentralCrc = 16,
                      kCentralCompressed = 20, kCentralSize = 24, kCentralOffset = 42;

}  // namespace mervane::archive_test
