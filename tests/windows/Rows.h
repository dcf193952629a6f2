// A connection and a recordset of ADO's names, whose rows were recorded: Wine has no ADO that works.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "varnel/automation/Variant.h"

namespace scripthost {

struct Result {
  std::vector<std::pair<varnel::String, varnel::Long>> columns;  // name and type
  std::vector<std::vector<varnel::Variant>> rows;
};

using Results = std::map<varnel::String, std::shared_ptr<const Result>>;  // by the statement

// A statement is a line "Q statement", its columns are lines "C name tab type", its rows lines "R value tab value ...".
// A value is a letter and a text: n Null, t text, i Integer, l Long, y Byte, r Double, d Date, b Boolean.
Results LoadRows(const std::string& text);

// "ADODB.Connection", "ADODB.Recordset" and "ADODB.Command" are made here from now on, for this process.
void ProvideAdo(Results results);

}  // namespace scripthost
