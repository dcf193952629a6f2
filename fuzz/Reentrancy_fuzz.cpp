// Pages whose values call back: a random program in the page's own language calls random members of the
// library's objects with values that run further calls while they are converted. Nothing may be used after it
// went.
#include <sanitizer/lsan_interface.h>
#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "host-linux/application/SiteHost.h"
#include "host-linux/services/Log.h"

namespace {

using namespace hostlinux;

// Takes the program's bytes from the query, two hexadecimal digits each. Every choice is one byte.
constexpr char kPage[] = R"asp(<%
var program = Request.QueryString('p') + '', at = 0, depth = 0, steps = 0;
function next(count) {
  var byte = parseInt(program.substr(at, 2), 16);
  at += 2;
  return byte >= 0 ? byte % count : 0;
}
function made(make) { try { return make(); } catch (e) { return null; } }
var page = Server.CreateObject('Varnel.Page');
page.OpenDatabaseConnection('Demo');
var connection = Server.CreateObject('ADODB.Connection');
connection.Open('Provider=SQLite;Data Source=demo.db');
var list = page.DRecordset();
list.SetPageSize(5);
list.OpenRS('SELECT id, name, born FROM customer', 'id');
var read = Server.CreateObject('ADODB.Recordset');
read.Open('SELECT a.id, a.name FROM customer a, customer b, customer c', connection);
var own = Server.CreateObject('ADODB.Recordset');
own.Fields.Append('a', 12); own.Fields.Append('b', 202); own.Fields.Append('c', 3);
own.Open(); own.AddNew(); own.AddNew();
var pool = [page, list, read, own, connection, page.Table(), page.Table(), page.DGrid(list, 'G'),
            page.DRecordset(), list.Fields, list(0), list(1), read.Fields, read(0), own.Fields, own(0), own(1),
            Server.CreateObject('ADODB.Recordset'), Server.CreateObject('Varnel.PageUtil'), Utilities,
            Server.CreateObject('Varnel.DataFunctions'), Server.CreateObject('Varnel.Upload'), connection.Errors,
            Request.QueryString, Request.ServerVariables, Response.Cookies, Session.Contents, Session];
var kept = ['id', 'name', 'a', 'b', 'c', 'R_1', 'SELECT id, name FROM customer', 'SELECT 1 AS a, 2 AS b UNION SELECT 3, 4',
            'Provider=SQLite;Data Source=demo.db', 'Demo', 'id DESC', ''];
// What a whole program could run for too long with, and what ends the page.
var skipped = {constructor: 1, End: 1, Transfer: 1, Execute: 1, Redirect: 1, Flush: 1, toString: 1, valueOf: 1, Abandon: 1,
               Lock: 1};
function keep(value) {
  if (value !== null && (typeof value === 'object' || typeof value === 'function') && pool.length < 200 &&
      !Array.isArray(value)) pool.push(value);
  return value;
}
function calling() {
  var result = next(6);
  var back = () => { step(); if (next(3) == 0) step(); };
  switch (next(6)) {
    case 0: return {valueOf() { back(); return plain(result); }, toString() { back(); return kept[result]; }};
    case 1: return {[Symbol.toPrimitive]() { back(); return plain(result); }};
    case 2: return function () { back(); return plain(result); };
    case 3: return {get Fields() { back(); return this; }, Append() { back(); }, Open() { back(); },
                    AddNew() { back(); }, get Value() { back(); return 1; }, set Value(v) { back(); }, Close() { back(); },
                    [Symbol.iterator]: function* () { back(); yield plain(1); back(); yield plain(2); }};
    case 4: var array = [1, plain(2), 3];
            Object.defineProperty(array, result % 3, {get() { back(); return plain(0); }, set(v) { back(); },
                                                      configurable: true, enumerable: true});
            return array;
    default: var reference = new ByRef(plain(3));
             Object.defineProperty(reference, 'value', {get() { back(); return plain(1); }, set(v) { back(); }});
             return reference;
  }
}
function plain(kind) {
  switch (kind % 6) {
    case 0: return next(4);
    case 1: return kept[next(kept.length)];
    case 2: return pool[next(pool.length)];
    case 3: return null;
    case 4: return -1;
    default: return undefined;
  }
}
function value() {
  switch (next(8)) {
    case 0: case 1: case 2: return calling();
    case 3: return pool[next(pool.length)];
    case 4: return [plain(next(6)), calling(), pool[next(pool.length)]];
    default: return plain(next(6));
  }
}
function membersOf(object) {
  return Object.getOwnPropertyNames(Object.getPrototypeOf(object)).filter(name => !skipped[name]);
}
function step() {
  if (++steps > 60 || depth > 8 || at >= program.length) return;
  ++depth;
  try {
    var object = pool[next(pool.length)];
    var names = membersOf(object);
    var name = names[next(names.length)];
    var descriptor = Object.getOwnPropertyDescriptor(Object.getPrototypeOf(object), name);
    switch (next(8)) {
      case 0: keep(typeof object === 'function' ? object(value()) : String(object)); break;
      case 1: for (var element of object) { keep(element); if (next(3) == 0) step(); if (next(4) == 0) break; } break;
      case 2: if (descriptor.set) object[name] = value(); break;
      case 3: object[kept[next(kept.length)]] = value(); break;
      default:
        if (descriptor.get) { keep(object[name]); break; }
        if (typeof object[name] !== 'function') break;
        var given = [];
        for (var count = next(5); count > 0; count--) given.push(value());
        keep(object[name].apply(object, given));
    }
  } catch (e) { } finally { --depth; }
}
while (at < program.length && steps < 60) step();
%>ran over <%= pool.filter(object => membersOf(object).length > 0).length %> objects)asp";

class Site {
 public:
  Site() {
    std::string pattern = (std::filesystem::temp_directory_path() / "varnel-fuzz-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) abort();
    m_folder = pattern;
    Write("site.toml",
          "[site]\nroot = \"/f\"\n[server]\nscript_timeout = \"5s\"\nmax_response_buffer = 1000000\n"
          "statement_timeout = \"1s\"\n"
          "[application]\nDemo_ConnectionString = \"Provider=SQLite;Data Source=demo.db\"\n"
          "[log]\nfile = \"site.log\"\nlevel = \"off\"\n");
    Write("pages/fuzz.asp", kPage);
    Write(
        "pages/make.asp",
        "<% var c = Server.CreateObject('ADODB.Connection'); c.Open('Provider=SQLite;Data Source=demo.db');"
        " c.Execute('CREATE TABLE customer (id INT NOT NULL PRIMARY KEY, name VARCHAR(40), born DATETIME)');"
        " for (var i = 1; i <= 40; i++) c.Execute(\"INSERT INTO customer VALUES (\" + i + \", 'n\" + i + \"',"
        " '2001-02-03 00:00:00')\"); %>made");
    const SiteConfiguration configuration = LoadSiteConfiguration(m_folder);
    static ScriptRuntime runtime({});
    m_host = std::make_unique<SiteHost>(configuration, runtime, SiteHost::Options());
    if (Run("/f/make.asp", "") != "made") abort();
    // A page whose first lines failed would try nothing, with every program.
    if (Run("/f/fuzz.asp", "") != "ran over 28 objects") abort();
  }
  ~Site() { std::filesystem::remove_all(m_folder); }
  Site(const Site&) = delete;
  Site& operator=(const Site&) = delete;

  std::string Run(const std::string& path, const std::string& program) {
    PageRequest request;
    request.http.method = "GET";
    request.http.path = path;
    request.query = {{"p", program}};
    return m_host->RunPage(std::move(request), nullptr).response.body;
  }

 private:
  void Write(const std::string& name, const std::string& content) const {
    std::filesystem::create_directories((m_folder / name).parent_path());
    std::ofstream(m_folder / name, std::ios::binary) << content;
  }

  std::filesystem::path m_folder;
  std::unique_ptr<SiteHost> m_host;
};

}  // namespace

// The engine's library keeps pointers to its heap where the leak checker doesn't look.
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
  return "leak:libnode.so";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Site& site = *new Site();
  std::string program;
  for (std::size_t i = 0; i < size && i < 2000; ++i) {
    program += "0123456789abcdef"[data[i] >> 4];
    program += "0123456789abcdef"[data[i] & 15];
  }
  site.Run("/f/fuzz.asp", program);
  return 0;
}
