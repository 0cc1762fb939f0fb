#pragma once
// Blocks of a few fixed sizes for the small objects that working memory holds
// by the million (values, facts, tokens). A block carries no allocator header
// and comes off a free list of the calling thread, or off a run of fresh
// blocks that the thread took from a shared chunk, so that neither a new block
// nor a freed one takes a lock. A thread keeps a bounded number of freed
// blocks and passes the rest, and all it keeps when it ends, back to a shared
// supply that any thread draws on; a block may be freed by any thread. Chunks
// stay with the process for its life.
//
// A class takes part by naming COGENT_POOLED(itself) in its body; a few
// others call Allocate and Free with the size. Under AddressSanitizer the pool
// is off, so that every block is the sanitizer's and a use after free is
// caught.

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define COGENT_POOL_OFF 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define COGENT_POOL_OFF 1
#endif
#endif

namespace cogent::pool {

// Block sizes are multiples of the granule, from two words (what a batch of
// freed blocks keeps in each of its first two blocks) up to MaxBlock; larger
// objects, of classes derived from a pooled one, go to the global operator
// new.
constexpr std::size_t Granule = 8;
constexpr std::size_t MinBlock = 16;
constexpr std::size_t MaxBlock = 128;
constexpr std::size_t ClassCount = MaxBlock / Granule + 1;
// Freed blocks a thread keeps of one size before it passes half of them on.
constexpr std::uint32_t KeepLimit = 1024;

struct TFreeBlock {
  TFreeBlock* Next;
};

// One thread's blocks of one size: freed ones, then a run of fresh ones.
struct TSizeCache {
  TFreeBlock* Free = nullptr;
  char* Fresh = nullptr;
  char* FreshEnd = nullptr;
  std::uint32_t Count = 0;  // blocks on Free
  // 0 once the thread's caches are gone: every freed block goes back at once.
  std::uint32_t Limit = KeepLimit;
};

struct TThreadCaches {
  // Set once the thread has arranged to give its blocks back when it ends.
  bool Registered = false;
  TSizeCache Sizes[ClassCount];
};

// Trivially destroyed and constant initialised: reaching it costs no check,
// and it stays readable while other objects of the thread are destroyed.
inline constinit thread_local TThreadCaches ThreadCaches{};

constexpr std::size_t ClassOf(std::size_t Size) noexcept {
  return (Size < MinBlock ? MinBlock : Size + Granule - 1) / Granule;
}
constexpr std::size_t BlockSize(std::size_t Class) noexcept { return Class * Granule; }

// The paths that take the shared supply's lock.
void* Refill(std::size_t Class);
void Spill(std::size_t Class) noexcept;
void Register() noexcept;

#ifdef COGENT_POOL_OFF

inline void* Allocate(std::size_t Size) { return ::operator new(Size); }
inline void Free(void* Block, std::size_t) noexcept { ::operator delete(Block); }

#else

inline void* Allocate(std::size_t Size) {
  if (Size > MaxBlock) return ::operator new(Size);
  const std::size_t Class = ClassOf(Size);
  TSizeCache& Cache = ThreadCaches.Sizes[Class];
  if (TFreeBlock* Block = Cache.Free) {
    Cache.Free = Block->Next;
    --Cache.Count;
    return Block;
  }
  if (Cache.Fresh != Cache.FreshEnd) {
    void* Block = Cache.Fresh;
    Cache.Fresh += BlockSize(Class);
    return Block;
  }
  return Refill(Class);
}

inline void Free(void* Block, std::size_t Size) noexcept {
  if (!Block) return;
  if (Size > MaxBlock) {
    ::operator delete(Block);
    return;
  }
  if (!ThreadCaches.Registered) [[unlikely]]
    Register();
  const std::size_t Class = ClassOf(Size);
  TSizeCache& Cache = ThreadCaches.Sizes[Class];
  Cache.Free = ::new (Block) TFreeBlock{Cache.Free};
  if (++Cache.Count >= Cache.Limit) [[unlikely]]
    Spill(Class);
}

#endif

// Arrays as large as working memory, such as a module's fact list and the
// index over it: from LargeBlock on, pages of their own, so that pages past
// what was written are not resident. A freed one becomes fresh blocks of the
// pool, up to a bound, and the rest of it goes back to the system: an array
// outgrown while working memory grows is used up by the blocks it grows by.
constexpr std::size_t LargeBlock = 256 * 1024;
void* AllocateLarge(std::size_t Size);
// The same with every byte 0: pages of their own come so from the system,
// and only a smaller block is cleared.
void* AllocateLargeZeroed(std::size_t Size);
void FreeLarge(void* Block, std::size_t Size) noexcept;

// A standard allocator over a pair of block functions.
template <class T, void* (*AllocateBlock)(std::size_t), void (*FreeBlock)(void*, std::size_t) noexcept>
struct TBlockAllocator {
  using value_type = T;
  template <class U>
  struct rebind {
    using other = TBlockAllocator<U, AllocateBlock, FreeBlock>;
  };
  TBlockAllocator() noexcept = default;
  template <class U>
  TBlockAllocator(const TBlockAllocator<U, AllocateBlock, FreeBlock>&) noexcept {}
  T* allocate(std::size_t Count) {
    static_assert(alignof(T) <= Granule);
    if (Count > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_array_new_length();
    return static_cast<T*>(AllocateBlock(Count * sizeof(T)));
  }
  void deallocate(T* Items, std::size_t Count) noexcept { FreeBlock(Items, Count * sizeof(T)); }
  template <class U>
  bool operator==(const TBlockAllocator<U, AllocateBlock, FreeBlock>&) const noexcept {
    return true;
  }
};

// For the arrays of containers that hold a few small items each, such as
// the items of a short list: no allocator header, and a block of the
// pool's sizes instead of a heap chunk.
template <class T>
using TAllocator = TBlockAllocator<T, Allocate, Free>;

template <class T>
using TLargeAllocator = TBlockAllocator<T, AllocateLarge, FreeLarge>;

// An array that may grow as large as working memory: past LargeBlock its
// pages are huge ones where the system offers them, a fault per 2 MB.
template <class T>
using TLargeVector = std::vector<T, TLargeAllocator<T>>;

}  // namespace cogent::pool

// Class-level allocation from the pool. A derived class inherits it; the
// size passed on deletion is that of the object's own class, so derived
// objects of any size come and go alike.
#define COGENT_POOLED(Class)                                                 \
  static void* operator new(std::size_t Size) {                              \
    static_assert(alignof(Class) <= ::cogent::pool::Granule);                \
    return ::cogent::pool::Allocate(Size);                                   \
  }                                                                          \
  static void operator delete(void* Block, std::size_t Size) noexcept {      \
    ::cogent::pool::Free(Block, Size);                                       \
  }
