#include "tests/conformance/OdbcDrivers.h"

#include <fstream>
#include <iterator>

bool HasOdbcDriver(const std::string& name) {
  std::ifstream file("/etc/odbcinst.ini");
  const std::string drivers((std::istreambuf_iterator<char>(file)), {});
  return drivers.find("[" + name + "]") != std::string::npos;
}
