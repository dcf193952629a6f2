// The servers whose own words are known, and what a session with each begins with.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "host-linux/database/dialect/EngineStatement.h"
#include "host-linux/database/dialect/EngineWords.h"
#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// TransactSql is that of servers with SELECT TOP, N'...', bracket patterns: they get the library's texts as they stand.
enum class OdbcServer { Mariadb, Postgresql, Sqlite, TransactSql };

// The server that `dialect`, the key of a connection string, names, or else the one that the driver tells of, by the server's name
// or that of its own file. Raises
// ProviderFailure for a name that isn't known, and where neither tells.
OdbcServer ServerOf(const varnel::String& dialect, const varnel::String& serverName,
                    const varnel::String& driverFile);

// None for a server that gets texts as they stand.
const IEngineWords* WordsOf(OdbcServer server);

// What such a server gets: `sql` with a mark in the place of each parameter.
EngineStatement AsItStands(const varnel::String& sql, const varnel::host::StatementParameters& parameters);

// True for a driver by whose name it may be guessed that it has no wide functions.
bool IsNarrow(const varnel::String& driver);

// What the driver is told beside the connection string's own keys. `longest`: what any call may take; 0: none.
std::u16string DriverKeys(const varnel::String& driver, const ConnectionString& connection,
                          std::chrono::milliseconds longest);

struct OdbcHost {
  varnel::String server;
  varnel::String port;  // empty: as the connection string says
};
// The hosts among which a driver would choose: "db1,db2:3307,[::1]:3308". Empty where the connection string names one, or the
// driver knows no such list.
std::vector<OdbcHost> HostsOf(const ConnectionString& connection);

// Sets a session, so that a doubled quote is the only escape in a literal, and, where `readsOnly`, that nothing is changed.
std::vector<std::string> SettingsOf(OdbcServer server, bool readsOnly, const EngineLimits& limits);

// A query for the settings that nobody may change; empty where there are none that could be asked for.
std::string SettingsQuery(OdbcServer server);

// The server's own limit of a statement's time; empty where it has none.
std::string TimeLimitText(OdbcServer server, std::chrono::milliseconds time);

// The most rows that a result may have, whose values take some memory each.
std::size_t MostRows(const EngineLimits& limits);

// The driver takes all rows of a result into its memory before the first one is seen.
bool DriverHoldsRows(OdbcServer server);

// `sql` cut at so many rows; nothing where the server can't say so around a text.
std::optional<std::string> LimitedText(OdbcServer server, const std::string& sql, varnel::Long rows);

}  // namespace hostlinux
