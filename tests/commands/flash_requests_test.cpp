// The flash dialog's side of the driver operations: which units it offers, the lines it
// lists, the decoded status word, the typed passwords, and operations over several
// sections run against the virtual TOLVANE board.
#include "commands/flash_requests.h"

#include <gtest/gtest.h>

#include "commands/flash_operations.h"
#include "formats/memory_file.h"
#include "wire_reader.h"

namespace velmora {
namespace {

using namespace test;

MemoryUnit unitWith(std::vector<std::string> features) {
  MemoryUnit unit;
  unit.features = std::move(features);
  return unit;
}

TEST(FlashRequests, FeatureTableNamesAndControls) {
  struct Case {
    FlashFeature feature;
    const char* name;
    bool sections;
    bool passwords;
  };
  const Case kCases[] = {
      {FlashFeature::Erase, "ERASE", true, false},
      {FlashFeature::Protect, "PROTECT", false, true},
      {FlashFeature::Unprotect, "UNPROTECT", false, true},
      {FlashFeature::Lock, "LOCK", true, true},
      {FlashFeature::Unlock, "UNLOCK", true, true},
      {FlashFeature::Status, "STATUS", true, false},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(FlashFeatureName(c.feature), c.name);
    EXPECT_EQ(FlashFeatureNamed(c.name), c.feature);
    EXPECT_EQ(FlashFeatureUsesSections(c.feature), c.sections);
    EXPECT_EQ(FlashFeatureUsesPasswords(c.feature), c.passwords);
  }
  EXPECT_FALSE(FlashFeatureNamed("PROGRAM").has_value());
  EXPECT_FALSE(FlashFeatureNamed("erase").has_value());
}

TEST(FlashRequests, UnitsOfferingAFeatureInUnitOrder) {
  const std::vector<MemoryUnit> units = {unitWith({"PROGRAM"}), unitWith({"STATUS", "ERASE"}),
                                         unitWith({}), unitWith({"ERASE"}), unitWith({"erase"})};
  EXPECT_EQ(UnitsOffering(units, FlashFeature::Erase), (std::vector<int>{1, 3}));
  EXPECT_EQ(UnitsOffering(units, FlashFeature::Status), (std::vector<int>{1}));
  EXPECT_TRUE(UnitsOffering(units, FlashFeature::Lock).empty());
}

TEST(FlashRequests, SectionLinesShowRegionsWhereTheyAreSeen) {
  MemoryUnit unit;
  MemoryRegion mapped{0x010000, 0x100, true, 0xC00000, "SYSCON", 1, true};
  MemoryRegion unmapped{0x020000, 0x200, true, 0xC10000, "SYSCON", 1, false};
  MemoryRegion plain;
  plain.length = 0x8000;
  MemoryRegion small;
  small.startAddress = 0x30;
  small.length = 0x10;
  unit.sections = {MemorySection{{plain}}, MemorySection{{mapped, unmapped, small}}};
  EXPECT_EQ(
      FlashSectionLines(unit),
      (std::vector<std::string>{"Section 0: 000000 - 007FFF",
                                "Section 1: C00000 - C000FF,020000 - 0201FF,000030 - 00003F"}));
}

TEST(FlashRequests, StatusWordLinesAndTheirDecoding) {
  EXPECT_EQ(StatusWordLine(0, 0x0005), "Statusword 0: 0005");
  EXPECT_EQ(StatusWordLine(12, 0xABCD), "Statusword 12: ABCD");

  StatusWord texts{};
  texts[0] = {"A", 1};
  texts[1] = {"B", 2};
  texts[8] = {"VERSION", 8};
  texts[4] = {"UNUSED", 0};  // a text without a width says nothing
  struct Case {
    int32_t word;
    const char* tip;
  };
  const Case kCases[] = {
      {0x0005, "B=2 A=1 "},  // the field above bit 0 covers bit 2 as its high bit
      {0x0000, ""},          // nothing set
      {0x0010, ""},          // a set bit without a named field
      {0x0102, "VERSION=1 B=1 "},
      {0xFF07, "VERSION=255 B=3 A=1 "},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.word);
    EXPECT_EQ(DecodeStatusWord(texts, c.word), c.tip);
  }
}

TEST(FlashRequests, PasswordsAreHexadecimalPiecesBetweenCommas) {
  struct Case {
    const char* typed;
    std::vector<uint8_t> bytes;
  };
  const Case kCases[] = {
      {"3,A,5,C,1,F,7,E", {0x03, 0x0A, 0x05, 0x0C, 0x01, 0x0F, 0x07, 0x0E}},
      {"4B, 4f,52", {0x4B, 0x4F, 0x52}},
      {"", {0x00}},  // an empty text is one empty piece, the number 0
      {"1,,2", {0x01, 0x00, 0x02}},
      {"ZZ,12", {0xFF, 0x12}},  // no number
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.typed);
    EXPECT_EQ(ParsePasswords(c.typed), c.bytes);
  }
  EXPECT_EQ(ParsePasswords(kDefaultFlashPasswords).size(), 8U);
}

class FlashRequestsOnBoard : public WireFixture {
 protected:
  FlashRequestsOnBoard() {
    LoadMemoryFile((home.path() / "MEMDEF" / "TOLVANE.MEM").string(), settings.target.units, log);
    iflash = FindMemoryUnit(settings.target.units, "IFLASH");
  }
  std::vector<int32_t> CalledSectors(uint8_t function) {
    std::vector<int32_t> sectors;
    for (const WireCommand& c : ParseCommands(TakeSent()))
      if (c.code == kCall && c.registers[0] == function) sectors.push_back(c.registers[6]);
    return sectors;
  }
  int iflash = -1;
};

TEST_F(FlashRequestsOnBoard, EraseRunsOncePerSectionInTheGivenOrder) {
  ConnectAndMark();
  board->memory().StoreLoaded(0xC02000, Bytes(16, 0x00));
  board->memory().StoreLoaded(0xC10000, Bytes(16, 0x00));
  ASSERT_EQ(RunFlashRequest(*link, {FlashFeature::Erase, iflash, {5, 1, 3}, {}}), 0);
  EXPECT_EQ(CalledSectors(driver_function::kErase), (std::vector<int32_t>{5, 1, 3}));
  const Texts lines = NewLines();
  const Texts erased(lines.end() - 3, lines.end());
  EXPECT_EQ(erased, (Texts{"*Erase: Sector 5 in IFLASH successfully erased",
                           "*Erase: Sector 1 in IFLASH successfully erased",
                           "*Erase: Sector 3 in IFLASH successfully erased"}));
  EXPECT_EQ(OnBoard(0xC02000, 16), Bytes(16, 0xFF));
  EXPECT_EQ(OnBoard(0xC10000, 16), Bytes(16, 0xFF));
  EXPECT_EQ(frontend.progress.back(), (RecordedProgress{"Erase", 3, 3}));
}

TEST_F(FlashRequestsOnBoard, ARefusedSectionDoesNotStopTheOthers) {
  ConnectAndMark();
  ASSERT_EQ(RunFlashRequest(*link, {FlashFeature::Lock, iflash, {2}, {}}), 0);
  Mark();
  EXPECT_EQ(RunFlashRequest(*link, {FlashFeature::Erase, iflash, {2, 4}, {}}),
            flash_status::kCallFailed);
  EXPECT_EQ(NewLines(), (Texts{"*ERROR: Erase not successful",
                               "*Erase: Sector 4 in IFLASH successfully erased"}));
}

TEST_F(FlashRequestsOnBoard, ProtectionRunsOnceWhateverSectionsAreGiven) {
  ConnectAndMark();
  const Bytes korda = {'K', 'O', 'R', 'D', 'A'};
  ASSERT_EQ(RunFlashRequest(*link, {FlashFeature::Protect, iflash, {1, 2}, {}}), 0);
  EXPECT_EQ(CalledSectors(driver_function::kProtect).size(), 1U);
  EXPECT_EQ(RunFlashRequest(*link, {FlashFeature::Unprotect, iflash, {}, ParsePasswords("1,2")}),
            flash_status::kCallFailed);
  ASSERT_EQ(RunFlashRequest(*link, {FlashFeature::Unprotect, iflash, {}, korda}), 0);
  EXPECT_EQ(NewLines().back(), "*Unprotect: IFLASH successfully unprotected");
}

TEST_F(FlashRequestsOnBoard, StatusWordsAreReadInOrder) {
  ConnectAndMark();
  board->flash().units()[0].errors = 0x0005;
  const auto words = ReadStatusWords(*link, iflash);
  ASSERT_EQ(words.size(), 3U);  // the unit names three status words
  EXPECT_EQ(words[0], 0x0005);
  EXPECT_EQ(words[2], 0x0102);
  EXPECT_EQ(
      DecodeStatusWord(settings.target.units[static_cast<size_t>(iflash)].statusWords[0], words[0]),
      "PROGRAM_ERROR=1 BUSY=1 ");
}

TEST_F(FlashRequestsOnBoard, NothingIsCalledWithoutTheMonitor) {
  EXPECT_EQ(RunFlashRequest(*link, {FlashFeature::Erase, iflash, {0, 1}, {}}), 0);
  EXPECT_TRUE(ReadStatusWords(*link, iflash).empty());
  EXPECT_TRUE(Lines().empty());
}

}  // namespace
}  // namespace velmora
