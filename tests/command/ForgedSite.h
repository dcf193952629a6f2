// Sites that forged states are thrown at, served by the program itself: its worker is watched, and a visitor
// keeps coming beside.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "tests/application/TestSite.h"
#include "tests/command/ForgedStates.h"
#include "tests/command/Program.h"
#include "tests/web/TestClient.h"

namespace hosttest {

// What stands in the table that no answer may hold a word of.
inline constexpr char kVaultMark[] = "xyzzy-of-the-vault";

// The demo shop with a small catalogue, and a page own.asp that gives the posted text "s" to SetState, or
// with the page number "p" to SetPageState. `links` is what [lists] says.
void MakeShop(const TestSite& site, const std::string& links);

// A site of one list, index.asp, of which nothing is configured but its database.
void MakeSinglePage(const TestSite& site);

class ForgedSite {
 public:
  explicit ForgedSite(const TestSite& site, const std::string& list);
  ~ForgedSite();

  // Answers of a connection of their own; the longest time is noted.
  Answer Get(const std::string& target);
  Answer Post(const std::string& target, const std::string& form);

  pid_t Worker() const { return m_worker; }
  // Ends the visitor and the server; fails where the worker isn't the one of the beginning, or took too much
  // memory.
  void End();

  std::chrono::milliseconds Longest() const { return m_longest; }
  std::chrono::milliseconds VisitorsLongest() const { return std::chrono::milliseconds(m_visitorsLongest); }

 private:
  Answer Ask(const std::string& bytes);
  void Visit(const std::string& list);

  ServingProgram m_program;
  pid_t m_worker = 0;
  std::chrono::milliseconds m_longest{0};
  std::atomic<bool> m_ending{false};
  std::atomic<long> m_visitorsLongest{0};
  std::atomic<int> m_visitorsFailures{0};
  std::thread m_visitor;
};

// The address of the shop's page with a category of products.
std::string CategoryPage(ForgedSite& shop);

}  // namespace hosttest
