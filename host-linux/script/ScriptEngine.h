// Runs pages: one engine on each script thread, with one realm that lives as long as the engine.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host-linux/script/PageFiles.h"
#include "host-linux/script/PageParser.h"
#include "host-linux/script/ScriptRuntime.h"
#include "varnel/automation/Object.h"

namespace hostlinux {

class Inspection;
class ScriptCore;

// Where a page's own text goes. Both operations may raise a varnel::Error.
class PageOutput {
 public:
  virtual ~PageOutput() = default;
  // HTML of the page, or an expression that is a text of Latin letters, UTF-8.
  virtual void WriteText(std::string_view utf8) = 0;
  // The value of any other expression, as Response.Write writes it.
  virtual void WriteValue(const varnel::Variant& value) = 0;
  // The page is over: no script runs any more, and the objects that it made are still what they were.
  virtual void OnPageEnd() {}
  // The id under which the log knows the request; may be empty.
  virtual std::string RequestId() const { return {}; }
};

// The host's objects of one request, by the names under which its pages see them.
using Intrinsics = std::vector<std::pair<std::string, varnel::ObjectPtr>>;

// The numbers of errors that the language itself makes: thrown, or found by the compiler.
inline constexpr varnel::Long kUncaughtNumber = static_cast<varnel::Long>(0x800A139E);
inline constexpr varnel::Long kSyntaxNumber = static_cast<varnel::Long>(0x800A03EA);

// An error that no script caught, or one of the compiler's.
struct ScriptFailure {
  std::string message;      // for people: "TypeError: x is not a function", or a raised error's description
  std::string file;         // the page or include, relative to the pages folder; empty where unknown
  int line = 0;             // from 1; 0 where unknown
  varnel::Long number = 0;  // kUncaughtNumber or kSyntaxNumber where the script gave none
  std::string source;
  std::string description;
  std::string stack;  // with files and lines of the pages; may be empty
  std::string hint;   // a sentence of the host's own: what was wrong, or what helps; may be empty
};

struct PageResult {
  enum class Outcome {
    Finished,    // ran to its end
    Ended,       // stopped by EndPage
    Failed,      // `failure` tells why
    TimedOut,    // past its time limit
    OutOfMemory  // past its heap limit
  };
  Outcome outcome = Outcome::Finished;
  ScriptFailure
      failure;  // also for TimedOut and OutOfMemory, there with the place where the page was stopped
};

class ScriptEngine {
 public:
  struct Options {
    std::string siteRoot;                                   // may stand before virtual includes: "/shop"
    std::size_t heapBytes = 256 * 1024 * 1024;              // of a script's objects and texts
    std::size_t bufferBytes = 64 * 1024 * 1024;             // of its ArrayBuffers, all together
    std::chrono::milliseconds recheck{0};                   // between two looks at whether a page has changed
    std::size_t youngBytes = 16 * 1024 * 1024;              // new objects before they are looked through
    std::vector<std::pair<std::string, double>> constants;  // further global names, such as AlignRight
    // The names that a request's intrinsics may have. One that a request doesn't hand in is undefined there.
    std::vector<std::string> intrinsics = {"Request", "Response",    "Session",
                                           "Server",  "Application", "Utilities"};
    // A debugger may look into the pages by this; null: none. It outlives the engine.
    Inspection* inspection = nullptr;
    std::string pagesUrl;  // where the debugger finds the pages' files: "file:///srv/shop/pages/"
  };

  // To be made, used and destroyed on one thread. `runtime` and `files` outlive it.
  ScriptEngine(ScriptRuntime& runtime, const PageFiles& files, Options options);
  ~ScriptEngine();
  ScriptEngine(const ScriptEngine&) = delete;
  ScriptEngine& operator=(const ScriptEngine&) = delete;

  // Compiles `page` unless that is done and neither it nor an include has changed since. `directives` is
  // filled where there is no failure.
  std::optional<ScriptFailure> Prepare(const std::string& page, PageDirectives& directives);

  // Runs `page` and then its microtasks, all within `timeLimit`; then releases every object that the script
  // still holds. While it runs, the host may run another page inside it, change the limit, and end it.
  PageResult RunPage(const std::string& page, const Intrinsics& intrinsics, PageOutput& output,
                     std::chrono::milliseconds timeLimit);

  // Runs `page` from inside a running one (and only there), with its intrinsics and output and under its
  // limits. A failure is given back; an end of any other kind ends the outer page too.
  PageResult RunInner(const std::string& page);

  // The running page's limit, counted from its start.
  void SetTimeLimit(std::chrono::milliseconds timeLimit);

  // Runs `work`, which waits for somebody outside and runs no script: its time isn't the page's.
  void RunOffTime(const std::function<void()>& work);

  // What is left of the running page's time, 0 when it is over; none while no page runs, or a debugger has
  // stopped it. For the engine's thread.
  std::optional<std::chrono::milliseconds> TimeLeft() const;

  // Where the running page is: the line of the call that it is in. For the engine's thread; empty while no page runs.
  PagePlace Place() const;

  // Handles what the debugger has sent; between pages, as a running page looks itself.
  void Inspect();

  // Ends the running page as soon as the call that the script made returns or throws. Scripts can't catch it.
  void EndPage();

 private:
  std::unique_ptr<ScriptCore> m_core;
};

}  // namespace hostlinux
