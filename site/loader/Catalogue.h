// The catalogue as values: what the database writer writes, numbered and in order.
#pragma once

#include <string>
#include <vector>

#include "site/loader/IdsFile.h"
#include "site/loader/Keywords.h"

namespace shop {

// The devices of one bus; each bus becomes a catalogue of its own.
struct BusList {
  std::string bus;
  IdsFile ids;
};

struct Manufacturer {
  int id = 0;
  std::string name;
  // The bus and vendor id under which the name comes first, such as "PCI 8086".
  std::string code;
};

struct Category {
  int id = 0;
  int catalogId = 0;
  std::string name;
};

// What a product's numbers in its list are: the device's, and the board's where it is one.
struct DeviceNumbers {
  std::string vendor;
  std::string device;
  std::string subvendor;
  std::string subdevice;
  // Boards that the list knows with this device; 0 for a board.
  int boards = 0;

  bool IsBoard() const { return !subvendor.empty(); }
};

struct Product {
  int id = 0;
  int catalogId = 0;
  int manufacturerId = 0;
  // The maker under whose devices the list has the product: for a board the maker of the device on it.
  int supplierId = 0;
  // 0 for a withdrawn product.
  int categoryId = 0;
  // Place in the category, from 1, in the order of the names.
  int sequence = 0;
  DeviceNumbers numbers;
  // "8086:1533" for a device, "8086:1533/15d9:0003" for a board with it.
  std::string partNumber;
  // The bus and the part number, and a count where that isn't enough: no two products share it.
  std::string orderNumber;
  // The maker's own number: the device's id, or the subdevice's of a board.
  std::string makersNumber;
  // The name in the list, and the one in the catalogue, which tells a product from others of its name.
  std::string listedName;
  std::string name;
  // What "(rev 02)" in the name tells; empty without it.
  std::string revision;
  // The list calls it invalid or obsolete: it stands in no category any more.
  bool withdrawn = false;
  // 0 for a product of the lists; a copy, made to fill a catalogue for load tests, is numbered from 1.
  int copy = 0;
  // How the category was found.
  std::string remark;
  std::string date;
};

struct Catalogue {
  // Names of the buses; the catalogue's id is the position, from 1.
  std::vector<std::string> buses;
  // Each with id = position + 1: manufacturers in the order of their names, categories in the order of the
  // buses and then of the kinds, products in the order of the lists, a device before its boards.
  std::vector<Manufacturer> manufacturers;
  std::vector<Category> categories;
  std::vector<Product> products;
};

// Every device and every board is a product. A board's maker is its subvendor, or, where the list doesn't
// know that one, the vendor of the device. The category is the bus and the kind that the board's or device's
// name tells; a board whose name tells none takes the kind of its device. Names are cut to 200 characters.
// Equal names of vendors (but for the case of A to Z) are one manufacturer.
//
// The catalogue's lists are sorted by the name alone or by the order number alone, so neither may occur twice
// (the case of A to Z ignored): where products share a name, each bears its part number behind it.
//
// `wanted`: how many products there shall be; where the lists have fewer, copies of them fill up. 0 for no
// copies.
Catalogue BuildCatalogue(const std::vector<BusList>& lists, const Keywords& keywords, std::size_t wanted = 0);

}  // namespace shop
