// The conditions and ranges of requests for files: whatever a client asks, the part lies inside the file.
#include "host-linux/web/StaticFiles.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

constexpr std::uint64_t kFileSize = 100;

const hostlinux::StaticFiles& Files() {
  static const hostlinux::StaticFiles files = [] {
    const auto folder = std::filesystem::temp_directory_path() / ("fuzz_" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "a.txt") << std::string(kFileSize, 'x');
    return hostlinux::StaticFiles(folder.string());
  }();
  return files;
}

}  // namespace

// The first byte chooses the header, the rest is its value.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  static constexpr const char* kNames[] = {"Range", "If-None-Match", "If-Modified-Since", "If-Range"};
  hostlinux::HttpRequest request;
  request.method = "GET";
  if (data[0] % 4 == 3) request.headers.Add("Range", "bytes=1-2");
  request.headers.Add(kNames[data[0] % 4], std::string(reinterpret_cast<const char*>(data) + 1, size - 1));
  const hostlinux::HttpResponse response = Files().Serve(request, "a.txt");
  if (response.status == 404) std::abort();
  if (response.file && response.file->offset + response.file->length > kFileSize) std::abort();
  if (response.status == 206 && response.file->length == 0) std::abort();
  return 0;
}
