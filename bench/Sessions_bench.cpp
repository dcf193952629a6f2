// The file of sessions: what a request reads of it when it begins, and writes when it ends.
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <random>
#include <vector>

#include "host-linux/base/Random.h"
#include "host-linux/sessions/SessionFile.h"

namespace {

using namespace hostlinux;

constexpr std::size_t kSessions = 20'000;
constexpr int kCalls = 20'000;

SessionChange NewSession() {
  SessionChange change;
  change.head.token = RandomToken();
  change.head.formToken = RandomToken();
  change.head.id = 1;
  change.values.set = {
      {u"REMOTE_USER", 0, u"demo"}, {u"Basket", 1, u"4711,4712,4713"}, {u"visits", 2, varnel::Long{1}}};
  return change;
}

template <typename Call>
void Print(const char* name, Call call) {
  std::vector<double> times;
  times.reserve(kCalls);
  for (int i = 0; i < kCalls; ++i) {
    const auto start = std::chrono::steady_clock::now();
    call();
    times.push_back(
        std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
  }
  std::sort(times.begin(), times.end());
  std::printf("%-44s median %6.1f us, 99 of 100 below %6.1f us\n", name, times[times.size() / 2],
              times[times.size() * 99 / 100]);
}

void Measure(const char* name, bool isDurable, const std::filesystem::path& folder) {
  std::printf("%s, %zu sessions:\n", name, kSessions);
  SessionFile::Options options;
  options.folder = folder;
  options.isDurable = isDurable;
  options.log = [](const std::string& sentence) { std::printf("%s\n", sentence.c_str()); };
  SessionFile file(options);
  std::vector<SessionChange> sessions;
  for (std::size_t i = 0; i < kSessions; ++i) {
    sessions.push_back(NewSession());
    sessions.back().head.version = file.Save(sessions.back());
    if (i % 500 == 0) file.Tidy();
  }
  std::mt19937 random(1);
  const auto any = [&]() -> SessionChange& { return sessions[random() % sessions.size()]; };
  Print("a look whether it has changed", [&] { file.Head(any().head.token); });
  Print("reading it with its values", [&] { file.Load(any().head.token); });
  int calls = 0;
  Print("storing a changed value", [&] {
    SessionChange& change = any();
    change.values.set = {{u"visits", 2, varnel::Long{++calls}}};
    change.head.version = file.Save(change);
    if (calls % 500 == 0) file.Tidy();
  });
  Print("storing a new one", [&] {
    file.Save(NewSession());
    if (++calls % 500 == 0) file.Tidy();
  });
  const auto start = std::chrono::steady_clock::now();
  const std::size_t count = file.Heads().size();
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
  std::printf("%-44s %zu in %.0f ms\n", "what a new worker reads", count, time.count());
}

}  // namespace

int main() {
  for (const bool isDurable : {false, true}) {
    std::string folder = (std::filesystem::temp_directory_path() / "varnel-bench-XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr) return 1;
    Measure(isDurable ? "A file that outlives the machine" : "A file that goes with the server", isDurable,
            folder);
    std::filesystem::remove_all(folder);
  }
}
