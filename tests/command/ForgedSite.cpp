#include "tests/command/ForgedSite.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>

#include "tests/Sanitizers.h"

namespace hosttest {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

#ifdef VARNEL_HAS_ADDRESS_SANITIZER
constexpr long kMostMemory = 2000;  // megabytes: the sanitizer's own share is the greater part
#else
constexpr long kMostMemory = 400;
#endif

constexpr char kOwnPage[] = R"(<%@ Language=JavaScript %><%
var page = Server.CreateObject("Varnel.Page"); page.OpenDatabaseConnection("QuenbyConnection");
var rs = page.DRecordset(); rs.SetRecCountON(); rs.SetPageJump(true, 10);
if (Request.Form("p").Count > 0) rs.SetPageState(Request.Form("s") + "", Number(Request.Form("p") + "")); else rs.SetState(Request.Form("s") + "");
try {
  rs.OpenRS("SELECT PRODUCTID, PARTNUMBER, PRODUCTDESCRIPTION FROM PRODUCT P", "PRODUCTID");
} catch (e) { Response.Write("caught"); throw e; }
for (; !rs.EOF; rs.MoveNext()) Response.Write(rs("PRODUCTID") + " " + rs("PARTNUMBER") + "\n");
%>shown)";

constexpr char kNodePage[] = R"(<%@ Language=JavaScript %><%
var c = Server.CreateObject("ADODB.Connection"); c.Open(Application("QuenbyConnection_ConnectionString"));
Response.Write(c.Execute("SELECT MIN(N.NODEID) FROM CATALOGNODE N, PRODUCTSBYCATEGORY B WHERE B.CATEGORYID = N.CATEGORYID")(0) + "");
%>)";

constexpr char kSinglePage[] = R"(<%
var page = Server.CreateObject("Varnel.Page"); page.OpenDatabaseConnection("Demo");
var rs = page.DRecordset(); rs.SetPageSize(3); rs.SetPageJump(true, 10); rs.SetRecCountON();
rs.OpenRS("SELECT id AS PRODUCTNUMBER, C.id, C.name FROM customer C", "C.id");
for (; !rs.EOF; rs.MoveNext()) Response.Write(rs("id") + " " + rs("name") + "\n");
for (var n = rs.m_leftPageNumber; n <= rs.m_rightPageNumber; n++) Response.Write(rs.GetUrlForPage(n) + "\n");
%>)";

// As the lists of devices are written: vendors, and behind a tab their devices.
std::string Devices() {
  std::string text;
  int number = 0x1000;
  for (const char* vendor : {"8086  Intel Corporation", "10ec  Realtek", "15b7  Sandisk Corp"}) {
    text += std::string(vendor) + "\n";
    for (int i = 0; i < 25; ++i) {
      char device[64];
      std::snprintf(device, sizeof device, "\t%04x  Ethernet Controller %d\n", number++, i);
      text += device;
    }
  }
  return text;
}

// What a guard refuses is no failure: the log's file is looked at in the end.
constexpr char kLog[] = "\n[log]\nfile = \"site.log\"\n";

std::string WithLinks(const std::string& configuration, const std::string& links) {
  const std::string line = "links = \"" + links + "\"";
  if (configuration.find("\n[lists]") == std::string::npos)
    return configuration + "\n[lists]\n" + line + "\n";
  return std::regex_replace(configuration, std::regex("\nlinks *= *\"[a-z]*\""), "\n" + line);
}

void MakeVault(const TestSite& site, const std::string& database) {
  site.RunSql(
      std::string("CREATE TABLE vault (secret TEXT); INSERT INTO vault VALUES ('") + kVaultMark + "');",
      database);
}

// A small catalogue of its own, or a copy of the one that the environment names: that of the whole shop.
void MakeCatalogue(const TestSite& site) {
  if (const char* loaded = std::getenv("VARNEL_TEST_CATALOGUE")) {
    fs::copy_file(loaded, site.Folder() / "shop.db");
    return;
  }
  site.Write("devices.ids", Devices());
  const std::string devices = " '" + (site.Folder() / "devices.ids").string() + "'";
  const std::string load = std::string(VARNEL_SHOP_LOADER) + " '" + (site.Folder() / "shop.db").string() +
                           "' --pci" + devices + " --usb" + devices + " > /dev/null";
  if (std::system(load.c_str()) != 0) throw std::runtime_error("the shop can't be loaded");
}

// The most memory that a process has held at a time, in megabytes.
long MostMemoryOf(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("VmHWM:")) return std::stol(line.substr(6)) / 1024;
  }
  return -1;
}

}  // namespace

void MakeShop(const TestSite& site, const std::string& links) {
  const fs::path shop = fs::path(VARNEL_SOURCE_DIR) / "site";
  for (const char* folder : {"pages", "messages"}) {
    fs::copy(shop / folder, site.Folder() / folder,
             fs::copy_options::recursive | fs::copy_options::overwrite_existing);
  }
  fs::copy_file(shop / "site.toml", site.Folder() / "site.toml", fs::copy_options::overwrite_existing);
  site.Write("site.toml", WithLinks(site.Read("site.toml"), links) + kLog);
  site.WritePage("own.asp", kOwnPage);
  site.WritePage("node.asp", kNodePage);
  MakeCatalogue(site);
  MakeVault(site, "shop.db");
}

void MakeSinglePage(const TestSite& site) {
  site.MakeCustomers(10);
  MakeVault(site, "demo.db");
  site.Write("site.toml",
             "[site]\nroot = \"/shop\"\n[application]\n"
             "Demo_ConnectionString = \"Provider=SQLite;Data Source=demo.db;Mode=Read\"\n" +
                 std::string(kLog));
  site.WritePage("index.asp", kSinglePage);
}

ForgedSite::ForgedSite(const TestSite& site, const std::string& list) : m_program(site.Folder()) {
  if (m_program.Port() == 0 || Get(list).status != 200) throw std::runtime_error(m_program.Words());
  m_worker = m_program.Worker();
  m_longest = {};
  m_visitor = std::thread([this, list] { Visit(list); });
}

ForgedSite::~ForgedSite() {
  m_ending = true;
  if (m_visitor.joinable()) m_visitor.join();
}

void ForgedSite::Visit(const std::string& list) {
  while (!m_ending) {
    const auto start = Clock::now();
    try {
      if (TestClient(m_program.Port()).Get(list, "Connection: close\r\n").status != 200) ++m_visitorsFailures;
    } catch (const std::exception&) {
      ++m_visitorsFailures;
    }
    const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    m_visitorsLongest = std::max(m_visitorsLongest.load(), static_cast<long>(time.count()));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

Answer ForgedSite::Ask(const std::string& bytes) {
  const auto start = Clock::now();
  TestClient client(m_program.Port());
  client.Send(bytes);
  Answer answer = client.ReadAnswer();
  m_longest =
      std::max(m_longest, std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start));
  return answer;
}

Answer ForgedSite::Get(const std::string& target) {
  return Ask("GET " + target + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
}

Answer ForgedSite::Post(const std::string& target, const std::string& form) {
  return Ask("POST " + target +
             " HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/x-www-form-urlencoded\r\n"
             "Connection: close\r\nContent-Length: " +
             std::to_string(form.size()) + "\r\n\r\n" + form);
}

void ForgedSite::End() {
  m_ending = true;
  m_visitor.join();
  EXPECT_EQ(m_visitorsFailures, 0);
  EXPECT_EQ(m_program.Worker(), m_worker) << "the worker was replaced";
  const long memory = MostMemoryOf(m_worker);
  EXPECT_GT(memory, 0);
  EXPECT_LT(memory, kMostMemory);
  testing::Test::RecordProperty("longest_ms", std::to_string(m_longest.count()));
  testing::Test::RecordProperty("visitors_longest_ms", std::to_string(m_visitorsLongest.load()));
  testing::Test::RecordProperty("memory_mb", std::to_string(memory));
  std::printf("longest %ld ms, the visitor's %ld ms, memory %ld MB\n", static_cast<long>(m_longest.count()),
              m_visitorsLongest.load(), memory);
}

std::string CategoryPage(ForgedSite& shop) {
  return "/shop/category.asp?node=" + shop.Get("/shop/node.asp").body;
}

}  // namespace hosttest
