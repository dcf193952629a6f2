// Uploads of 50 MB: how fast a body is split, and how much memory the server takes for one at the peak, the
// body itself included. Bodies of 10 MB that are made to take long: each must end within two seconds.
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "bench/Ratio.h"
#include "host-linux/application/SiteHost.h"
#include "host-linux/nls/SiteCodePages.h"
#include "host-linux/services/Log.h"
#include "host-linux/web/HttpServer.h"
#include "host-linux/web/ListenSocket.h"
#include "tests/web/TestClient.h"
#include "varnel/automation/Error.h"
#include "varnel/utilities/Multipart.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBodySize = 50 << 20;
const std::string kBoundary = "------------------------4f1d0a7be92c6d58";

std::string FileHead(const std::string& field) {
  return kBoundary + "\r\nContent-Disposition: form-data; name=\"" + field +
         "\"; filename=\"a.bin\"\r\nContent-Type: application/octet-stream\r\n\r\n";
}

// Bytes of no pattern, line ends and dashes among them.
std::string Noise(std::size_t size) {
  std::string noise(size, '\0');
  std::uint32_t state = 7;
  for (char& byte : noise) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<char>(state >> 24);
  }
  return noise;
}

std::string LastLine() { return "\r\n" + kBoundary + "--\r\n"; }

void PrintSpeed(const char* what, const std::string& body) {
  hostlinux::CodePages pages(1252);
  const std::span<const varnel::Byte> bytes(reinterpret_cast<const varnel::Byte*>(body.data()), body.size());
  double best = std::numeric_limits<double>::max();
  double bestCopy = best;
  for (int round = 0; round < 7; ++round) {
    best = std::min(best, bench::TimeOf(1, [&] { bench::Keep(varnel::ParseMultipart(bytes, 1033, pages)); }));
    bestCopy =
        std::min(bestCopy, bench::TimeOf(1, [&] { bench::Keep(varnel::Bytes(bytes.begin(), bytes.end())); }));
  }
  std::printf("%-34s %6.2f GB/s, %5.2f times a copy\n", what, static_cast<double>(body.size()) / best,
              best / bestCopy);
}

void PrintSpeeds() {
  PrintSpeed("one file", FileHead("f") + Noise(kBodySize) + LastLine());
  std::string many;
  for (int i = 0; many.size() < kBodySize; ++i)
    many += FileHead("f" + std::to_string(i)) + Noise(100'000) + "\r\n";
  PrintSpeed("500 files", many + kBoundary + "--\r\n");
  PrintSpeed("one file of dashes", FileHead("f") + std::string(kBodySize, '-') + LastLine());
}

// --- Bodies that are made to take long

constexpr std::size_t kBadBodySize = 10 << 20;

std::string Repeated(const std::string& piece, std::size_t size) {
  std::string text;
  text.reserve(size + piece.size());
  while (text.size() < size) text += piece;
  return text;
}

std::string ShortParts(std::size_t size) {
  std::string body;
  for (int i = 0; body.size() < size; ++i)
    body += "#\r\nContent-Disposition name=\"" + std::to_string(i) + "\"\r\n\r\nv\r\n";
  return body + "#";
}

void PrintTime(const char* what, const std::string& body, varnel::Long lcid) {
  hostlinux::CodePages pages(1252);
  const std::span<const varnel::Byte> bytes(reinterpret_cast<const varnel::Byte*>(body.data()), body.size());
  std::string outcome;
  const double time = bench::TimeOf(1, [&] {
    try {
      outcome = std::to_string(varnel::ParseMultipart(bytes, lcid, pages)->Count()) + " fields";
    } catch (const varnel::Error& error) {
      outcome = "error " + std::to_string(error.Info().Number);
    }
  });
  std::printf("%-34s %6.0f ms, %s\n", what, time / 1e6, outcome.c_str());
}

void PrintTimes() {
  constexpr varnel::Long kOneByte = 1033;
  constexpr varnel::Long kTwoBytes = 1041;
  const std::string dashes(kBadBodySize, '-');
  const std::string overlapping =
      "#\r" + Repeated("Content-Disposition name= #", kBadBodySize) + "\"\r\n\r\n1\r\n#";
  PrintTime("nothing but boundaries", "-\r" + dashes, kOneByte);
  PrintTime("dashes behind a long boundary",
            "x" + std::string(250, '-') + "\r\nContent-Disposition: name=\"a\"\r\n\r\n" + dashes, kOneByte);
  PrintTime("a boundary of half the body", dashes.substr(0, kBadBodySize / 2) + "\r\n" + dashes, kOneByte);
  PrintTime("one disposition for all parts", "-\r" + dashes + "Content-Disposition: name=\"a\"\r\n\r\n1\r\n-",
            kOneByte);
  PrintTime("parts that overlap", overlapping, kOneByte);
  PrintTime("parts that overlap, two bytes", overlapping, kTwoBytes);
  PrintTime("bytes that are no characters",
            "#\r\nContent-Disposition name=\"a\"\r\n\r\n" + std::string(kBadBodySize, '\xFF') + "\r\n#",
            kTwoBytes);
  PrintTime("as many names, of one name's bytes",
            "#\r" + Repeated("Content-Disposition name=\xFF#", kBadBodySize) + "\"\r\n\r\n1\r\n#", kTwoBytes);
  PrintTime("short parts", ShortParts(kBadBodySize), kOneByte);
  PrintTime("noise", Noise(kBadBodySize), kOneByte);
}

// --- The server

std::size_t StatusValue(const char* name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(name)) return std::strtoull(line.c_str() + line.find(':') + 1, nullptr, 10) * 1024;
  return 0;
}

void MakeSite(const fs::path& folder) {
  fs::create_directories(folder / "pages");
  std::ofstream(folder / "site.toml")
      << "[site]\nroot = \"/b\"\n[server]\nthreads = 1\nmax_body = 104857600\n"
         "[files]\nroots = [\"up\"]\n[log]\nlevel = \"off\"\n";
  std::ofstream(folder / "pages/write.asp")
      << "<% var u = Server.CreateObject('Varnel.Upload'); u.WriteFileToFileSystem('f', 'up'); %>"
         "<%= u.GetFormVar('f') %>";
  std::ofstream(folder / "pages/bytes.asp")
      << "<% var u = Server.CreateObject('Varnel.Upload'); %><%= u.GetFileBinary('f').length %>";
}

std::string Post(std::uint16_t port, const std::string& page, std::size_t size) {
  hosttest::TestClient client(port);
  const std::string head = FileHead("f");
  const std::string end = LastLine();
  client.Send("POST /b/" + page +
              " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n"
              "Content-Type: multipart/form-data; boundary=x\r\nContent-Length: " +
              std::to_string(head.size() + size + end.size()) + "\r\n\r\n" + head);
  const std::string piece = Noise(1 << 20);
  for (std::size_t sent = 0; sent < size; sent += piece.size()) client.Send(piece);
  client.Send(end);
  const hosttest::Answer answer = client.ReadAnswer();
  if (answer.status == 200) return answer.body;
  std::fprintf(stderr, "%d %s\n", answer.status, answer.body.c_str());
  std::exit(1);
}

void PrintPeak(const char* what, std::uint16_t port, const std::string& page) {
  Post(port, page, 1 << 20);
  const std::size_t before = StatusValue("VmRSS");
  std::ofstream("/proc/self/clear_refs") << "5";  // the peak counts from here
  Post(port, page, kBodySize);
  const auto peak = static_cast<double>(StatusValue("VmHWM") - before);
  std::printf("%-34s %6.0f MB, %5.2f times the body\n", what, peak / (1 << 20), peak / kBodySize);
}

void PrintPeaks() {
  const fs::path folder = fs::temp_directory_path() / ("varnel-bench-" + std::to_string(::getpid()));
  MakeSite(folder);
  {
    const hostlinux::SiteConfiguration site = hostlinux::LoadSiteConfiguration(folder);
    hostlinux::StartLog(site);
    hostlinux::ScriptRuntime runtime({});
    hostlinux::SiteHost host(site, runtime, {});
    hostlinux::ServerOptions options;
    options.threads = 1;
    options.maxBody = site.server.maxBody;
    hostlinux::ServerHandlers handlers;
    handlers.page = [&](hostlinux::HttpRequest request, hostlinux::ClientLink& link) {
      return host.AnswerPage(std::move(request), link);
    };
    hostlinux::HttpServer server(options, handlers, hostlinux::ListenAt("127.0.0.1:0"));
    PrintPeak("peak, the file written", server.Port(), "write.asp");
    PrintPeak("peak, the file as an array", server.Port(), "bytes.asp");
  }
  fs::remove_all(folder);
}

}  // namespace

int main() {
  std::printf("An upload of %zu MB:\n", kBodySize >> 20);
  PrintSpeeds();
  PrintPeaks();
  std::printf("\nBodies of %zu MB that are made to take long:\n", kBadBodySize >> 20);
  PrintTimes();
}
