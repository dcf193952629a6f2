// What a list page is measured against: the same SELECT through SQLite's own interface, prepared once a
// thread, and a constant page of the same size through the same HTTP server; no script, no library, no text
// made of the rows. bench_bare DATABASE PORT THREADS BYTES
#include <signal.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "host-linux/web/HttpServer.h"
#include "host-linux/web/ListenSocket.h"

namespace {

constexpr char kSelect[] =
    "SELECT id, name, maker, category, price, stock FROM item WHERE (name, id) > (?, ?) ORDER BY name, id "
    "LIMIT 10";

class PreparedList {
 public:
  explicit PreparedList(const char* file) {
    if (sqlite3_open_v2(file, &m_database, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr) !=
            SQLITE_OK ||
        sqlite3_prepare_v2(m_database, kSelect, -1, &m_statement, nullptr) != SQLITE_OK)
      throw std::runtime_error(sqlite3_errmsg(m_database));
  }
  ~PreparedList() {
    sqlite3_finalize(m_statement);
    sqlite3_close(m_database);
  }
  PreparedList(const PreparedList&) = delete;
  PreparedList& operator=(const PreparedList&) = delete;

  // Takes each value of the page as text; the number of bytes they have.
  std::size_t Run() {
    sqlite3_bind_text(m_statement, 1, "Item 000061 <j> \"B\" & more", -1, SQLITE_STATIC);
    sqlite3_bind_int(m_statement, 2, 77881);
    std::size_t bytes = 0;
    while (sqlite3_step(m_statement) == SQLITE_ROW) {
      for (int column = 0; column < sqlite3_column_count(m_statement); ++column) {
        sqlite3_column_text(m_statement, column);
        bytes += static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column));
      }
    }
    sqlite3_reset(m_statement);
    return bytes;
  }

 private:
  sqlite3* m_database = nullptr;
  sqlite3_stmt* m_statement = nullptr;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "bench_bare DATABASE PORT THREADS BYTES\n");
    return 2;
  }
  // Before the threads, which inherit it.
  sigset_t ends;
  sigemptyset(&ends);
  sigaddset(&ends, SIGTERM);
  sigaddset(&ends, SIGINT);
  sigprocmask(SIG_BLOCK, &ends, nullptr);

  const std::string body(static_cast<std::size_t>(std::atoi(argv[4])), 'x');
  const char* file = argv[1];
  hostlinux::ServerOptions options;
  options.threads = static_cast<unsigned>(std::atoi(argv[3]));
  options.maxConnections = 10'000;
  hostlinux::ServerHandlers handlers;
  handlers.page = [&](const hostlinux::HttpRequest&, hostlinux::ClientLink&) {
    thread_local PreparedList list(file);
    hostlinux::HttpResponse response;
    if (list.Run() == 0) response.status = 500;
    response.headers.Set("Content-Type", "text/html; charset=utf-8");
    response.body = body;
    return response;
  };
  hostlinux::HttpServer server(options, std::move(handlers),
                               hostlinux::ListenAt(std::string("127.0.0.1:") + argv[2]));
  int signal = 0;
  sigwait(&ends, &signal);
}
