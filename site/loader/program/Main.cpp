// varnel-shop-load: the lists of PCI and USB devices to the shop's database.

#include <stdlib.h>

#include <charconv>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "site/loader/BuiltIn.h"
#include "site/loader/Catalogue.h"
#include "site/loader/DatabaseWriter.h"
#include "site/loader/IdsFile.h"
#include "site/loader/Keywords.h"
#include "site/loader/ServerWriter.h"

namespace {

constexpr char kUsage[] =
    "usage: varnel-shop-load OUT.db [--pci FILE] [--usb FILE] [--keywords FILE] [--products N]\n"
    "       varnel-shop-load --database \"Provider=PostgreSQL;Server=...;Database=...\" [--from OUT.db | the "
    "same options]\n"
    "       varnel-shop-load --database \"Driver={MariaDB Unicode};Server=...;Database=...\" likewise\n";

struct Options {
  std::filesystem::path database;
  // In place of a file: the connection string of a server's database.
  std::string server;
  // The file of an earlier run, whose tables go to the server; empty: they are made from the lists.
  std::filesystem::path from;
  std::filesystem::path pci = "/usr/share/misc/pci.ids";
  std::filesystem::path usb = "/usr/share/misc/usb.ids";
  // Empty: the table that is compiled in.
  std::filesystem::path keywords;
  // How many products there shall be at least; 0 for those of the lists alone.
  std::size_t products = 0;
};

// Ten million products are some gigabytes; beyond that a slip of the hand is likelier than a wish.
constexpr std::size_t kMostProducts = 10'000'000;

std::optional<std::size_t> ReadCount(std::string_view text) {
  std::size_t count = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (error != std::errc() || end != text.data() + text.size() || count > kMostProducts) return std::nullopt;
  return count;
}

std::filesystem::path* PathOption(Options& options, std::string_view name) {
  if (name == "--pci") return &options.pci;
  if (name == "--usb") return &options.usb;
  if (name == "--keywords") return &options.keywords;
  if (name == "--from") return &options.from;
  return nullptr;
}

std::optional<Options> ReadOptions(const std::vector<std::string>& arguments) {
  Options options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (std::filesystem::path* option = PathOption(options, arguments[i])) {
      if (++i == arguments.size()) return std::nullopt;
      *option = arguments[i];
    } else if (arguments[i] == "--products") {
      if (++i == arguments.size()) return std::nullopt;
      const std::optional<std::size_t> count = ReadCount(arguments[i]);
      if (!count) return std::nullopt;
      options.products = *count;
    } else if (arguments[i] == "--database") {
      if (++i == arguments.size()) return std::nullopt;
      options.server = arguments[i];
    } else if (options.database.empty() && !arguments[i].starts_with("-")) {
      options.database = arguments[i];
    } else {
      return std::nullopt;
    }
  }
  if (options.database.empty() == options.server.empty()) return std::nullopt;
  return options;
}

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("can't read " + path.string());
  return {std::istreambuf_iterator<char>(file), {}};
}

// By way of a file, which goes again.
void LoadServer(const shop::Catalogue& catalogue, const std::string& server) {
  std::string folder = (std::filesystem::temp_directory_path() / "varnel-shop-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("can't make " + folder);
  struct Remover {
    const std::string& folder;
    ~Remover() {
      std::error_code ignored;
      std::filesystem::remove_all(folder, ignored);
    }
  } const remover{folder};
  const std::filesystem::path file = std::filesystem::path(folder) / "shop.db";
  shop::WriteDatabase(catalogue, file);
  shop::WriteToServer(file, server);
}

void Load(const Options& options) {
  if (!options.server.empty() && !options.from.empty())
    return shop::WriteToServer(options.from, options.server);
  const shop::Keywords keywords =
      shop::Keywords::Parse(options.keywords.empty() ? shop::kKeywordsTsv : ReadFile(options.keywords));
  const shop::Catalogue catalogue = shop::BuildCatalogue(
      {{"PCI", shop::ParseIds(ReadFile(options.pci))}, {"USB", shop::ParseIds(ReadFile(options.usb))}},
      keywords, options.products);
  if (options.server.empty()) {
    shop::WriteDatabase(catalogue, options.database);
  } else {
    LoadServer(catalogue, options.server);
  }
  std::cout << (options.server.empty() ? options.database.string() : "the server's database") << ": "
            << catalogue.products.size() << " products of " << catalogue.manufacturers.size()
            << " manufacturers in " << catalogue.categories.size() << " categories\n";
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
