// One object of every class that page scripts meet.
#pragma once

#include <string>
#include <vector>

#include "varnel/automation/Object.h"

namespace classdocs {

struct PublicClass {
  std::string name;  // as the page writer knows it
  varnel::ObjectPtr object;
};

// In the order in which they are described. The objects are good for their member tables only.
std::vector<PublicClass> PublicClasses();

}  // namespace classdocs
