#pragma once

#include <string>

namespace CLI {
class App;
}

namespace hostlinux {

// `varnel state TEXT`: a state text, field by field, for people.
void AddStateCommand(CLI::App& app, int& status);

// The fields of `text`, a line each. Raises varnel::Error for a text that can't be read.
std::string DescribeState(const std::string& text);

}  // namespace hostlinux
