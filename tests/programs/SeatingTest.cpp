// The seating program: its instances, its checks, and runs of the rules
// against the search they must make.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "../../bench/programs/Seating.h"

namespace cogent::programs {
namespace {

TGuest Guest(const std::string& Name, char Sex, int Index, std::vector<std::string> Hobbies) {
  TGuest Result;
  Result.Name = Name;
  Result.Sex = Sex;
  Result.Index = Index;
  Result.Hobbies = std::move(Hobbies);
  return Result;
}

TEST(SeatingProgramTest, GeneratedGuestsCanBeSeatedAndAreAlwaysTheSame) {
  for (const int N : {4, 16, 32, 64, 128}) {
    SCOPED_TRACE(N);
    const std::vector<TGuest> Guests = GenerateSeating(N);
    ASSERT_EQ(Guests.size(), static_cast<std::size_t>(N));
    int Men = 0;
    for (const TGuest& Guest : Guests) {
      EXPECT_GE(Guest.Hobbies.size(), 1u);
      EXPECT_LE(Guest.Hobbies.size(), 3u);
      Men += Guest.Sex == 'm';
    }
    EXPECT_EQ(Men, N / 2);
    const TSeatingSearch Search = SimulateSeating(Guests);
    EXPECT_EQ(CheckSeating(Guests, Search.Seats), "");
    EXPECT_LE(Search.Nodes, 4 * N);
    const std::vector<TGuest> Again = GenerateSeating(N);
    for (std::size_t I = 0; I < Guests.size(); ++I) {
      EXPECT_EQ(Again[I].Name, Guests[I].Name);
      EXPECT_EQ(Again[I].Sex, Guests[I].Sex);
      EXPECT_EQ(Again[I].Hobbies, Guests[I].Hobbies);
    }
  }
  EXPECT_THROW(GenerateSeating(5), std::invalid_argument);
}

TEST(SeatingProgramTest, CheckFindsEveryKindOfBadSeating) {
  const std::vector<TGuest> Guests{Guest("a", 'm', 1, {"x"}), Guest("b", 'f', 2, {"x", "y"}),
                                   Guest("c", 'm', 3, {"y"}), Guest("d", 'f', 4, {"x", "y"})};
  EXPECT_EQ(CheckSeating(Guests, {"a", "b", "c", "d"}), "");
  EXPECT_EQ(CheckSeating(Guests, {"a", "b", "c"}), "3 seats filled for 4 guests");
  EXPECT_EQ(CheckSeating(Guests, {"a", "b", "c", "e"}), "seat 4 holds an unknown guest e");
  EXPECT_EQ(CheckSeating(Guests, {"a", "b", "c", "b"}), "b is seated twice");
  EXPECT_EQ(CheckSeating(Guests, {"a", "c", "b", "d"}), "seats 1 and 2 hold the same sex");
  const std::vector<TGuest> Strangers{Guest("a", 'm', 1, {"x"}), Guest("b", 'f', 2, {"x"}),
                                      Guest("c", 'm', 3, {"y"}), Guest("d", 'f', 4, {"x", "y"})};
  EXPECT_EQ(CheckSeating(Strangers, {"a", "b", "c", "d"}), "seats 2 and 3 share no hobby");
  // The circle closes: seat 4 sits next to seat 1.
  const std::vector<TGuest> Open{Guest("a", 'm', 1, {"x"}), Guest("b", 'f', 2, {"x", "y"}),
                                 Guest("c", 'm', 3, {"y"}), Guest("d", 'f', 4, {"y"})};
  EXPECT_EQ(CheckSeating(Open, {"a", "b", "c", "d"}), "seats 4 and 1 share no hobby");
}

// Taking the guests in index order seats a b c d e and leaves f, who likes
// only y, next to e, who likes only z: the search has to back up.
std::vector<TGuest> BackingUp() {
  return {Guest("a", 'm', 1, {"z", "y"}), Guest("b", 'f', 2, {"y", "z"}), Guest("c", 'm', 3, {"y", "z"}),
          Guest("d", 'f', 4, {"z", "y"}), Guest("e", 'm', 5, {"z"}), Guest("f", 'f', 6, {"y"})};
}

TEST(SeatingProgramTest, SimulationBacksUpAndGivesUp) {
  const std::vector<TGuest> Guests = BackingUp();
  const TSeatingSearch Search = SimulateSeating(Guests);
  EXPECT_EQ(CheckSeating(Guests, Search.Seats), "");
  EXPECT_EQ(Search.Seats, (std::vector<std::string>{"a", "b", "e", "d", "c", "f"}));
  EXPECT_EQ(Search.Nodes, 10);
  const std::vector<TGuest> Hopeless{Guest("a", 'm', 1, {"x"}), Guest("b", 'f', 2, {"x"}),
                                     Guest("c", 'm', 3, {"x"}), Guest("d", 'f', 4, {"y"})};
  EXPECT_TRUE(SimulateSeating(Hopeless).Seats.empty());
}

// Runs the rules; the search is the simulated one, firing for firing.
void ExpectRulesSeat(const std::vector<TGuest>& Guests) {
  TInferenceEngine Engine;
  LoadSeating(Engine, Guests);
  const std::int32_t Fired = Engine.Run();
  const TSeatingOutcome Outcome = ReadSeating(Engine);
  ASSERT_EQ(Outcome.State, "seated");
  EXPECT_EQ(CheckSeating(Guests, Outcome.Seats), "");
  const TSeatingSearch Expected = SimulateSeating(Guests);
  EXPECT_EQ(Outcome.Seats, Expected.Seats);
  EXPECT_EQ(Fired, Expected.Firings);
  // Only the full table's node and path are left.
  EXPECT_EQ(FactsOf(Engine, "seating").size(), Guests.size());
  EXPECT_TRUE(FactsOf(Engine, "copy").empty());
}

TEST(SeatingProgramTest, RulesSeatASmallTableWithBackingUp) { ExpectRulesSeat(BackingUp()); }

TEST(SeatingProgramTest, RulesSeatGeneratedTables) {
  for (const int N : {4, 16, 32}) {
    SCOPED_TRACE(N);
    ExpectRulesSeat(GenerateSeating(N));
  }
}

TEST(SeatingProgramTest, RulesGiveUpWhenNoSeatingExists) {
  TInferenceEngine Engine;
  LoadSeating(Engine, {Guest("a", 'm', 1, {"x"}), Guest("b", 'f', 2, {"x"}), Guest("c", 'm', 3, {"x"}),
                       Guest("d", 'f', 4, {"y"})});
  Engine.Run();
  EXPECT_EQ(ReadSeating(Engine).State, "failed");
}

}  // namespace
}  // namespace cogent::programs
