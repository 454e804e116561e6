// The change feed: who hears a change, in which order, and what a change covers.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/change_feed.h"

namespace velmora {
namespace {

TEST(ChangeFeed, EveryListenerHearsEveryChangeInTheOrderItSubscribed) {
  ChangeFeed feed;
  std::vector<std::string> heard;
  feed.Subscribe([&](const Change& c) { heard.push_back("a" + std::to_string(c.first)); });
  feed.Subscribe([&](const Change& c) { heard.push_back("b" + std::to_string(c.first)); });
  feed.Subscribe([&](const Change& c) { heard.push_back("c" + std::to_string(c.first)); });
  feed.Publish(Change::Memory(1, 2));
  feed.Publish(Change::Register(7));
  EXPECT_EQ(heard, (std::vector<std::string>{"a1", "b1", "c1", "a7", "b7", "c7"}));
}

TEST(ChangeFeed, AnUnsubscribedListenerHearsNothingMoreAndTheOthersGoOn) {
  ChangeFeed feed;
  std::vector<Change> first, second, third;
  const int a = feed.Subscribe([&](const Change& c) { first.push_back(c); });
  const int b = feed.Subscribe([&](const Change& c) { second.push_back(c); });
  feed.Subscribe([&](const Change& c) { third.push_back(c); });
  EXPECT_NE(a, b);
  feed.Publish(Change::State(1));
  feed.Unsubscribe(b);
  feed.Unsubscribe(b);      // twice is harmless
  feed.Unsubscribe(12345);  // so is an id never given
  feed.Publish(Change::State(0));
  EXPECT_EQ(first, (std::vector<Change>{Change::State(1), Change::State(0)}));
  EXPECT_EQ(second, std::vector<Change>{Change::State(1)});
  EXPECT_EQ(third, first);
  // An id is never handed out again, so an old one cannot remove a newer listener.
  const int d = feed.Subscribe([](const Change&) {});
  EXPECT_NE(d, a);
  EXPECT_NE(d, b);
}

TEST(Change, WhatEachKindCovers) {
  struct Case {
    Change change;
    int32_t address;
    bool covered;
  };
  const Case kCases[] = {
      {Change::Memory(0x100, 0x1FF), 0x0FF, false},
      {Change::Memory(0x100, 0x1FF), 0x100, true},
      {Change::Memory(0x100, 0x1FF), 0x1FF, true},
      {Change::Memory(0x100, 0x1FF), 0x200, false},
      {Change::All(RefreshTarget::MemoryView), 0xFFFFFF, true},
      {Change::Memory(-1, -1), 0, true},
      {Change::Register(0xFE12), 0xFE12, true},
      {Change::Register(0xFE12), 0xFE13, false},
      {Change::All(RefreshTarget::RegisterList), 0xFE12, true},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(std::to_string(c.change.first) + ".." + std::to_string(c.change.last) + " @" +
                 std::to_string(c.address));
    EXPECT_EQ(c.change.Covers(c.address), c.covered);
  }
  EXPECT_EQ(Change::State(3), (Change{RefreshTarget::StatusText, 3, 3}));
  EXPECT_EQ(Change::All(RefreshTarget::Disassembly), (Change{RefreshTarget::Disassembly, -1, -1}));
}

}  // namespace
}  // namespace velmora
