// `varnel serve --inspect`: a browser's developer tools stop in page files, look around and go on.

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>
#include <regex>

#include "tests/application/TestSite.h"
#include "tests/command/DebuggerClient.h"
#include "tests/command/Processes.h"
#include "tests/command/Program.h"
#include "tests/web/TestClient.h"

namespace {

using hosttest::Answer;
using hosttest::DebuggerClient;
using hosttest::ServingProgram;
using hosttest::TestClient;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;

constexpr char kPage[] =
    "<html>\n"
    "<% var word = 'local word';\n"
    "   var number = 6 * 7; %>\n"
    "<p>\n"
    "a paragraph <%= number %>\n"
    "</p>\n"
    "<% if (number > 40) { %>\n"
    "<p>large</p>\n"
    "<% } %>\n"
    "<% Response.Write(word); %>\n"
    "</html>\n";

// The first group of `pattern` in `text`.
std::string Found(const std::string& text, const std::string& pattern) {
  std::smatch match;
  return std::regex_search(text, match, std::regex(pattern)) ? match[1].str() : std::string();
}

// Where a paused page stands: its script and the line, counted from 0.
std::string PlaceOf(const std::string& paused) {
  return Found(paused, "\"location\":\\{\"scriptId\":\"([0-9]+)") + ":" +
         Found(paused, "\"location\":\\{\"scriptId\":\"[0-9]+\",\"lineNumber\":([0-9]+)");
}

class InspectTest : public testing::Test {
 protected:
  InspectTest() { m_site.WritePage("list.asp", kPage); }

  void Start() {
    m_program = std::make_unique<ServingProgram>(m_site.Folder(), std::vector<std::string>{"--inspect=0"});
    ASSERT_TRUE(m_program->AwaitWords("debugger at ")) << m_program->Words();
    m_address = Found(m_program->Words(), "debugger at (\\S+)\n");
  }

  std::uint16_t DebuggerPort() const {
    return static_cast<std::uint16_t>(std::stoi(Found(m_address, ":([0-9]+)/")));
  }

  std::string Discover(const std::string& request) {
    TestClient client(DebuggerPort());
    client.Send(request);
    const Answer answer = client.ReadAnswer();
    return std::to_string(answer.status) + " " + answer.body;
  }

  // Asks for a page without waiting for its answer.
  std::unique_ptr<TestClient> Ask(const std::string& target) {
    auto client = std::make_unique<TestClient>(m_program->Port());
    client->Send("GET " + target + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
    return client;
  }

  std::string UrlOf(const std::string& page) const {
    return "file://" + (std::filesystem::canonical(m_site.Folder()) / "pages" / page).string();
  }

  hosttest::TestSite m_site;
  std::unique_ptr<ServingProgram> m_program;
  std::string m_address;
};

TEST_F(InspectTest, BreakpointInAPageFileStopsThePage) {
  Start();
  DebuggerClient debugger(m_address);
  debugger.Ask("Runtime.enable");
  debugger.Ask("Debugger.enable");
  debugger.Ask("Debugger.setBreakpointByUrl", "{\"url\":\"" + UrlOf("list.asp") + "\",\"lineNumber\":9}");
  const auto client = Ask("/shop/list.asp");
  const std::string parsed = debugger.AwaitEvent("Debugger.scriptParsed", "list.asp");
  EXPECT_THAT(parsed, HasSubstr("\"url\":\"" + UrlOf("list.asp") + "\""));
  const std::string paused = debugger.AwaitEvent("Debugger.paused");
  EXPECT_EQ(PlaceOf(paused), Found(parsed, "\"scriptId\":\"([0-9]+)") + ":9");
  const std::string frame = Found(paused, "\"callFrameId\":\"([^\"]+)\"");
  EXPECT_THAT(debugger.Ask("Debugger.evaluateOnCallFrame",
                           "{\"callFrameId\":\"" + frame + "\",\"expression\":\"word + number\"}"),
              HasSubstr("\"value\":\"local word42\""));
  debugger.Ask("Debugger.resume");
  EXPECT_THAT(client->ReadAnswer().body, AllOf(HasSubstr("a paragraph 42"), HasSubstr("local word")));
}

TEST_F(InspectTest, StepsGoFromLineToLineOfThePage) {
  Start();
  DebuggerClient debugger(m_address);
  debugger.Ask("Debugger.enable");
  debugger.Ask("Debugger.setBreakpointByUrl", "{\"url\":\"" + UrlOf("list.asp") + "\",\"lineNumber\":1}");
  const auto client = Ask("/shop/list.asp");
  std::string lines;
  for (int i = 0; i < 8; ++i) {
    const std::string place = PlaceOf(debugger.AwaitEvent("Debugger.paused"));
    const std::string line = " " + place.substr(place.find(':') + 1);
    if (!lines.ends_with(line)) lines += line;
    debugger.Ask("Debugger.stepOver");
  }
  EXPECT_THAT(lines, testing::StartsWith(" 1 2 3 4 6 7 9"));
  debugger.Vanish();
  EXPECT_EQ(client->ReadAnswer().status, 200);
}

TEST_F(InspectTest, PageWithIncludesHasASourceMapToItsFiles) {
  m_site.WritePage("lib.inc", "<%\nfunction twice(x) {\n  return 2 * x;\n}\n%>");
  m_site.WritePage("two.asp", "<!--#include file=\"lib.inc\"-->\n<%= twice(21) %>");
  Start();
  DebuggerClient debugger(m_address);
  debugger.Ask("Debugger.enable");
  const auto client = Ask("/shop/two.asp");
  const std::string parsed = debugger.AwaitEvent("Debugger.scriptParsed", "two.asp");
  EXPECT_THAT(parsed, HasSubstr("\"url\":\"varnel:///two.asp\""));
  EXPECT_THAT(parsed, HasSubstr("\"sourceMapURL\":\"data:application/json;charset=utf-8;base64,"));
  EXPECT_EQ(client->ReadAnswer().body, "\n42");
}

TEST_F(InspectTest, PausedPageHasAllTheTimeItNeeds) {
  m_site.Write("site.toml",
               "[site]\nroot = \"/shop\"\nmode = \"development\"\n[server]\nscript_timeout = \"300ms\"\n");
  Start();
  DebuggerClient debugger(m_address);
  debugger.Ask("Debugger.enable");
  debugger.Ask("Debugger.setBreakpointByUrl", "{\"url\":\"" + UrlOf("list.asp") + "\",\"lineNumber\":9}");
  const auto client = Ask("/shop/list.asp");
  debugger.AwaitEvent("Debugger.paused");
  ::usleep(600'000);
  debugger.Ask("Debugger.resume");
  EXPECT_EQ(client->ReadAnswer().status, 200);
  m_site.WritePage("loop.asp", "<% for (;;); %>");
  EXPECT_EQ(Ask("/shop/loop.asp")->ReadAnswer().status, 500);
}

TEST_F(InspectTest, RunningPageCanBeStoppedAnywhere) {
  m_site.WritePage("loop.asp", "<% var on = {still: true};\nwhile (on.still) {\n} %>out");
  Start();
  DebuggerClient debugger(m_address);
  debugger.Ask("Debugger.enable");
  const auto client = Ask("/shop/loop.asp");
  debugger.AwaitEvent("Debugger.scriptParsed", "loop.asp");
  debugger.Ask("Debugger.pause");
  std::string paused = debugger.AwaitEvent("Debugger.paused");
  // A page that has hardly begun is stopped in front of its first line, where it has no variables yet.
  while (Found(paused, "\"location\":\\{\"scriptId\":\"[0-9]+\",\"lineNumber\":([0-9]+)") == "0") {
    debugger.Ask("Debugger.resume");
    debugger.Ask("Debugger.pause");
    paused = debugger.AwaitEvent("Debugger.paused");
  }
  const std::string frame = Found(paused, "\"callFrameId\":\"([^\"]+)\"");
  debugger.Ask("Debugger.evaluateOnCallFrame",
               "{\"callFrameId\":\"" + frame + "\",\"expression\":\"on.still = false\"}");
  debugger.Ask("Debugger.resume");
  EXPECT_EQ(client->ReadAnswer().body, "out");
}

TEST_F(InspectTest, DebuggerThatVanishesLetsThePageGoOn) {
  Start();
  for (int i = 0; i < 2; ++i) {
    DebuggerClient debugger(m_address);
    debugger.Ask("Debugger.enable");
    debugger.Ask("Debugger.setBreakpointByUrl", "{\"url\":\"" + UrlOf("list.asp") + "\",\"lineNumber\":1}");
    const auto client = Ask("/shop/list.asp");
    debugger.AwaitEvent("Debugger.paused");
    debugger.Vanish();
    EXPECT_EQ(client->ReadAnswer().status, 200);
  }
}

TEST_F(InspectTest, StopEndsAPausedPageToo) {
  Start();
  DebuggerClient debugger(m_address);
  debugger.Ask("Debugger.enable");
  debugger.Ask("Debugger.setBreakpointByUrl", "{\"url\":\"" + UrlOf("list.asp") + "\",\"lineNumber\":1}");
  const auto client = Ask("/shop/list.asp");
  debugger.AwaitEvent("Debugger.paused");
  m_program->Signal(SIGTERM);
  EXPECT_EQ(client->ReadAnswer().status, 200);
  EXPECT_EQ(m_program->Wait(), 0);
}

TEST_F(InspectTest, ToolsDiscoverTheDebugger) {
  Start();
  EXPECT_THAT(m_address, ContainsRegex("^ws://127.0.0.1:[0-9]+/[0-9a-f]{32}$"));
  EXPECT_THAT(Discover("GET /json/version HTTP/1.1\r\nHost: localhost:9229\r\n\r\n"),
              AllOf(testing::StartsWith("200 "), HasSubstr("\"Protocol-Version\":\"1.3\"")));
  for (const char* path : {"/json", "/json/list"}) {
    EXPECT_THAT(Discover("GET " + std::string(path) + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"),
                HasSubstr("\"webSocketDebuggerUrl\":\"" + m_address + "\""));
  }
}

TEST_F(InspectTest, StrangersAreRefused) {
  Start();
  for (const char* host :
       {"Host: evil.example\r\n", "Host: 127.0.0.1.evil.example\r\n", "",
        "Host: localhost\r\nOrigin: http://evil.example\r\n", "Host: localhost\r\nOrigin: null\r\n",
        "Host: localhost\r\nOrigin: devtools://devtools\r\nOrigin: null\r\n",
        "Host: localhost\r\nHost: evil.example\r\n", "Host: localhost\r\nHost: localhost\r\n"}) {
    const std::string answer = Discover("GET /json/list HTTP/1.1\r\n" + std::string(host) + "\r\n");
    EXPECT_THAT(answer, testing::StartsWith("403 ")) << host;
    EXPECT_THAT(answer, testing::Not(HasSubstr("ws://")));
  }
  const std::string guessed = m_address.substr(0, m_address.rfind('/')) + "/" + std::string(32, '0');
  EXPECT_THROW(DebuggerClient debugger(guessed), std::exception);
  DebuggerClient first(m_address);
  first.Ask("Debugger.enable");
  EXPECT_THROW(DebuggerClient second(m_address), std::exception);
}

TEST_F(InspectTest, ToolsOfABrowserAreTaken) {
  Start();
  EXPECT_THAT(Discover("GET /json/list HTTP/1.1\r\nHost: localhost\r\nOrigin: devtools://devtools\r\n\r\n"),
              testing::StartsWith("200 "));
}

TEST_F(InspectTest, ProductionHasNoDebugger) {
  m_site.Write("site.toml", "[site]\nroot = \"/shop\"\nmode = \"production\"\n");
  const auto ran =
      hosttest::RunVarnel({"serve", m_site.Folder().string(), "--listen", "127.0.0.1:0", "--inspect"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "varnel: --inspect is for development: site.toml must say mode = \"development\"\n");
}

TEST_F(InspectTest, PortIsANumber) {
  const auto ran = hosttest::RunVarnel({"serve", m_site.Folder().string(), "--inspect=99999"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "varnel: --inspect takes a port from 0 to 65535, not 99999\n");
}

// Seconds that a process has worked.
double WorkOf(pid_t pid) {
  std::istringstream stat(hosttest::FileText(hosttest::ProcFile(pid, "stat")));
  std::string word;
  for (int i = 0; i < 13; ++i) stat >> word;
  double user = 0;
  double system = 0;
  stat >> user >> system;
  return (user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

TEST_F(InspectTest, ServerWithoutDescriptorsWaitsForOne) {
  Start();
  const pid_t worker = m_program->Worker();
  EXPECT_EQ(TestClient(m_program->Port()).Get("/shop/list.asp", "Connection: close\r\n").status, 200);
  // What is done once a second has been done by then: the sanitizer looks at a class with descriptors of its own
  // when it is first met.
  ::usleep(1'500'000);
  rlimit files{};
  ASSERT_EQ(::prlimit(worker, RLIMIT_NOFILE, nullptr, &files), 0);
  rlimit none = files;
  none.rlim_cur = 3;
  ASSERT_EQ(::prlimit(worker, RLIMIT_NOFILE, &none, nullptr), 0);
  TestClient page(m_program->Port());
  TestClient debugger(DebuggerPort());
  ::usleep(100'000);
  const double before = WorkOf(worker);
  ::usleep(1'500'000);
  EXPECT_LT(WorkOf(worker) - before, 0.3);
  ASSERT_EQ(::prlimit(worker, RLIMIT_NOFILE, &files, nullptr), 0);
  EXPECT_EQ(debugger.Get("/json/version").status, 200);
  EXPECT_EQ(page.Get("/shop/list.asp").status, 200);
}

}  // namespace
