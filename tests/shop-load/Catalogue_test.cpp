#include "site/loader/Catalogue.h"

#include <gtest/gtest.h>

#include <string>

namespace shop {
namespace {

Catalogue Build() {
  const Keywords keywords = Keywords::Parse("sound\taudio\nnetwork\tethernet\n");
  const IdsFile pci = ParseIds(
      "# Date: 2023-04-10 20:08:02\n"
      "8086  Intel\n"
      "\t1533  Ethernet 1\n"
      "\t\t15d9 0003  Audio board\n"
      "\t\t15d9 0004  Plain board\n"
      "\t\tffff 0005  Board of a stranger\n"
      "\t0001  ethernet 0\n"
      "\t0002\n"
      "15d9  Acme\n"
      "7777\n"
      "\t0009  Audio\n");
  const IdsFile usb = ParseIds("1234  INTEL\n\t0001  Audio stick\n\t0002  Thing\n");
  return BuildCatalogue({{"PCI", pci}, {"USB", usb}}, keywords);
}

std::string MakerOf(const Catalogue& catalogue, std::size_t position) {
  return catalogue.manufacturers
      .at(static_cast<std::size_t>(catalogue.products.at(position).manufacturerId) - 1)
      .name;
}

std::string CategoryOf(const Catalogue& catalogue, std::size_t position) {
  return catalogue.categories.at(static_cast<std::size_t>(catalogue.products.at(position).categoryId) - 1)
      .name;
}

TEST(Catalogue, EveryDeviceAndEveryBoardIsAProductNumberedFromOne) {
  const Catalogue catalogue = Build();
  ASSERT_EQ(catalogue.products.size(), 9U);
  for (std::size_t i = 0; i < catalogue.products.size(); ++i)
    EXPECT_EQ(catalogue.products[i].id, static_cast<int>(i) + 1);
  EXPECT_EQ(catalogue.products[0].partNumber, "8086:1533");
  EXPECT_EQ(catalogue.products[0].makersNumber, "1533");
  EXPECT_EQ(catalogue.products[1].partNumber, "8086:1533/15d9:0003");
  EXPECT_EQ(catalogue.products[1].makersNumber, "0003");
  EXPECT_EQ(catalogue.products[8].partNumber, "1234:0002");
}

TEST(Catalogue, ADeviceWithoutANameGoesByItsPartNumber) { EXPECT_EQ(Build().products[5].name, "8086:0002"); }

TEST(Catalogue, TheMakerOfABoardIsItsSubvendorWhereTheListKnowsIt) {
  const Catalogue catalogue = Build();
  EXPECT_EQ(MakerOf(catalogue, 0), "Intel");
  EXPECT_EQ(MakerOf(catalogue, 1), "Acme");
  EXPECT_EQ(MakerOf(catalogue, 3), "Intel");
}

TEST(Catalogue, ManufacturersAreNumberedByNameAndEqualNamesAreOne) {
  const Catalogue catalogue = Build();
  ASSERT_EQ(catalogue.manufacturers.size(), 3U);
  EXPECT_EQ(catalogue.manufacturers[0].name, "Acme");
  EXPECT_EQ(catalogue.manufacturers[1].name, "Intel");
  EXPECT_EQ(catalogue.manufacturers[1].code, "PCI 8086");
  EXPECT_EQ(catalogue.manufacturers[2].name, "PCI 7777");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(catalogue.manufacturers[static_cast<std::size_t>(i)].id, i + 1);
  EXPECT_EQ(MakerOf(catalogue, 7), "Intel");
}

TEST(Catalogue, TheCategoryIsTheBusAndTheKindOfTheName) {
  const Catalogue catalogue = Build();
  EXPECT_EQ(CategoryOf(catalogue, 0), "PCI network");
  EXPECT_EQ(CategoryOf(catalogue, 1), "PCI sound");
  EXPECT_EQ(CategoryOf(catalogue, 5), "PCI other devices");
  EXPECT_EQ(CategoryOf(catalogue, 7), "USB sound");
  EXPECT_EQ(CategoryOf(catalogue, 8), "USB other devices");
  ASSERT_EQ(catalogue.categories.size(), 5U);
  EXPECT_EQ(catalogue.categories[0].name, "PCI sound");
  EXPECT_EQ(catalogue.categories[4].catalogId, 2);
}

TEST(Catalogue, ABoardWhoseNameTellsNothingTakesTheKindOfItsDevice) {
  EXPECT_EQ(CategoryOf(Build(), 2), "PCI network");
}

TEST(Catalogue, TheRemarkTellsHowTheCategoryWasFound) {
  const Catalogue catalogue = Build();
  EXPECT_EQ(catalogue.products[0].remark, "The category was guessed from the name.");
  EXPECT_EQ(catalogue.products[2].remark,
            "The category was guessed from the name of the device on the board.");
  EXPECT_EQ(catalogue.products[8].remark, "No word of the name tells the category.");
}

TEST(Catalogue, ProductsStandInTheirCategoryInTheOrderOfTheirNames) {
  const Catalogue catalogue = Build();
  // "Board of a stranger", "ethernet 0", "Ethernet 1", "Plain board".
  EXPECT_EQ(catalogue.products[3].sequence, 1);
  EXPECT_EQ(catalogue.products[4].sequence, 2);
  EXPECT_EQ(catalogue.products[0].sequence, 3);
  EXPECT_EQ(catalogue.products[2].sequence, 4);
}

TEST(Catalogue, ProductsBearTheDateOfTheirList) {
  const Catalogue catalogue = Build();
  EXPECT_EQ(catalogue.products[0].date, "2023-04-10 20:08:02");
  EXPECT_EQ(catalogue.products[8].date, "2000-01-01 00:00:00");
}

TEST(Catalogue, LongNamesAreCut) {
  const IdsFile ids = ParseIds("0001  A\n\t0001  " + std::string(300, 'x') + "\n");
  const Catalogue catalogue = BuildCatalogue({{"PCI", ids}}, Keywords::Parse(""));
  EXPECT_EQ(catalogue.products.at(0).name, std::string(200, 'x'));
}

}  // namespace
}  // namespace shop
