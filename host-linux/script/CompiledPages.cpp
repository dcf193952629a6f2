#include "host-linux/script/CompiledPages.h"

#include <algorithm>

#include "host-linux/script/LooseBracket.h"
#include "host-linux/script/SourceMap.h"
#include "host-linux/script/V8Text.h"

namespace hostlinux {
namespace {

// Notes the stamp of each file just before it is read, so that a change after that is seen next time.
class StampingFiles final : public PageFiles {
 public:
  explicit StampingFiles(const PageFiles& files) : m_files(files) {}

  std::optional<std::string> Read(const std::string& name) const override {
    const auto stamp = m_files.Stamp(name);
    if (!stamp) return std::nullopt;
    m_stamps.emplace(name, *stamp);
    return m_files.Read(name);
  }
  std::optional<FileStamp> Stamp(const std::string& name) const override { return m_files.Stamp(name); }

  std::vector<std::pair<std::string, FileStamp>> Stamps() const { return {m_stamps.begin(), m_stamps.end()}; }

 private:
  const PageFiles& m_files;
  mutable std::map<std::string, FileStamp> m_stamps;
};

v8::MaybeLocal<v8::Function> CompileBody(v8::Local<v8::Context> context, const std::string& name,
                                         const std::string& body, const std::string& map,
                                         const std::vector<std::string>& parameters) {
  v8::Isolate* isolate = context->GetIsolate();
  v8::Local<v8::String> scriptName;
  v8::Local<v8::String> text;
  v8::Local<v8::String> mapUrl;
  if (!ToV8(isolate, name).ToLocal(&scriptName) || !ToV8(isolate, body).ToLocal(&text) ||
      !ToV8(isolate, map).ToLocal(&mapUrl))
    return {};
  std::vector<v8::Local<v8::String>> names;
  names.reserve(parameters.size());
  for (const std::string& parameter : parameters) names.push_back(Name(isolate, parameter));
  v8::ScriptOrigin origin(isolate, scriptName, 0, 0, false, -1, mapUrl);
  v8::ScriptCompiler::Source source(text, origin);
  return v8::ScriptCompiler::CompileFunctionInContext(context, &source, names.size(), names.data(), 0,
                                                      nullptr);
}

}  // namespace

bool CompiledPages::IsCurrent(CompiledPage& page) const {
  const auto now = std::chrono::steady_clock::now();
  if (now - page.checked < m_recheck) return true;
  page.checked = now;
  return std::all_of(page.stamps.begin(), page.stamps.end(),
                     [this](const auto& stamp) { return m_files.Stamp(stamp.first) == stamp.second; });
}

std::unique_ptr<CompiledPage> CompiledPages::Parse(const std::string& page) const {
  const StampingFiles files(m_files);
  auto compiled = std::make_unique<CompiledPage>();
  compiled->checked = std::chrono::steady_clock::now();
  compiled->script =
      CompilePage(m_parse(page, files), m_pagesUrl.empty() ? PageLayout::Plain : PageLayout::KeepLines);
  compiled->stamps = files.Stamps();
  return compiled;
}

CompiledPage& CompiledPages::Get(v8::Local<v8::Context> context, const std::string& page,
                                 const std::vector<std::string>& parameters) {
  const auto known = m_pages.find(page);
  if (known != m_pages.end() && IsCurrent(*known->second)) return *known->second;

  auto compiled = Parse(page);
  m_failed.reset();
  const std::string map = MapFor(page, compiled->script);
  v8::Local<v8::Function> function;
  if (!CompileBody(context, page, compiled->script.source, map, parameters).ToLocal(&function)) {
    m_failed = std::move(compiled);
    throw PendingException();
  }
  compiled->function.Reset(context->GetIsolate(), function);
  auto& place = m_pages[page];
  if (place) m_replaced.push_back(std::move(place));
  place = std::move(compiled);
  return *place;
}

std::string CompiledPages::MapFor(const std::string& page, const PageScript& script) {
  if (m_pagesUrl.empty()) return {};
  m_mapped.erase(page);
  if (KeepsItsLines(script)) return {};
  m_mapped.insert(page);
  return SourceMapUrl(script, m_files, m_pagesUrl);
}

std::string CompiledPages::UrlOf(const std::string& script) const {
  if (m_pagesUrl.empty() || script.starts_with("varnel:")) return script;
  return (m_mapped.contains(script) ? "varnel:///" : m_pagesUrl) + UrlOfPath(script);
}

PagePosition CompiledPages::Locate(const std::string& script, int generated) const {
  const CompiledPage* page = nullptr;
  if (m_failed && m_failed->script.files.front() == script) page = m_failed.get();
  const auto known = m_pages.find(script);
  if (!page && known != m_pages.end()) page = known->second.get();
  if (!page) return {};
  return PlaceIn(page->script, generated);
}

PagePosition CompiledPages::PlaceIn(const PageScript& script, int generated) {
  const SourceLine& line = script.Locate(generated);
  return {script.files[static_cast<std::size_t>(line.file)], line.line};
}

std::optional<CompiledPages::BracketFault> CompiledPages::BracketFaultOfFailed() const {
  if (!m_failed) return std::nullopt;
  const auto loose = FindLooseBracket(m_failed->script.source);
  if (!loose) return std::nullopt;
  const PagePosition place = PlaceIn(m_failed->script, loose->line);
  const auto named = [](char sign, const PagePosition& at) {
    return std::string("'") + sign + "' in line " + std::to_string(at.line) + " of " + at.file;
  };
  std::string sentence = "The " + named(loose->sign, place);
  if (loose->before != '\0') {
    sentence += " isn't closed before the " +
                named(loose->before, PlaceIn(m_failed->script, loose->lineOfBefore)) + ".";
  } else {
    sentence += std::string_view("([{").find(loose->sign) == std::string_view::npos ? " closes nothing."
                                                                                    : " is never closed.";
  }
  return BracketFault{std::move(sentence), place};
}

void CompiledPages::DropReplaced() {
  m_replaced.clear();
  m_failed.reset();
}

void CompiledPages::Clear() {
  m_pages.clear();
  DropReplaced();
}

}  // namespace hostlinux
