#pragma once
// The seating program's instances and checks: guests around a table,
// neighbours of opposite sex sharing a hobby.
//
// The generator hides a solution: it seats the guests around the table
// first, alternating in sex, gives every two neighbours a hobby in common,
// then shuffles the guests. The search the rules make is followed here step
// for step (SimulateSeating), so that an instance whose search would go
// astray for long is passed over for the next seed, and so that a run of the
// program can be compared with the seating and the number of firings it
// must give.

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "ProgramSupport.h"

namespace cogent::programs {

struct TGuest {
  std::string Name;
  char Sex = 'm';
  int Index = 0;  // 1-based; guest 1 takes seat 1
  std::vector<std::string> Hobbies;  // one to three, distinct
};

inline bool ShareHobby(const TGuest& A, const TGuest& B) {
  for (const std::string& Hobby : A.Hobbies)
    if (std::find(B.Hobbies.begin(), B.Hobbies.end(), Hobby) != B.Hobbies.end()) return true;
  return false;
}

// The search of seating.kb, run directly: the seating it ends with (names by
// seat, empty when there is none), the nodes it made and the rules it fires.
// The firings are exact for a seating found, where every clean-up fires
// before the run ends; giving up halts with some of it left.
struct TSeatingSearch {
  std::vector<std::string> Seats;
  std::int64_t Nodes = 0;
  std::int64_t Firings = 0;
};

// With MaxNodes above 0 the search stops, unsuccessful, after that many nodes.
inline TSeatingSearch SimulateSeating(const std::vector<TGuest>& Guests, std::int64_t MaxNodes = 0) {
  TSeatingSearch Result;
  const int N = static_cast<int>(Guests.size());
  struct TNode {
    int Guest;   // index into Guests
    int Cursor;  // 1-based guest index tried next
  };
  std::vector<TNode> Path{{0, 1}};  // the current node's path; the node is its last entry
  std::vector<bool> Seated(static_cast<std::size_t>(N), false);
  Seated[0] = true;
  Result.Nodes = 1;
  Result.Firings = 1;  // the first guest
  while (true) {
    TNode& Node = Path.back();
    const int Seat = static_cast<int>(Path.size());
    if (Node.Cursor > N) {
      if (Path.size() == 1) {
        ++Result.Firings;  // give-up
        return Result;
      }
      // back-up, then the clean-up of the node's path and of the node.
      Result.Firings += 1 + Seat + 1;
      Seated[static_cast<std::size_t>(Node.Guest)] = false;
      Path.pop_back();
      continue;
    }
    const TGuest& Current = Guests[static_cast<std::size_t>(Node.Guest)];
    const int Candidate = Node.Cursor - 1;
    const TGuest& Next = Guests[static_cast<std::size_t>(Candidate)];
    ++Node.Cursor;
    ++Result.Firings;  // taken or skipped
    const bool Last = Seat + 1 == N;
    if (Next.Sex == Current.Sex || Seated[static_cast<std::size_t>(Candidate)] || !ShareHobby(Current, Next)) continue;
    if (Last && (Next.Sex == Guests[0].Sex || !ShareHobby(Next, Guests[0]))) continue;
    if (MaxNodes > 0 && Result.Nodes >= MaxNodes) return Result;
    Path.push_back({Candidate, 1});
    Seated[static_cast<std::size_t>(Candidate)] = true;
    ++Result.Nodes;
    Result.Firings += Seat + 1;  // the parent's path copied, and the copy closed
    if (Last) {
      for (const TNode& Entry : Path) Result.Seats.push_back(Guests[static_cast<std::size_t>(Entry.Guest)].Name);
      return Result;
    }
  }
}

inline const std::vector<std::string>& SeatingHobbies() {
  static const std::vector<std::string> Hobbies{"chess", "golf", "music", "hiking", "cooking", "sailing"};
  return Hobbies;
}

// N guests (N even, at least 4) with a seating that the search finds within
// NodeLimit nodes; the same N always gives the same guests.
inline std::vector<TGuest> GenerateSeating(int N, std::int64_t NodeLimit = 0) {
  if (N < 4 || N % 2 != 0) throw std::invalid_argument("seating needs an even number of guests, at least 4");
  if (NodeLimit <= 0) NodeLimit = 4 * static_cast<std::int64_t>(N);
  const std::vector<std::string>& Hobbies = SeatingHobbies();
  const int HobbyCount = static_cast<int>(Hobbies.size());
  for (std::uint64_t Seed = static_cast<std::uint64_t>(N);; Seed += 1000) {
    TRandom Random(Seed);
    // The hobby that places P and P + 1 (round the table) have in common.
    std::vector<int> Shared(static_cast<std::size_t>(N));
    for (int& Hobby : Shared) Hobby = Random.Below(HobbyCount);
    std::vector<TGuest> ByPlace(static_cast<std::size_t>(N));
    for (int Place = 0; Place < N; ++Place) {
      TGuest& Guest = ByPlace[static_cast<std::size_t>(Place)];
      Guest.Sex = Place % 2 == 0 ? 'm' : 'f';
      std::vector<int> Own{Shared[static_cast<std::size_t>((Place + N - 1) % N)],
                           Shared[static_cast<std::size_t>(Place)]};
      if (Random.Below(2) == 0) Own.push_back(Random.Below(HobbyCount));
      for (int Hobby : Own)
        if (std::find(Guest.Hobbies.begin(), Guest.Hobbies.end(), Hobbies[static_cast<std::size_t>(Hobby)]) ==
            Guest.Hobbies.end())
          Guest.Hobbies.push_back(Hobbies[static_cast<std::size_t>(Hobby)]);
    }
    // Guests are numbered in a shuffled order, so that the search does not
    // meet them in the order of the hidden seating.
    std::vector<int> Order(static_cast<std::size_t>(N));
    for (int I = 0; I < N; ++I) Order[static_cast<std::size_t>(I)] = I;
    for (int I = N - 1; I > 0; --I) std::swap(Order[static_cast<std::size_t>(I)], Order[static_cast<std::size_t>(Random.Below(I + 1))]);
    std::vector<TGuest> Guests;
    for (int I = 0; I < N; ++I) {
      TGuest Guest = ByPlace[static_cast<std::size_t>(Order[static_cast<std::size_t>(I)])];
      Guest.Index = I + 1;
      Guest.Name = "guest-" + std::to_string(I + 1);
      Guests.push_back(std::move(Guest));
    }
    if (!SimulateSeating(Guests, NodeLimit).Seats.empty()) return Guests;
  }
}

// Empty when Seats (names by seat, seat 1 first) seats every guest once
// round the table with alternating sexes and a shared hobby between
// neighbours; otherwise what is wrong.
inline std::string CheckSeating(const std::vector<TGuest>& Guests, const std::vector<std::string>& Seats) {
  std::map<std::string, const TGuest*> ByName;
  for (const TGuest& Guest : Guests) ByName[Guest.Name] = &Guest;
  if (Seats.size() != Guests.size())
    return std::to_string(Seats.size()) + " seats filled for " + std::to_string(Guests.size()) + " guests";
  std::set<std::string> Seen;
  for (std::size_t Seat = 0; Seat < Seats.size(); ++Seat) {
    const auto Found = ByName.find(Seats[Seat]);
    if (Found == ByName.end()) return "seat " + std::to_string(Seat + 1) + " holds an unknown guest " + Seats[Seat];
    if (!Seen.insert(Seats[Seat]).second) return Seats[Seat] + " is seated twice";
  }
  for (std::size_t Seat = 0; Seat < Seats.size(); ++Seat) {
    const TGuest& A = *ByName[Seats[Seat]];
    const TGuest& B = *ByName[Seats[(Seat + 1) % Seats.size()]];
    const std::string Pair = "seats " + std::to_string(Seat + 1) + " and " + std::to_string((Seat + 1) % Seats.size() + 1);
    if (A.Sex == B.Sex) return Pair + " hold the same sex";
    if (!ShareHobby(A, B)) return Pair + " share no hobby";
  }
  return "";
}

// ---------------------------------------------------------------- the engine

// The guests and the table as facts; a guest with fewer than three hobbies
// repeats its first.
inline void AssertSeating(TInferenceEngine& Engine, const std::vector<TGuest>& Guests) {
  TFactBuilder(Engine, "table").Set("size", static_cast<std::int32_t>(Guests.size())).Assert();
  for (const TGuest& Guest : Guests) {
    TFactBuilder Fact(Engine, "guest");
    Fact.Set("name", Guest.Name).Set("sex", std::string(1, Guest.Sex)).Set("index", Guest.Index);
    static const char* const Slots[3] = {"h1", "h2", "h3"};
    for (std::size_t H = 0; H < 3; ++H) Fact.Set(Slots[H], Guest.Hobbies[H < Guest.Hobbies.size() ? H : 0]);
    Fact.Assert();
  }
}

// The state the program ended in: the context's state, and for `seated`
// the names by seat.
struct TSeatingOutcome {
  std::string State;
  std::vector<std::string> Seats;
};

inline TSeatingOutcome ReadSeating(const TInferenceEngine& Engine) {
  TSeatingOutcome Outcome;
  const std::vector<IFact> Contexts = FactsOf(Engine, "context");
  if (Contexts.size() != 1) {
    Outcome.State = std::to_string(Contexts.size()) + " context facts";
    return Outcome;
  }
  Outcome.State = SlotText(Contexts[0], "state");
  if (Outcome.State != "seated") return Outcome;
  const std::int32_t Node = SlotInt(Contexts[0], "node");
  std::map<std::int32_t, std::string> BySeat;
  for (const IFact& Path : FactsOf(Engine, "path"))
    if (SlotInt(Path, "id") == Node && !BySeat.emplace(SlotInt(Path, "seat"), SlotText(Path, "name")).second)
      Outcome.State = "seat " + std::to_string(SlotInt(Path, "seat")) + " filled twice";
  std::int32_t Expected = 1;
  for (const auto& [Seat, Name] : BySeat) {
    if (Seat != Expected++) Outcome.State = "seat " + std::to_string(Expected - 1) + " missing from the path";
    Outcome.Seats.push_back(Name);
  }
  return Outcome;
}

// The program parsed into Engine, reset, with the guests asserted: ready to
// run.
inline void LoadSeating(TInferenceEngine& Engine, const std::vector<TGuest>& Guests) {
  static const std::string Program = ReadProgram("seating.kb");
  Engine.Parse(Program, false);
  Engine.Reset();
  AssertSeating(Engine, Guests);
}

}  // namespace cogent::programs
