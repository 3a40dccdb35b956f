// Deflating a file in independent pieces, so that two threads can work on
// one archive and the result is still one ordinary deflate stream per entry.
//
// A file is cut into chunks of kChunkSize bytes. Each chunk is deflated on
// its own, primed with the last 32 KiB of the chunk before it, and ended
// with a sync flush (the last with the stream's end), so the pieces simply
// follow one another in the archive. The output depends only on the bytes,
// never on which thread did the work or when, and the archive stays the
// same from run to run.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

namespace mervane {

constexpr std::size_t kChunkSize = 1 << 20;
constexpr std::size_t kDictionarySize = 32 * 1024;

enum class ChunkMode {
  decide,   // the first chunk of a file: deflate, or keep as is where deflate does not pay
  deflate,  // a later chunk of a deflated file
  copy,     // a later chunk of a stored file: checksum only
};

struct Chunk {
  // Filled in by the caller.
  ChunkMode mode = ChunkMode::decide;
  bool last = true;
  int level = 6;
  std::vector<unsigned char> input;
  std::vector<unsigned char> dictionary;  // the end of the previous chunk's input
  // Filled in by compress().
  std::vector<unsigned char> output;  // deflate data; empty when `stored`
  std::uint32_t crc = 0;              // CRC-32 of `input`
  bool stored = false;                // `decide` chose to keep the bytes as they are
};

void compress(Chunk& chunk);

// A quick test for data that deflate would not shrink (already compressed or
// random): byte frequencies close to uniform and next to no repeated runs.
// Such data is stored without trying deflate, which is slowest on exactly
// this kind of data. Anything else is deflated, and a chunk whose deflate
// output is no smaller than its input is stored all the same.
bool looksIncompressible(const unsigned char* data, std::size_t size);

// A small pool of threads running jobs in the order given. With no threads,
// submit() runs the job at once on the caller's thread.
class WorkerPool {
 public:
  explicit WorkerPool(unsigned threads);
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  std::future<void> submit(std::function<void()> job);

 private:
  void run();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::packaged_task<void()>> queue_;
  bool stopping_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace mervane
