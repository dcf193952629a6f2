#include "site/loader/Details.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "site/loader/Utf8Text.h"

namespace shop {
namespace {

Catalogue Build(std::size_t wanted = 0) {
  const IdsFile pci = ParseIds(
      "8086  Intel\n"
      "\t1533  Ethernet (rev 02)\n"
      "\t\t15d9 0003  Audio board\n"
      "\t\t15d9 0003  Audio board\n"
      "\t1534  Ethernet (rev 03)\n"
      "\t1535\n"
      "\t1536  Old adapter Invalid\n"
      "15d9  Acme\n"
      "\t0001  ETHERNET (rev 02)\n");
  const IdsFile usb = ParseIds("8086  Intel\n\t1533  Ethernet (rev 02)\n");
  return BuildCatalogue({{"PCI", pci}, {"USB", usb}}, Keywords::Parse("network adapters\tethernet\n"),
                        wanted);
}

std::vector<std::string> ValuesOf(const Catalogue& catalogue, std::size_t position) {
  std::vector<std::string> texts;
  for (const PropertyValue& each : PropertiesOf(catalogue, catalogue.products.at(position))) {
    texts.push_back(std::string(AllProperties().at(static_cast<std::size_t>(each.property) - 1).name) + ": " +
                    each.value);
  }
  return texts;
}

using Texts = std::vector<std::string>;

TEST(CatalogueKeys, NamesAndOrderNumbersAreUniqueWithoutRegardToCase) {
  const Catalogue catalogue = Build(40);
  std::set<std::string> names;
  std::set<std::string> numbers;
  for (const Product& product : catalogue.products) {
    EXPECT_TRUE(names.insert(FoldCase(product.name)).second) << product.name;
    EXPECT_TRUE(numbers.insert(FoldCase(product.orderNumber)).second) << product.orderNumber;
  }
  EXPECT_EQ(names.size(), 40U);
}

TEST(CatalogueKeys, ASharedNameBearsThePartNumberAndTheBusWhereThatIsSharedToo) {
  const Catalogue catalogue = Build();
  EXPECT_EQ(catalogue.products[0].name, "Ethernet (rev 02) [8086:1533]");
  EXPECT_EQ(catalogue.products[3].name, "Ethernet (rev 03)");
  EXPECT_EQ(catalogue.products[6].name, "ETHERNET (rev 02) [15d9:0001]");
  EXPECT_EQ(catalogue.products[7].name, "Ethernet (rev 02) [USB 8086:1533]");
}

TEST(CatalogueKeys, ABoardThatIsListedTwiceIsCountedInItsOrderNumber) {
  const Catalogue catalogue = Build();
  EXPECT_EQ(catalogue.products[1].orderNumber, "PCI 8086:1533/15d9:0003");
  EXPECT_EQ(catalogue.products[2].orderNumber, "PCI 8086:1533/15d9:0003 #2");
}

TEST(CatalogueCopies, FillUpToTheWantedNumberAndKeepTheirKind) {
  const Catalogue catalogue = Build(20);
  ASSERT_EQ(catalogue.products.size(), 20U);
  EXPECT_EQ(catalogue.products[8].partNumber, "8086:1533-1");
  EXPECT_EQ(catalogue.products[8].categoryId, catalogue.products[0].categoryId);
  EXPECT_EQ(catalogue.products[16].partNumber, "8086:1533-2");
}

TEST(CatalogueCopies, FewerThanTheListsHaveMeansNone) { EXPECT_EQ(Build(3).products.size(), 8U); }

TEST(CatalogueWithdrawn, AnInvalidDeviceStandsInNoCategory) {
  const Product withdrawn = Build().products.at(5);
  EXPECT_TRUE(withdrawn.withdrawn);
  EXPECT_EQ(withdrawn.categoryId, 0);
}

TEST(CatalogueSuppliers, ABoardIsSuppliedByTheMakerOfItsDevice) {
  const Catalogue catalogue = Build();
  EXPECT_EQ(catalogue.products[1].supplierId, catalogue.products[0].manufacturerId);
  EXPECT_NE(catalogue.products[1].supplierId, catalogue.products[1].manufacturerId);
}

TEST(Details, ADeviceTellsItsNumbersClassRevisionAndBoards) {
  EXPECT_EQ(ValuesOf(Build(), 0),
            (Texts{"Bus: PCI", "Vendor id: 8086", "Device id: 1533", "Class: network adapters",
                   "Revision: 02", "Subsystems in the list: 2"}));
}

TEST(Details, ABoardTellsItsSubsystem) {
  EXPECT_EQ(ValuesOf(Build(), 1),
            (Texts{"Bus: PCI", "Vendor id: 8086", "Device id: 1533", "Subsystem vendor id: 15d9",
                   "Subsystem id: 0003", "Class: network adapters"}));
}

TEST(Details, AlternativesShareTheNameButForTheRevision) {
  const auto pairs = AlternativesOf(Build());
  const auto has = [&](int product, int alternative) {
    return std::find(pairs.begin(), pairs.end(), std::pair(product, alternative)) != pairs.end();
  };
  EXPECT_TRUE(has(1, 4));  // another revision
  EXPECT_TRUE(has(1, 7));  // another maker
  EXPECT_TRUE(has(4, 1));
  EXPECT_FALSE(has(1, 1));
  EXPECT_FALSE(has(1, 2));
}

TEST(Details, AttachmentsLeadToThePublicLists) {
  const Catalogue catalogue = Build();
  const std::vector<Attachment> board = AttachmentsOf(catalogue, catalogue.products.at(1));
  ASSERT_EQ(board.size(), 2U);
  EXPECT_EQ(board[1].url, "https://admin.pci-ids.ucw.cz/read/PC/8086/1533/15d90003");
  EXPECT_TRUE(AttachmentsOf(catalogue, catalogue.products.at(4)).empty()) << "a device without a name";
}

TEST(Details, PricesFollowEachOtherWithoutAGapAndTheLastHasNoEnd) {
  const std::vector<Price> prices = PricesOf(Build().products.at(0));
  ASSERT_EQ(prices.size(), 6U);
  EXPECT_EQ(prices[0].from, "2024-01-01 00:00:00");
  EXPECT_EQ(prices[0].until, "2024-12-31 00:00:00");
  EXPECT_EQ(prices[2].from, "2026-01-01 00:00:00");
  EXPECT_EQ(prices[2].until, "");
  EXPECT_GE(prices[0].amount, 400);
  EXPECT_EQ(prices[1].amount, prices[0].amount + prices[0].amount / 20);
  EXPECT_EQ(prices[3].group, "DEALER");
  EXPECT_EQ(prices[3].amount, prices[0].amount - prices[0].amount / 8);
}

TEST(Details, EverySixteenthProductHasAPriceEachQuarter) {
  Product product = Build().products.at(0);
  product.id = 32;
  const std::vector<Price> prices = PricesOf(product);
  ASSERT_EQ(prices.size(), 24U);
  EXPECT_EQ(prices[1].from, "2024-04-01 00:00:00");
  EXPECT_EQ(prices[0].until, "2024-03-31 00:00:00");
}

TEST(Details, DemoHasFourWithdrawnFavouritesAndAnnaThree) {
  std::string list = "0001  Maker\n";
  for (int id = 1000; id < 4000; ++id)
    list +=
        "\t" + std::to_string(id) + "  Device " + std::to_string(id) + (id % 500 == 0 ? " obsolete\n" : "\n");
  const Catalogue catalogue = BuildCatalogue({{"PCI", ParseIds(list)}}, Keywords::Parse(""));
  int demo = 0;
  int anna = 0;
  for (const Favourite& each : DemoFavourites(catalogue)) {
    if (!catalogue.products.at(static_cast<std::size_t>(each.productId) - 1).withdrawn) continue;
    ++(each.user == "demo" ? demo : anna);
  }
  EXPECT_EQ(demo, 4);
  EXPECT_EQ(anna, 3);
}

}  // namespace
}  // namespace shop
