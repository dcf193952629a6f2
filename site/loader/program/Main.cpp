// varnel-shop-load: the lists of PCI and USB devices to the shop's database.

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "site/loader/BuiltIn.h"
#include "site/loader/Catalogue.h"
#include "site/loader/DatabaseWriter.h"
#include "site/loader/IdsFile.h"
#include "site/loader/Keywords.h"

namespace {

constexpr char kUsage[] = "usage: varnel-shop-load OUT.db [--pci FILE] [--usb FILE] [--keywords FILE]\n";

struct Options {
  std::filesystem::path database;
  std::filesystem::path pci = "/usr/share/misc/pci.ids";
  std::filesystem::path usb = "/usr/share/misc/usb.ids";
  // Empty: the table that is compiled in.
  std::filesystem::path keywords;
};

std::filesystem::path* PathOption(Options& options, std::string_view name) {
  if (name == "--pci") return &options.pci;
  if (name == "--usb") return &options.usb;
  if (name == "--keywords") return &options.keywords;
  return nullptr;
}

std::optional<Options> ReadOptions(const std::vector<std::string>& arguments) {
  Options options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (std::filesystem::path* option = PathOption(options, arguments[i])) {
      if (++i == arguments.size()) return std::nullopt;
      *option = arguments[i];
    } else if (options.database.empty() && !arguments[i].starts_with("-")) {
      options.database = arguments[i];
    } else {
      return std::nullopt;
    }
  }
  if (options.database.empty()) return std::nullopt;
  return options;
}

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("can't read " + path.string());
  return {std::istreambuf_iterator<char>(file), {}};
}

void Load(const Options& options) {
  const shop::Keywords keywords =
      shop::Keywords::Parse(options.keywords.empty() ? shop::kKeywordsTsv : ReadFile(options.keywords));
  const shop::Catalogue catalogue = shop::BuildCatalogue(
      {{"PCI", shop::ParseIds(ReadFile(options.pci))}, {"USB", shop::ParseIds(ReadFile(options.usb))}},
      keywords);
  shop::WriteDatabase(catalogue, options.database);
  std::cout << options.database.string() << ": " << catalogue.products.size() << " products of "
            << catalogue.manufacturers.size() << " manufacturers in " << catalogue.categories.size()
            << " categories\n";
}

}  // namespace

int main(int argc, char** argv) {
  const std::optional<Options> options = ReadOptions({argv + 1, argv + argc});
  if (!options) {
    std::cerr << kUsage;
    return 2;
  }
  try {
    Load(*options);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "varnel-shop-load: " << error.what() << "\n";
    return 1;
  }
}
