#include "host-linux/command/NewCommand.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>

#include "host-linux/application/KnownEngines.h"
#include "host-linux/base/Ascii.h"
#include "host-linux/command/NewSiteFiles.h"
#include "host-linux/services/SiteConfiguration.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {

namespace {

constexpr std::string_view kNamePlace = "[%Name%]";
constexpr char kTableScript[] = "elements.sql";
constexpr char kConnection[] = "Elements_ConnectionString";

// The name stands in addresses, in HTML and in site.toml, and must need no encoding in any of them.
bool IsGoodName(const std::string& name) {
  const auto fits = [](char c) { return IsAlphanumeric(c) || c == '-' || c == '_'; };
  return !name.empty() && IsAlphanumeric(name[0]) && std::all_of(name.begin(), name.end(), fits);
}

// "a/b/" and "a/b" are the same folder b, and "." is called as the folder that it is.
std::string NameOf(const std::filesystem::path& folder) {
  const auto path = std::filesystem::absolute(folder).lexically_normal();
  return (path.has_filename() ? path : path.parent_path()).filename().string();
}

void MakeEmptyFolder(const std::filesystem::path& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) throw std::runtime_error(folder.string() + " can't be made: " + error.message());
  if (!std::filesystem::is_empty(folder, error) || error)
    throw std::runtime_error(folder.string() + " is there already and isn't empty");
}

std::string WithName(std::string_view text, const std::string& name) {
  std::string result(text);
  for (auto at = result.find(kNamePlace); at != std::string::npos; at = result.find(kNamePlace, at)) {
    result.replace(at, kNamePlace.size(), name);
    at += name.size();
  }
  return result;
}

void WriteNewFile(const std::filesystem::path& path, const std::string& content) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file << content;
  file.close();
  if (!file) throw std::runtime_error(path.string() + " can't be written");
}

// The database that the new site's connection string names.
void MakeDatabase(const std::filesystem::path& folder, const std::string& script) {
  const SiteConfiguration site = LoadSiteConfiguration(folder);
  const ConnectionString connection(varnel::ToText(site.application.at(kConnection)));
  EngineOf(KnownEngines(), connection).MakeDatabase(connection, site.folder, script);
}

int RunNew(const std::string& folder, const std::string& program) {
  try {
    MakeNewSite(folder);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnel: %s\n", error.what());
    return 1;
  }
  const std::string name = NameOf(folder);
  std::printf(
      "The site %s is made. Next:\n\n"
      "  %s serve %s    # and open http://127.0.0.1:8080/%s/\n\n"
      "Its pages lie in %s/pages: index.asp says hello, list.asp shows a table.\n",
      name.c_str(), program.c_str(), folder.c_str(), name.c_str(), folder.c_str());
  return 0;
}

}  // namespace

void MakeNewSite(const std::filesystem::path& folder) {
  const std::string name = NameOf(folder);
  if (!IsGoodName(name))
    throw std::runtime_error("'" + name +
                             "' can't be a site's name, which addresses begin with: "
                             "take letters, digits, '-' and '_', and begin with a letter or a digit");
  MakeEmptyFolder(folder);
  std::string script;
  for (const NewSiteFile& file : NewSiteFiles()) {
    const std::string content = WithName(file.content, name);
    WriteNewFile(folder / file.path, content);
    if (file.path == kTableScript) script = content;
  }
  MakeDatabase(folder, script);
}

void AddNewCommand(CLI::App& app, int& status) {
  const auto folder = std::make_shared<std::string>();
  CLI::App* command = app.add_subcommand("new", "Make a new site: a folder with pages that run at once");
  command->add_option("NAME", *folder, "The site's name, or a path that ends with it")->required();
  command->callback([folder, &app, &status] { status = RunNew(*folder, app.get_name()); });
}

}  // namespace hostlinux
