#pragma once

#include <filesystem>
#include <string>

namespace CLI {
class App;
}

namespace hostlinux {

// `varnel new NAME`: a folder with a site that runs at once, and a word on what to do next.
void AddNewCommand(CLI::App& app, int& status);

// Makes the site `folder`, whose last segment becomes its name and the first segment of its addresses. Raises
// std::runtime_error with a sentence for a name that makes no such segment, for a folder that has something
// in it, and where a file can't be written.
void MakeNewSite(const std::filesystem::path& folder);

}  // namespace hostlinux
