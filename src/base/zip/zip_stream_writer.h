// Writing a zip file whose entries are made as they go: each entry's bytes
// are deflated as they are handed over and never held whole, so an entry of
// any size costs the same memory. The output must be seekable: an entry's
// CRC and sizes are written into its local header when the entry ends
// (readers that insist on them there, as some spreadsheet programs do, are
// served), and the central directory follows the last entry.
//
// An entry stays under 4 GiB (its local header has no room for more, as
// it is written before the size is known); offsets past 4 GiB and more
// than 65,535 entries get ZIP64 records in the central directory.
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace mervane::zip {

class StreamWriter {
 public:
  // `level`: zlib's compression level, 1 (fastest) to 9.
  explicit StreamWriter(std::ostream& out, int level = 6);
  ~StreamWriter();
  StreamWriter(const StreamWriter&) = delete;
  StreamWriter& operator=(const StreamWriter&) = delete;

  // Starts an entry (a UTF-8 name); ends the one before.
  void begin(std::string_view name);
  // Appends to the entry begun last.
  void write(std::string_view bytes);
  // Ends the entry begun last (nothing when none is open).
  void end();
  // Ends the last entry and writes the central directory. Nothing may be
  // written afterwards.
  void finish();

  // Throws std::ios_base::failure when the stream fails; the file is then
  // unfinished and the caller throws it away.

 private:
  struct Entry;
  void deflateSome(const char* data, std::size_t size, bool last);
  void put(const void* data, std::size_t size);

  std::ostream& out_;
  int level_;
  std::uint64_t position_ = 0;
  std::vector<Entry> entries_;
  bool open_ = false;
  bool finished_ = false;
  struct Deflater;
  std::unique_ptr<Deflater> deflater_;
  std::vector<unsigned char> buffer_;
};

}  // namespace mervane::zip
