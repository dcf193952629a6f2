#include "site/loader/Catalogue.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

#include "site/loader/Utf8Text.h"

namespace shop {
namespace {

constexpr std::size_t kNameLimit = 200;
constexpr char kFixedDate[] = "2000-01-01 00:00:00";
constexpr char kGuessedFromName[] = "The category was guessed from the name.";
constexpr char kGuessedFromDevice[] = "The category was guessed from the name of the device on the board.";
constexpr char kNotGuessed[] = "No word of the name tells the category.";
constexpr char kOtherKind[] = "other devices";

struct Guess {
  std::optional<std::size_t> kind;
  const char* remark = kNotGuessed;
};

// A vendor without a name goes by its number, so that its devices have a maker too.
std::string MakerName(const BusList& list, const IdsVendor& vendor) {
  return vendor.name.empty() ? list.bus + " " + vendor.id : CutToCharacters(vendor.name, kNameLimit);
}

class Builder {
 public:
  Builder(const std::vector<BusList>& lists, const Keywords& keywords)
      : m_lists(lists), m_keywords(keywords) {}

  Catalogue Build() {
    NumberManufacturers();
    for (const BusList& list : m_lists) AddBus(list);
    NumberCategories();
    SequenceProducts();
    return std::move(m_catalogue);
  }

 private:
  void NumberManufacturers() {
    for (const BusList& list : m_lists) {
      for (const IdsVendor& vendor : list.ids.vendors) {
        const std::string name = MakerName(list, vendor);
        m_makers.try_emplace(FoldCase(name), Manufacturer{0, name, list.bus + " " + vendor.id});
      }
    }
    for (auto& [key, maker] : m_makers) {
      maker.id = static_cast<int>(m_catalogue.manufacturers.size()) + 1;
      m_catalogue.manufacturers.push_back(maker);
    }
  }

  int MakerOf(const BusList& list, const IdsVendor& vendor) const {
    return m_makers.at(FoldCase(MakerName(list, vendor))).id;
  }

  Guess GuessKind(const std::string& name) const {
    const std::optional<std::size_t> kind = m_keywords.KindOf(name);
    return kind ? Guess{kind, kGuessedFromName} : Guess{};
  }

  Guess GuessBoardKind(const std::string& name, const Guess& device) const {
    const Guess own = GuessKind(name);
    if (own.kind || !device.kind) return own;
    return {device.kind, kGuessedFromDevice};
  }

  void AddBus(const BusList& list) {
    m_catalogue.buses.push_back(list.bus);
    m_subvendors.clear();
    for (const IdsVendor& vendor : list.ids.vendors)
      m_subvendors.try_emplace(vendor.id, MakerOf(list, vendor));
    m_date = list.ids.date.empty() ? kFixedDate : list.ids.date;
    for (const IdsVendor& vendor : list.ids.vendors) {
      const int maker = MakerOf(list, vendor);
      for (const IdsDevice& device : vendor.devices) AddDevice(maker, vendor, device);
    }
  }

  void AddDevice(int maker, const IdsVendor& vendor, const IdsDevice& device) {
    const std::string partNumber = vendor.id + ":" + device.id;
    const Guess guess = GuessKind(device.name);
    AddProduct(maker, partNumber, device.id, device.name, guess);
    for (const IdsBoard& board : device.boards) {
      const auto subvendor = m_subvendors.find(board.subvendor);
      AddProduct(subvendor == m_subvendors.end() ? maker : subvendor->second,
                 partNumber + "/" + board.subvendor + ":" + board.subdevice, board.subdevice, board.name,
                 GuessBoardKind(board.name, guess));
    }
  }

  void AddProduct(int maker, const std::string& partNumber, const std::string& makersNumber,
                  const std::string& name, const Guess& guess) {
    Product product;
    product.id = static_cast<int>(m_catalogue.products.size()) + 1;
    product.catalogId = static_cast<int>(m_catalogue.buses.size());
    product.manufacturerId = maker;
    product.partNumber = partNumber;
    product.makersNumber = makersNumber;
    product.name = name.empty() ? partNumber : CutToCharacters(name, kNameLimit);
    product.remark = guess.remark;
    product.date = m_date;
    const std::size_t kind = guess.kind.value_or(m_keywords.Kinds().size());
    m_products[{product.catalogId, kind}].push_back(static_cast<std::size_t>(product.id) - 1);
    m_catalogue.products.push_back(std::move(product));
  }

  // Only categories that hold products are made.
  void NumberCategories() {
    const std::vector<std::string>& kinds = m_keywords.Kinds();
    for (const auto& [place, members] : m_products) {
      const auto& [catalogId, kind] = place;
      const int id = static_cast<int>(m_catalogue.categories.size()) + 1;
      const std::string& bus = m_catalogue.buses[static_cast<std::size_t>(catalogId) - 1];
      const std::string kindName = kind < kinds.size() ? kinds[kind] : std::string(kOtherKind);
      m_catalogue.categories.push_back({id, catalogId, bus + " " + kindName});
      for (const std::size_t member : members) m_catalogue.products[member].categoryId = id;
    }
  }

  void SequenceProducts() {
    std::vector<Product>& products = m_catalogue.products;
    std::vector<std::string> keys(products.size());
    std::transform(products.begin(), products.end(), keys.begin(),
                   [](const Product& p) { return FoldCase(p.name); });
    for (auto& [place, members] : m_products) {
      std::stable_sort(members.begin(), members.end(),
                       [&](std::size_t a, std::size_t b) { return keys[a] < keys[b]; });
      int sequence = 0;
      for (const std::size_t member : members) products[member].sequence = ++sequence;
    }
  }

  const std::vector<BusList>& m_lists;
  const Keywords& m_keywords;
  Catalogue m_catalogue;
  // Manufacturers by folded name, which is the order of the database too.
  std::map<std::string, Manufacturer> m_makers;
  std::unordered_map<std::string, int> m_subvendors;
  std::string m_date;
  // Positions of the products by catalogue and kind; "other" is the kind behind the last.
  std::map<std::pair<int, std::size_t>, std::vector<std::size_t>> m_products;
};

}  // namespace

Catalogue BuildCatalogue(const std::vector<BusList>& lists, const Keywords& keywords) {
  return Builder(lists, keywords).Build();
}

}  // namespace shop
