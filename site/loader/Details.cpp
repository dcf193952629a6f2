#include "site/loader/Details.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "site/loader/Utf8Text.h"

namespace shop {
namespace {

const std::string& BusOf(const Catalogue& catalogue, const Product& product) {
  return catalogue.buses.at(static_cast<std::size_t>(product.catalogId) - 1);
}

// The kind of its category: "PCI network adapters" without the bus.
std::string ClassOf(const Catalogue& catalogue, const Product& product) {
  if (product.categoryId == 0) return "";
  const std::string& category =
      catalogue.categories.at(static_cast<std::size_t>(product.categoryId) - 1).name;
  return category.substr(BusOf(catalogue, product).size() + 1);
}

// The name without its revision, in which a successor differs from its forerunner.
std::string NameWithoutRevision(const Product& product) {
  std::string name = FoldCase(product.listedName);
  if (product.revision.empty()) return name;
  const std::string mark = "rev " + product.revision;
  name.erase(name.find(mark), mark.size());
  return name;
}

// FNV-1a: the same number for the same text on every machine.
std::uint32_t NumberOf(std::string_view text) {
  std::uint32_t hash = 2166136261U;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  return hash;
}

constexpr int kFirstYear = 2024;
constexpr int kLastYear = 2026;
constexpr std::size_t kMostAlternatives = 4;

struct Period {
  std::string from;
  std::string until;
  // Steps of the price since the first period; a year has `stepsOfYear`.
  int step;
  int stepsOfYear;
};

std::vector<Period> YearlyPeriods() {
  std::vector<Period> periods;
  for (int year = kFirstYear; year <= kLastYear; ++year) {
    const std::string name = std::to_string(year);
    const bool last = year == kLastYear;
    periods.push_back({name + "-01-01 00:00:00", last ? "" : name + "-12-31 00:00:00", year - kFirstYear, 1});
  }
  return periods;
}

std::vector<Period> QuarterlyPeriods() {
  constexpr const char* kBegins[] = {"-01-01 00:00:00", "-04-01 00:00:00", "-07-01 00:00:00",
                                     "-10-01 00:00:00"};
  constexpr const char* kEnds[] = {"-03-31 00:00:00", "-06-30 00:00:00", "-09-30 00:00:00",
                                   "-12-31 00:00:00"};
  std::vector<Period> periods;
  for (int year = kFirstYear; year <= kLastYear; ++year) {
    for (int quarter = 0; quarter < 4; ++quarter) {
      const std::string name = std::to_string(year);
      const bool last = year == kLastYear && quarter == 3;
      periods.push_back(
          {name + kBegins[quarter], last ? "" : name + kEnds[quarter], (year - kFirstYear) * 4 + quarter, 4});
    }
  }
  return periods;
}

void AddPrices(std::vector<Price>& prices, const std::string& group, int amount,
               const std::vector<Period>& periods) {
  for (const Period& period : periods)
    prices.push_back(
        {group, period.from, period.until, amount + amount * period.step / (20 * period.stepsOfYear)});
}

}  // namespace

const std::vector<PropertyFacts>& AllProperties() {
  static const std::vector<PropertyFacts> all = {
      {Property::Bus, "Bus", 0},
      {Property::VendorId, "Vendor id", 0},
      {Property::DeviceId, "Device id", 0},
      {Property::SubvendorId, "Subsystem vendor id", 0},
      {Property::SubdeviceId, "Subsystem id", 0},
      {Property::DeviceClass, "Class", 0},
      {Property::Revision, "Revision", 0},
      {Property::Boards, "Subsystems in the list", 1},
  };
  return all;
}

const std::vector<GroupEntry>& PropertiesOfGroups() {
  static const std::vector<GroupEntry> all = {
      {PropertyGroup::Device, Property::DeviceClass, true, 1},
      {PropertyGroup::Device, Property::Bus, true, 2},
      {PropertyGroup::Device, Property::Revision, true, 3},
      {PropertyGroup::Device, Property::Boards, true, 4},
      {PropertyGroup::Device, Property::VendorId, false, 5},
      {PropertyGroup::Device, Property::DeviceId, false, 6},
      {PropertyGroup::Board, Property::DeviceClass, true, 1},
      {PropertyGroup::Board, Property::Bus, true, 2},
      {PropertyGroup::Board, Property::Revision, true, 3},
      {PropertyGroup::Board, Property::VendorId, false, 4},
      {PropertyGroup::Board, Property::DeviceId, false, 5},
      {PropertyGroup::Board, Property::SubvendorId, false, 6},
      {PropertyGroup::Board, Property::SubdeviceId, false, 7},
  };
  return all;
}

PropertyGroup GroupOf(const Product& product) {
  return product.numbers.IsBoard() ? PropertyGroup::Board : PropertyGroup::Device;
}

std::vector<PropertyValue> PropertiesOf(const Catalogue& catalogue, const Product& product) {
  const DeviceNumbers& numbers = product.numbers;
  std::vector<PropertyValue> values = {{Property::Bus, BusOf(catalogue, product)},
                                       {Property::VendorId, numbers.vendor},
                                       {Property::DeviceId, numbers.device}};
  const auto addKnown = [&](Property property, const std::string& value) {
    if (!value.empty()) values.push_back({property, value});
  };
  addKnown(Property::SubvendorId, numbers.subvendor);
  addKnown(Property::SubdeviceId, numbers.subdevice);
  addKnown(Property::DeviceClass, ClassOf(catalogue, product));
  addKnown(Property::Revision, product.revision);
  if (numbers.boards > 0) values.push_back({Property::Boards, std::to_string(numbers.boards)});
  return values;
}

const std::vector<std::string>& IconFiles() {
  static const std::vector<std::string> files = {"IconDevice.svg", "IconBoard.svg"};
  return files;
}

std::vector<Attachment> AttachmentsOf(const Catalogue& catalogue, const Product& product) {
  const DeviceNumbers& numbers = product.numbers;
  if (product.listedName == product.partNumber || product.copy > 0) return {};
  if (BusOf(catalogue, product) == "USB")
    return {{1, "https://usb-ids.gowdy.us/read/UD/" + numbers.vendor + "/" + numbers.device,
             "The device in the USB ID list"}};
  const std::string device = "https://admin.pci-ids.ucw.cz/read/PC/" + numbers.vendor + "/" + numbers.device;
  std::vector<Attachment> attachments = {{1, device, "The device in the PCI ID list"}};
  if (numbers.IsBoard())
    attachments.push_back(
        {2, device + "/" + numbers.subvendor + numbers.subdevice, "The board in the PCI ID list"});
  return attachments;
}

std::vector<std::pair<int, int>> AlternativesOf(const Catalogue& catalogue) {
  std::unordered_map<std::string, std::vector<const Product*>> byName;
  for (const Product& product : catalogue.products)
    if (product.copy == 0) byName[NameWithoutRevision(product)].push_back(&product);

  std::vector<std::pair<int, int>> pairs;
  for (const Product& product : catalogue.products) {
    if (product.copy > 0) continue;
    const std::vector<const Product*>& namesakes = byName[NameWithoutRevision(product)];
    std::size_t found = 0;
    for (const Product* other : namesakes) {
      if (other->id == product.id) continue;
      pairs.emplace_back(product.id, other->id);
      if (++found == kMostAlternatives) break;
    }
  }
  return pairs;
}

std::vector<Price> PricesOf(const Product& product) {
  static const std::vector<Period> yearly = YearlyPeriods();
  static const std::vector<Period> quarterly = QuarterlyPeriods();
  const int amount = 400 + static_cast<int>(NumberOf(product.partNumber) % 89600U);
  const std::vector<Period>& periods = product.id % 16 == 0 ? quarterly : yearly;
  std::vector<Price> prices;
  AddPrices(prices, "", amount, periods);
  AddPrices(prices, "DEALER", amount - amount / 8, periods);
  return prices;
}

std::vector<Favourite> DemoFavourites(const Catalogue& catalogue) {
  std::vector<int> current;
  std::vector<int> withdrawn;
  for (const Product& product : catalogue.products) {
    if (product.withdrawn) {
      withdrawn.push_back(product.id);
    } else if (product.id % 1009 == 0) {
      current.push_back(product.id);
    }
  }
  const auto take = [](const std::vector<int>& ids, std::size_t from, std::size_t count) {
    if (from >= ids.size()) return std::vector<int>();
    const std::size_t end = from + count < ids.size() ? from + count : ids.size();
    return std::vector<int>(ids.begin() + static_cast<std::ptrdiff_t>(from),
                            ids.begin() + static_cast<std::ptrdiff_t>(end));
  };

  std::vector<Favourite> favourites;
  const auto keep = [&](const char* user, const std::vector<int>& ids, int folder, bool warehouse) {
    for (const int id : ids) favourites.push_back({user, id, true, folder, warehouse});
  };
  keep("demo", take(current, 0, 24), 0, false);
  keep("demo", take(current, 24, 6), 1, false);
  keep("demo", take(current, 30, 5), 0, true);
  keep("demo", take(withdrawn, 0, 4), 0, false);
  keep("anna", take(current, 20, 9), 0, false);
  keep("anna", take(withdrawn, 1, 3), 0, false);
  return favourites;
}

}  // namespace shop
