// State texts as somebody writes them who wants more than a list shows: at least one of each kind that is
// known, and how they reach a page.
#pragma once

#include <string>
#include <vector>

#include "tests/application/StateTexts.h"

namespace hosttest {

enum class ForgedKind {
  Sort,    // its sort names something that no list shows
  Key,     // its keys are no values of rows
  Number,  // its numbers lie, but can be read
  Damage   // it can't be read
};

struct Forged {
  ForgedKind kind = ForgedKind::Sort;
  std::string what;
  std::string state;
};

// A state text whose fields are given as they stand in it.
struct StateFields {
  std::string read = "0";
  std::string total = "57";
  std::string first = "1";
  std::string sort = {};
  std::string reversed = "0";
  std::vector<std::string> keys = {};  // written where the read has keys
  std::string page = "1";
  std::string left = "1";
  std::string right = "3";
  std::string jump = {};  // behind a page link's text
};

std::string WrittenState(const StateFields& fields);

// `sort` is a sort by one column that the list shows, which is no key of it.
std::vector<Forged> ForgedStates(const std::string& sort);

// The fields of a form that bring `state`; there are `kFormRoads` of them.
inline constexpr int kFormRoads = 11;
std::string FormWith(const std::string& state, int road);

}  // namespace hosttest
