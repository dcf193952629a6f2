// Runs a fuzz target over its corpus without libFuzzer, so that every build checks the seeds and what was
// once found: each file as it is, and cut short at a few places.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr std::size_t kCuts = 8;

void Run(const std::string& input) {
  // A copy of exactly that size, so that a read behind its end is noticed.
  const std::vector<std::uint8_t> bytes(input.begin(), input.end());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

void Replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string input{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  Run(input);
  for (std::size_t cut = 1; cut <= kCuts; ++cut) Run(input.substr(0, input.size() * cut / (kCuts + 1)));
}

}  // namespace

// The arguments are folders of inputs; one that isn't there has none.
int main(int count, char** arguments) {
  Run("");
  std::size_t files = 0;
  for (int i = 1; i < count; ++i) {
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(arguments[i], missing)) {
      Replay(entry.path());
      ++files;
    }
  }
  std::printf("%zu inputs\n", files);
  return files > 0 ? 0 : 1;
}
