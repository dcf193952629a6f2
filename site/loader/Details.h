// What a product sheet shows besides the product itself, each worked out from the lists by a fixed rule.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "site/loader/Catalogue.h"

namespace shop {

// A product's group tells which properties it can have, and which of them its sheet shows.
enum class PropertyGroup { Device = 1, Board = 2 };

// Numbers as in the table of properties, from 1; each stands there once.
enum class Property { Bus = 1, VendorId, DeviceId, SubvendorId, SubdeviceId, DeviceClass, Revision, Boards };

struct PropertyFacts {
  Property id;
  const char* name;
  // 1 for a number, 0 for text.
  int dataType;
};

struct GroupEntry {
  PropertyGroup group;
  Property property;
  bool inSheet;
  int sequence;
};

struct PropertyValue {
  Property property;
  std::string value;
};

const std::vector<PropertyFacts>& AllProperties();
const std::vector<GroupEntry>& PropertiesOfGroups();
PropertyGroup GroupOf(const Product& product);
std::vector<PropertyValue> PropertiesOf(const Catalogue& catalogue, const Product& product);

struct Attachment {
  // Position in the table of icons, from 1.
  int icon;
  std::string url;
  std::string description;
};

// File names of the icons, in the order of their ids.
const std::vector<std::string>& IconFiles();

// The entries of the public lists that speak of the product. A device that the list has no name for has none.
std::vector<Attachment> AttachmentsOf(const Catalogue& catalogue, const Product& product);

// Pairs of ids, product and alternative: products of the same name (revisions left aside) but of another
// maker or revision or number. At most four for a product.
std::vector<std::pair<int, int>> AlternativesOf(const Catalogue& catalogue);

struct Price {
  std::string group;
  std::string from;
  // Empty for a price without an end.
  std::string until;
  // In cents.
  int amount;
};

// Made up: nobody sells the whole list. A number worked out from the part number between 4.00 and 900.00 in
// 2024 rises by a twentieth a year; dealers (group "DEALER") pay seven eighths. Every sixteenth product has a
// new price each quarter.
std::vector<Price> PricesOf(const Product& product);

struct Favourite {
  std::string user;
  int productId;
  bool present;
  int folder;
  bool warehouse;
};

// What two demo users keep. "demo" has four favourites that were withdrawn since, "anna" three.
std::vector<Favourite> DemoFavourites(const Catalogue& catalogue);

}  // namespace shop
