#include "host-linux/command/RunCommand.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "host-linux/application/FailureText.h"
#include "host-linux/application/SiteHost.h"
#include "host-linux/command/SqlTraceFile.h"
#include "host-linux/services/Log.h"
#include "host-linux/web/UrlPath.h"
#include "varnel/automation/Error.h"

namespace hostlinux {

namespace {

// The source of errors that the script language itself makes.
constexpr char kScriptSource[] = "Script";

struct RunOptions {
  std::string site;
  std::string page;
  std::string query;
  std::string method;
  std::string form;
  std::string bodyFile;
  std::string contentType;
  std::vector<std::string> serverVariables;
  std::vector<std::string> sessionValues;
  bool headers = false;
  std::string traceFile;
};

// What can't be run at all, as a sentence.
class RunFailure : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

FormField NameAndValue(const std::string& option, const std::string& text) {
  const auto equals = text.find('=');
  if (equals == std::string::npos || equals == 0) throw RunFailure(option + " takes NAME=VALUE, not " + text);
  return {text.substr(0, equals), text.substr(equals + 1)};
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw RunFailure(path + " can't be read");
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

void SetBody(HttpRequest& request, const RunOptions& run) {
  if (!run.form.empty()) {
    request.body = run.form;
    request.headers.Set("Content-Type", "application/x-www-form-urlencoded");
  } else if (!run.bodyFile.empty()) {
    request.body = ReadFile(run.bodyFile);
  }
  if (!run.contentType.empty()) request.headers.Set("Content-Type", run.contentType);
  const bool posted = !run.form.empty() || !run.bodyFile.empty();
  request.method = !run.method.empty() ? run.method : posted ? "POST" : "GET";
  if (posted) request.headers.Set("Content-Length", std::to_string(request.body.size()));
}

HttpRequest MakeRequest(const SiteConfiguration& site, const RunOptions& run) {
  HttpRequest request;
  const std::string page = run.page.starts_with("/") ? run.page.substr(1) : run.page;
  if (!NormalisePath(site.root + "/" + page, request.path))
    throw RunFailure(run.page + " lies outside of the site");
  request.rawQuery = run.query;
  request.target = request.path + (run.query.empty() ? "" : "?" + run.query);
  request.version = "HTTP/1.1";
  request.headers.Set("Host", "localhost");
  request.remoteAddress = "127.0.0.1";
  request.serverName = "localhost";
  request.serverPort = 80;
  request.id = "run";
  SetBody(request, run);
  return request;
}

PageRequest MakePageRequest(const SiteConfiguration& site, const RunOptions& run) {
  PageRequest page;
  const std::string refused = ReadPageRequest(MakeRequest(site, run), {}, page);
  if (!refused.empty()) throw RunFailure(refused);
  for (const std::string& text : run.serverVariables) {
    page.serverVariables.push_back(NameAndValue("--server-variable", text));
  }
  return page;
}

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '\\':
        escaped += "\\\\";
        break;
      case '\r':
        escaped += "\\r";
        break;
      case '\n':
        escaped += "\\n";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

// An error of the script's own is told with its place; one that was raised keeps its description to the
// letter.
void PrintFailure(const ScriptFailure& failure) {
  const std::string place = failure.source == kScriptSource ? PlaceOf(failure) : std::string();
  std::fprintf(stderr, "%d|%s|%s\n", failure.number, Escaped(failure.source).c_str(),
               Escaped(place + failure.description).c_str());
}

void PrintResponse(const HttpResponse& response, bool headers) {
  std::string text = headers ? HeadText(response) : std::string();
  text += response.body;
  std::fwrite(text.data(), 1, text.size(), stdout);
}

int Run(const RunOptions& run) {
  SiteConfiguration site = LoadSiteConfiguration(run.site);
  // Script errors go to standard error in their own form; nothing else may stand there.
  if (site.log.file.empty()) site.log.level = "off";
  for (const std::string& text : run.sessionValues) {
    const FormField field = NameAndValue("--session", text);
    site.session[field.name] = varnel::FromUtf8(field.value);
  }
  PageRequest request = MakePageRequest(site, run);
  StartLog(site);
  std::unique_ptr<SqlTraceFile> trace;
  SiteHost::Options options;
  options.guardsLists = false;  // whoever runs the command writes his own links
  options.limitsVisitors = false;
  options.guardsForms = false;
  options.advises = false;  // standard output is the page, and nothing else
  if (!run.traceFile.empty()) {
    trace = std::make_unique<SqlTraceFile>(run.traceFile);
    options.onStatement = [&trace](const SqlTraceEntry& entry) { trace->Write(entry); };
  }
  ScriptRuntime runtime({});
  SiteHost host(site, runtime, std::move(options));
  PageAnswer answer;
  std::thread([&] { answer = host.RunPage(std::move(request), nullptr); }).join();
  StopLog();
  if (answer.failure) {
    PrintFailure(*answer.failure);
    return 1;
  }
  if (answer.isMissing) throw RunFailure("there is no page " + run.page);
  PrintResponse(answer.response, run.headers);
  return 0;
}

int RunGuarded(const RunOptions& run) {
  try {
    return Run(run);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnel: %s\n", error.what());
    return 1;
  }
}

}  // namespace

void AddRunCommand(CLI::App& app, int& status) {
  const auto run = std::make_shared<RunOptions>();
  CLI::App* command =
      app.add_subcommand("run", "Run one page without a server; its text goes to standard output");
  command->add_option("SITE", run->site, "The site's folder")->required();
  command->add_option("PAGE", run->page, "The page, relative to the site's root")->required();
  command->add_option("--query", run->query, "The query string, without its ?");
  command->add_option("--method", run->method, "GET, POST, ...; without it POST where there is a body");
  command->add_option("--form", run->form, "The body, as an encoded form");
  command->add_option("--body", run->bodyFile, "A file with the body");
  command->add_option("--content-type", run->contentType, "The body's type");
  command->add_option("--server-variable", run->serverVariables, "NAME=VALUE")->take_all();
  command->add_option("--session", run->sessionValues, "NAME=VALUE in the session")->take_all();
  command->add_flag("--headers", run->headers, "Print status and headers before the body");
  command->add_option("--trace-sql", run->traceFile, "A file that gets each SQL text as a line of JSON");
  command->callback([run, &status] { status = RunGuarded(*run); });
}

}  // namespace hostlinux
