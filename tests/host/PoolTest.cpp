#include "cogent/host/Pool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

namespace cogent::test {

namespace {
// N words a block: 2 is the smallest block, whose batches keep their count
// in their second block.
template <std::size_t N>
struct TPooledThing {
  COGENT_POOLED(TPooledThing)
  std::uint64_t Words[N];
};
using TThing = TPooledThing<5>;

// What a thread made, each block filled with its own address.
template <class T = TThing>
std::vector<T*> MakeThings(std::size_t Count) {
  std::vector<T*> Things;
  for (std::size_t I = 0; I < Count; ++I) {
    auto* Thing = new T;
    for (std::uint64_t& Word : Thing->Words) Word = reinterpret_cast<std::uintptr_t>(Thing);
    Things.push_back(Thing);
  }
  return Things;
}

template <class T>
bool Intact(const std::vector<T*>& Things) {
  for (const T* Thing : Things)
    for (const std::uint64_t Word : Thing->Words)
      if (Word != reinterpret_cast<std::uintptr_t>(Thing)) return false;
  return true;
}

// More blocks than a thread keeps, so that freed ones pass through the
// shared supply; made in one thread, freed in another that then ends; then
// threads that make and free at once, over blocks other threads gave back.
template <class T>
void PassBlocksAcrossThreads() {
  constexpr std::size_t Count = 5000;
  std::vector<T*> Things;
  std::thread([&] { Things = MakeThings<T>(Count); }).join();
  ASSERT_TRUE(Intact(Things));
  EXPECT_EQ(std::set<T*>(Things.begin(), Things.end()).size(), Count);
  for (const T* Thing : Things) EXPECT_EQ(reinterpret_cast<std::uintptr_t>(Thing) % alignof(T), 0u);
  std::thread([&] {
    for (T* Thing : Things) delete Thing;
  }).join();

  std::vector<std::thread> Workers;
  std::vector<char> Good(4);
  for (std::size_t W = 0; W < Good.size(); ++W)
    Workers.emplace_back([&Good, W] {
      bool Ok = true;
      for (int Round = 0; Round < 20; ++Round) {
        const std::vector<T*> Mine = MakeThings<T>(700);
        Ok = Ok && Intact(Mine);
        for (T* Thing : Mine) delete Thing;
      }
      Good[W] = Ok;
    });
  for (std::thread& Worker : Workers) Worker.join();
  for (const char Ok : Good) EXPECT_TRUE(Ok);
}
}  // namespace

TEST(Pool, BlocksNeverOverlapWhileFreedOnesComeBackAcrossThreads) {
  PassBlocksAcrossThreads<TPooledThing<5>>();
  PassBlocksAcrossThreads<TPooledThing<2>>();
  // Sizes beyond the pool's pass through to the global allocator.
  void* Large = pool::Allocate(pool::MaxBlock + 1);
  std::memset(Large, 0, pool::MaxBlock + 1);
  pool::Free(Large, pool::MaxBlock + 1);
}

TEST(Pool, AnOutgrownLargeBlockBecomesFreshBlocks) {
  // Not a whole number of runs: the tail past the last whole run goes back to
  // the system, and what is kept must stay usable.
  const std::size_t Size = pool::LargeBlock + 5000;
  auto* Large = static_cast<char*>(pool::AllocateLarge(Size));
  std::memset(Large, 1, Size);
  pool::FreeLarge(Large, Size);
  const auto Start = reinterpret_cast<std::uintptr_t>(Large);
#ifdef COGENT_POOL_OFF
  const std::size_t Bound = 3000;
#else
  // Blocks that earlier tests freed are handed out first.
  const std::size_t Bound = 200000;
#endif
  std::vector<TThing*> Things;
  bool Reused = false;
  while (!Reused && Things.size() < Bound)
    for (TThing* Thing : MakeThings(1000)) {
      const auto Address = reinterpret_cast<std::uintptr_t>(Thing);
      Reused = Reused || (Address >= Start && Address < Start + Size);
      Things.push_back(Thing);
    }
  EXPECT_TRUE(Intact(Things));
  EXPECT_EQ(std::set<TThing*>(Things.begin(), Things.end()).size(), Things.size());
#ifndef COGENT_POOL_OFF
  EXPECT_TRUE(Reused);
#endif
  for (TThing* Thing : Things) delete Thing;
}

}  // namespace cogent::test
