// Chunk compression and the worker pool that runs it.
#include "maintenance/archive/chunk_compressor.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <new>
#include <stdexcept>

namespace mervane {

namespace {

// Owns a raw deflate stream (no zlib header: zip entries carry none).
class Deflater {
 public:
  explicit Deflater(int level) {
    if (deflateInit2(&stream_, level, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK)
      throw std::bad_alloc();
  }
  ~Deflater() { deflateEnd(&stream_); }
  Deflater(const Deflater&) = delete;
  Deflater& operator=(const Deflater&) = delete;
  z_stream* operator->() { return &stream_; }
  z_stream* get() { return &stream_; }

 private:
  z_stream stream_{};
};

void deflateChunk(Chunk& chunk, int level) {
  Deflater d(level);
  if (!chunk.dictionary.empty() && level > 0)
    deflateSetDictionary(d.get(), chunk.dictionary.data(),
                         static_cast<uInt>(chunk.dictionary.size()));
  // deflateBound covers the stream's end; a sync flush adds at most 5 bytes
  // and a few more for the block it closes.
  chunk.output.resize(deflateBound(d.get(), static_cast<uLong>(chunk.input.size())) + 16);
  d->next_in = chunk.input.data();
  d->avail_in = static_cast<uInt>(chunk.input.size());
  d->next_out = chunk.output.data();
  d->avail_out = static_cast<uInt>(chunk.output.size());
  int rc = deflate(d.get(), chunk.last ? Z_FINISH : Z_SYNC_FLUSH);
  bool done = chunk.last ? rc == Z_STREAM_END : rc == Z_OK && d->avail_in == 0 && d->avail_out > 0;
  if (!done) throw std::runtime_error("deflate failed");
  chunk.output.resize(d->total_out);
}

}  // namespace

bool looksIncompressible(const unsigned char* data, std::size_t size) {
  if (size < 4096) return false;
  // Huffman coding gains on any byte value markedly more frequent than others.
  std::array<std::uint32_t, 256> counts{};
  for (std::size_t i = 0; i < size; ++i) ++counts[data[i]];
  double entropy = 0;
  for (std::uint32_t c : counts) {
    if (c == 0) continue;
    double p = static_cast<double>(c) / static_cast<double>(size);
    entropy -= p * std::log2(p);
  }
  if (entropy < 7.95) return false;
  // Matches gain on repeats: look for 8-byte runs seen again within deflate's
  // 32 KiB window, as deflate would, only with one candidate per hash, in
  // two windows of 64 KiB (the start and the middle).
  constexpr unsigned kHashBits = 15;
  constexpr std::size_t kWindow = 2 * kDictionarySize;
  constexpr std::uint32_t kEmpty = 0xFFFFFFFF;
  std::vector<std::uint32_t> seen(1u << kHashBits);
  std::size_t repeated = 0, scanned = 0;
  for (std::size_t start : {std::size_t{0}, size > 2 * kWindow ? size / 2 : size}) {
    std::size_t end = std::min(size, start + kWindow);
    if (start == 0 && size <= 2 * kWindow) end = size;  // small chunks: all of it
    std::fill(seen.begin(), seen.end(), kEmpty);
    for (std::size_t i = start; i + 8 <= end;) {
      std::uint64_t v;
      std::memcpy(&v, data + i, 8);
      auto h = static_cast<std::uint32_t>((v * 0x9E3779B97F4A7C15ull) >> (64 - kHashBits));
      std::uint32_t previous = seen[h];
      seen[h] = static_cast<std::uint32_t>(i);
      if (previous != kEmpty && i - previous <= kDictionarySize &&
          std::memcmp(data + previous, data + i, 8) == 0) {
        repeated += 8;
        i += 8;
      } else {
        ++i;
      }
    }
    scanned += end > start ? end - start : 0;
  }
  return repeated * 100 < scanned;  // under 1% would be matched
}

void compress(Chunk& chunk) {
  chunk.crc = static_cast<std::uint32_t>(crc32_z(0, chunk.input.data(), chunk.input.size()));
  chunk.output.clear();
  chunk.stored = false;
  switch (chunk.mode) {
    case ChunkMode::copy:
      return;
    case ChunkMode::decide:
      if (looksIncompressible(chunk.input.data(), chunk.input.size())) {
        chunk.stored = true;
        return;
      }
      deflateChunk(chunk, chunk.level);
      if (chunk.output.size() >= chunk.input.size()) {
        chunk.stored = true;
        chunk.output.clear();
        chunk.output.shrink_to_fit();
      }
      return;
    case ChunkMode::deflate:
      // Inside a deflated file incompressible stretches become stored blocks.
      deflateChunk(chunk,
                   looksIncompressible(chunk.input.data(), chunk.input.size()) ? 0 : chunk.level);
      return;
  }
}

WorkerPool::WorkerPool(unsigned threads) {
  for (unsigned i = 0; i < threads; ++i) threads_.emplace_back([this] { run(); });
}

WorkerPool::~WorkerPool() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  for (auto& t : threads_) t.join();
}

std::future<void> WorkerPool::submit(std::function<void()> job) {
  std::packaged_task<void()> task(std::move(job));
  auto future = task.get_future();
  if (threads_.empty()) {
    task();
    return future;
  }
  {
    std::lock_guard lock(mutex_);
    queue_.push_back(std::move(task));
  }
  wake_.notify_one();
  return future;
}

void WorkerPool::run() {
  for (;;) {
    std::packaged_task<void()> task;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
      if (stopping_) return;  // jobs left behind are abandoned with their futures
      task = std::move(queue_.front());
      queue_.pop_front();
    }
    task();
  }
}

}  // namespace mervane
