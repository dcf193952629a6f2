// A copy of a database's schema with its statistics and without its rows, on which indexes are tried.
#pragma once

#include <memory>
#include <vector>

#include "varnel/host/Paging.h"

namespace hostlinux {

// A read of a list, in the library's SQL and as data.
struct ListRead {
  varnel::String sql;
  const varnel::host::StatementParameters& parameters;
  bool isBehindAnchor = false;  // a next or previous page
  varnel::String driver;        // the name in FROM of the table that the list is sorted by; may be empty
  std::vector<varnel::String> equal;  // columns of it that the query compares with one value each
  varnel::host::PageSpec page = {};
  varnel::String table = {};  // the driver's own name
  // Sources in FROM, by the names that it gives them, of so few rows that reading all of them costs nothing.
  std::vector<varnel::String> small = {};
  bool isShort = false;  // the list has so few rows that sorting them costs nothing
};

// Raises ProviderFailure where the engine refuses a text.
class IIndexTrial {
 public:
  virtual ~IIndexTrial() = default;

  // True where the engine's plan comes to the rows of the page without reading or sorting others first.
  virtual bool IsServed(const ListRead& read) = 0;
  // Runs a CREATE INDEX; false where the engine refuses it.
  virtual bool Make(const varnel::String& createIndex) = 0;
  // Drops an index again.
  virtual void Drop(const varnel::String& index) = 0;
  // The columns of a table; none where there is no such one.
  virtual std::vector<varnel::String> Columns(const varnel::String& table) = 0;
};

}  // namespace hostlinux
