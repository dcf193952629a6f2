#include "site/loader/Catalogue.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
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

bool IsDigitOrLetter(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z'); }

// "A1" of "Controller (rev A1)" or "Controller rev A1"; the case of letters is lost.
std::string RevisionOf(const std::string& name) {
  constexpr std::string_view kMark = "rev ";
  const std::string folded = FoldCase(name);
  const std::size_t mark = folded.find(kMark);
  if (mark == std::string::npos || (mark > 0 && IsDigitOrLetter(folded[mark - 1]))) return "";
  std::size_t end = mark + kMark.size();
  while (end < folded.size() && (IsDigitOrLetter(folded[end]) || folded[end] == '.')) ++end;
  return folded.substr(mark + kMark.size(), end - mark - kMark.size());
}

bool IsWithdrawn(const std::string& name) {
  const std::vector<std::string> words = WordsOf(name);
  return std::find(words.begin(), words.end(), "invalid") != words.end() ||
         std::find(words.begin(), words.end(), "obsolete") != words.end();
}

class Builder {
 public:
  Builder(const std::vector<BusList>& lists, const Keywords& keywords)
      : m_lists(lists), m_keywords(keywords) {}

  Catalogue Build(std::size_t wanted) {
    NumberManufacturers();
    for (const BusList& list : m_lists) AddBus(list);
    AddCopies(wanted);
    TellNamesApart();
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
    const Guess guess = GuessKind(device.name);
    Product product;
    product.manufacturerId = maker;
    product.supplierId = maker;
    product.numbers = {vendor.id, device.id, "", "", static_cast<int>(device.boards.size())};
    product.partNumber = vendor.id + ":" + device.id;
    product.makersNumber = device.id;
    AddProduct(product, device.name, guess);
    for (const IdsBoard& board : device.boards) {
      const auto subvendor = m_subvendors.find(board.subvendor);
      Product onBoard;
      onBoard.manufacturerId = subvendor == m_subvendors.end() ? maker : subvendor->second;
      onBoard.supplierId = maker;
      onBoard.numbers = {vendor.id, device.id, board.subvendor, board.subdevice, 0};
      onBoard.partNumber = product.partNumber + "/" + board.subvendor + ":" + board.subdevice;
      onBoard.makersNumber = board.subdevice;
      AddProduct(onBoard, board.name, GuessBoardKind(board.name, guess));
    }
  }

  void AddProduct(Product product, const std::string& name, const Guess& guess) {
    product.catalogId = static_cast<int>(m_catalogue.buses.size());
    product.listedName = name.empty() ? product.partNumber : CutToCharacters(name, kNameLimit);
    product.orderNumber = UniqueOrderNumber(m_catalogue.buses.back() + " " + product.partNumber);
    product.revision = RevisionOf(name);
    product.withdrawn = IsWithdrawn(name);
    product.remark = guess.remark;
    product.date = m_date;
    Append(std::move(product), guess.kind.value_or(m_keywords.Kinds().size()));
  }

  void Append(Product product, std::size_t kind) {
    product.id = static_cast<int>(m_catalogue.products.size()) + 1;
    if (!product.withdrawn)
      m_products[{product.catalogId, kind}].push_back(static_cast<std::size_t>(product.id) - 1);
    m_kinds.push_back(kind);
    m_catalogue.products.push_back(std::move(product));
  }

  // A list may name a board twice under one device.
  std::string UniqueOrderNumber(const std::string& number) {
    const int count = ++m_orderNumbers[FoldCase(number)];
    return count == 1 ? number : number + " #" + std::to_string(count);
  }

  void AddCopies(std::size_t wanted) {
    std::vector<Product>& products = m_catalogue.products;
    const std::size_t listed = products.size();
    if (listed == 0) return;
    while (products.size() < wanted) {
      const std::size_t original = products.size() % listed;
      Product copy = products[original];
      copy.copy = static_cast<int>(products.size() / listed);
      const std::string mark = "-" + std::to_string(copy.copy);
      copy.partNumber += mark;
      copy.orderNumber += mark;
      Append(std::move(copy), m_kinds[original]);
    }
  }

  void TellNamesApart() {
    std::unordered_map<std::string, int> uses;
    for (const Product& product : m_catalogue.products) ++uses[FoldCase(product.listedName)];
    std::unordered_set<std::string> taken;
    for (Product& product : m_catalogue.products) {
      product.name = product.listedName;
      if (uses[FoldCase(product.listedName)] > 1) product.name += " [" + product.partNumber + "]";
      if (!taken.insert(FoldCase(product.name)).second) {
        product.name = product.listedName + " [" + product.orderNumber + "]";
        taken.insert(FoldCase(product.name));
      }
    }
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
  // The kind of each product, and how often an order number was asked for.
  std::vector<std::size_t> m_kinds;
  std::unordered_map<std::string, int> m_orderNumbers;
};

}  // namespace

Catalogue BuildCatalogue(const std::vector<BusList>& lists, const Keywords& keywords, std::size_t wanted) {
  return Builder(lists, keywords).Build(wanted);
}

}  // namespace shop
