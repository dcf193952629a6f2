// Pages as the text of one script.
#pragma once

#include <string>

#include "varnel/automation/String.h"

namespace scripthost {

struct ScriptText {
  varnel::String text;
  bool isBasic = false;
};

// Page `name` of `folder` with what it includes, in front of it prelude.js or prelude.vbs of `preludes`. A page whose name ends in .vbs is
// VBScript, every other one JScript.
ScriptText ReadPage(const std::string& preludes, const std::string& folder, const std::string& name);

}  // namespace scripthost
