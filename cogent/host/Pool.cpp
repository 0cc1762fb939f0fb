// The shared supply of the pool: chunks cut into runs of fresh blocks, and
// the batches of freed blocks that threads passed on.

#include "cogent/host/Pool.h"

#include <cstring>
#include <mutex>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace cogent::pool {

namespace {

// A thread takes fresh blocks a run at a time; a chunk holds a number of
// runs. A chunk is one huge page of the processor where the system offers
// them: a growing working memory then takes a page fault per 2 MB instead
// of one per 4 KB.
constexpr std::size_t RunBytes = 64 * 1024;
constexpr std::size_t ChunkRuns = 32;
constexpr std::size_t ChunkBytes = RunBytes * ChunkRuns;

// Freed blocks linked through Next, as the first block of the batch says.
// The first block links the batches; the second, where there is one, keeps
// their count, so that a batch asks no more than two words of a block.
struct TBatch {
  TFreeBlock Head;
  TBatch* NextBatch;
};
struct TBatchCount {
  TFreeBlock Head;
  std::size_t Count;
};
static_assert(sizeof(TBatch) <= MinBlock && sizeof(TBatchCount) <= MinBlock);

// What is left of a run of fresh blocks, given back by a thread that ended.
struct TRun {
  TRun* Next;
  char* End;
};
static_assert(sizeof(TRun) <= MinBlock);

// Chunks are listed, so that they stay reachable; the list is kept apart
// from them, so that a chunk is all runs.
struct TChunk {
  TChunk* Next;
  void* Memory;
};

// Outgrown large blocks kept as runs, at most this many bytes at a time: a
// block freed while working memory grows is used up by it soon, and one freed
// as working memory shrinks stays with the process as chunks do.
constexpr std::size_t SpareLimit = 64 * 1024 * 1024;

struct TSupply {
  std::mutex Lock;
  TBatch* Batches[ClassCount] = {};
  TRun* Runs[ClassCount] = {};
  TChunk* Chunks = nullptr;
  char* NextRun = nullptr;
  char* ChunkEnd = nullptr;
  // Whole runs of freed large blocks, taken before fresh chunks: their pages
  // are resident, where a fresh page costs the system a clearing.
  TRun* Spares = nullptr;
  std::size_t SpareBytes = 0;
};

// Never destroyed: blocks are freed by the destructors of other objects with
// static or thread storage, in whatever order those run.
TSupply& Supply() {
  static TSupply* const Result = new TSupply;
  return *Result;
}

void PushBatch(TSupply& S, std::size_t Class, TFreeBlock* First, std::size_t Count) noexcept {
  TFreeBlock* const Second = First->Next;
  if (Second) {
    TFreeBlock* const Third = Second->Next;
    ::new (static_cast<void*>(Second)) TBatchCount{{Third}, Count};
  }
  S.Batches[Class] = ::new (static_cast<void*>(First)) TBatch{{Second}, S.Batches[Class]};
}

// The number of blocks of a batch: one where the first is the last.
std::size_t CountOf(const TBatch& Batch) noexcept {
  return Batch.Head.Next ? reinterpret_cast<const TBatchCount*>(Batch.Head.Next)->Count : 1;
}

// Everything Cache holds goes to the shared supply; the caller holds the lock.
void GiveBackLocked(TSupply& S, TSizeCache& Cache, std::size_t Class) noexcept {
  if (Cache.Free) PushBatch(S, Class, Cache.Free, Cache.Count);
  if (Cache.Fresh != Cache.FreshEnd) S.Runs[Class] = ::new (static_cast<void*>(Cache.Fresh)) TRun{S.Runs[Class], Cache.FreshEnd};
  Cache.Free = nullptr;
  Cache.Count = 0;
  Cache.Fresh = Cache.FreshEnd = nullptr;
}

void GiveBack(TSizeCache& Cache, std::size_t Class) noexcept {
  TSupply& S = Supply();
  const std::lock_guard<std::mutex> Guard(S.Lock);
  GiveBackLocked(S, Cache, Class);
}

// Gives the thread's blocks back when it ends, and from then on every block
// it frees or is left with.
struct TThreadEnd {
  TThreadEnd() = default;
  TThreadEnd(const TThreadEnd&) = delete;
  TThreadEnd& operator=(const TThreadEnd&) = delete;
  ~TThreadEnd() {
    TSupply& S = Supply();
    const std::lock_guard<std::mutex> Guard(S.Lock);
    for (std::size_t Class = 0; Class < ClassCount; ++Class) {
      TSizeCache& Cache = ThreadCaches.Sizes[Class];
      Cache.Limit = 0;
      GiveBackLocked(S, Cache, Class);
    }
  }
};

}  // namespace

void Register() noexcept {
  ThreadCaches.Registered = true;
  static thread_local TThreadEnd End;
}

namespace {

// A run of fresh blocks' worth of memory: a spare one, else the next of the
// current chunk, else the first of a new chunk. The caller holds the lock.
char* TakeRun(TSupply& S) {
  if (TRun* const Spare = S.Spares) {
    char* const Run = reinterpret_cast<char*>(Spare);
    char* const Next = Run + RunBytes;
    S.Spares = Next == Spare->End ? Spare->Next : ::new (static_cast<void*>(Next)) TRun{Spare->Next, Spare->End};
    S.SpareBytes -= RunBytes;
    return Run;
  }
  if (S.NextRun == S.ChunkEnd) {
    auto* Link = new TChunk{S.Chunks, nullptr};
    try {
      Link->Memory = ::operator new(ChunkBytes, std::align_val_t{ChunkBytes});
    } catch (...) {
      delete Link;
      throw;
    }
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    // Only advice: where it is refused the chunk has ordinary pages.
    madvise(Link->Memory, ChunkBytes, MADV_HUGEPAGE);
#endif
    S.Chunks = Link;
    S.NextRun = static_cast<char*>(Link->Memory);
    S.ChunkEnd = S.NextRun + ChunkBytes;
  }
  char* const Run = S.NextRun;
  S.NextRun += RunBytes;
  return Run;
}

}  // namespace

void* Refill(std::size_t Class) {
  if (!ThreadCaches.Registered) Register();
  TSizeCache& Cache = ThreadCaches.Sizes[Class];
  TSupply& S = Supply();
  {
    const std::lock_guard<std::mutex> Guard(S.Lock);
    if (TBatch* Batch = S.Batches[Class]) {
      S.Batches[Class] = Batch->NextBatch;
      Cache.Free = &Batch->Head;
      Cache.Count = static_cast<std::uint32_t>(CountOf(*Batch));
    } else if (TRun* Run = S.Runs[Class]) {
      S.Runs[Class] = Run->Next;
      Cache.Fresh = reinterpret_cast<char*>(Run);
      Cache.FreshEnd = Run->End;
    } else {
      char* const Taken = TakeRun(S);
      Cache.Fresh = Taken;
      Cache.FreshEnd = Taken + RunBytes / BlockSize(Class) * BlockSize(Class);
    }
  }
  void* Block = Allocate(BlockSize(Class));
  // A thread whose caches are gone keeps nothing.
  if (Cache.Limit == 0) GiveBack(Cache, Class);
  return Block;
}

#if defined(__linux__) && !defined(COGENT_POOL_OFF)

void* AllocateLarge(std::size_t Size) {
  if (Size < LargeBlock) return ::operator new(Size);
  void* Block = mmap(nullptr, Size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (Block == MAP_FAILED) throw std::bad_alloc();
#if defined(MADV_HUGEPAGE)
  // A fact index is read at random: huge pages spare it most misses of the
  // address cache, and a growing array takes a fault per 2 MB.
  madvise(Block, Size, MADV_HUGEPAGE);
#endif
  return Block;
}

void* AllocateLargeZeroed(std::size_t Size) {
  void* const Block = AllocateLarge(Size);
  if (Size < LargeBlock) std::memset(Block, 0, Size);
  return Block;
}

void FreeLarge(void* Block, std::size_t Size) noexcept {
  if (!Block) return;
  if (Size < LargeBlock) {
    ::operator delete(Block);
    return;
  }
  // Whole runs from the block's start become spares while there is room for
  // them; the pages past them go back to the system.
  std::size_t Kept = Size / RunBytes * RunBytes;
  {
    TSupply& S = Supply();
    const std::lock_guard<std::mutex> Guard(S.Lock);
    if (S.SpareBytes + Kept > SpareLimit) {
      Kept = 0;
    } else {
      S.Spares = ::new (Block) TRun{S.Spares, static_cast<char*>(Block) + Kept};
      S.SpareBytes += Kept;
    }
  }
  if (Kept < Size) munmap(static_cast<char*>(Block) + Kept, Size - Kept);
}

#else

void* AllocateLarge(std::size_t Size) { return ::operator new(Size); }
void* AllocateLargeZeroed(std::size_t Size) { return std::memset(::operator new(Size), 0, Size); }
void FreeLarge(void* Block, std::size_t) noexcept { ::operator delete(Block); }

#endif

void Spill(std::size_t Class) noexcept {
  TSizeCache& Cache = ThreadCaches.Sizes[Class];
  if (Cache.Limit == 0) {
    GiveBack(Cache, Class);
    return;
  }
  // The blocks freed last stay: they are the likeliest to be in the cache.
  const std::uint32_t Kept = Cache.Count / 2;
  TFreeBlock* Last = Cache.Free;
  for (std::uint32_t I = 1; I < Kept; ++I) Last = Last->Next;
  TFreeBlock* Passed = Last->Next;
  Last->Next = nullptr;
  const std::size_t Count = Cache.Count - Kept;
  Cache.Count = Kept;
  TSupply& S = Supply();
  const std::lock_guard<std::mutex> Guard(S.Lock);
  PushBatch(S, Class, Passed, Count);
}

}  // namespace cogent::pool
