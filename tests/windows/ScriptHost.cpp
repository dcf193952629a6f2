// A small page host: runs pages of JScript and VBScript by the system's own engines, with objects of its own for request,
// response, session, application and server, and rows from a recorded file in place of a database.
//
//   script-host DATA PAGES PAGE [QUERY [FORM]]   the page's text goes to standard output, its error to standard error, and
//                                                behind it the members that it has called (Recording.h)
//
// DATA is a folder with application.txt, session.txt, messages.txt (key, tab, value in each line), rows.txt, prelude.js and
// prelude.vbs; PAGES is the folder of the pages. FORM is encoded as of a link, or "@FILE" with a body of
// multipart/form-data (boundary: frontier). SCRIPT_HOST_UPLOADS in the environment is Application("UploadFolder").
#include <windows.h>

#include <activscp.h>
#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "tests/windows/Page.h"
#include "tests/windows/Recording.h"
#include "tests/windows/Rows.h"
#include "varnel/automation/Enumerator.h"
#include "varnel/automation/Error.h"
#include "varnel/automation/Members.h"
#include "varnel/component/AutomationValues.h"
#include "varnel/component/ForeignObject.h"
#include "varnel/component/ObjectWrappers.h"

using namespace scripthost;
using varnel::Bytes;
using varnel::Long;
using varnel::Method;
using varnel::Missing;
using varnel::Object;
using varnel::ObjectPtr;
using varnel::ReadOnly;
using varnel::String;
using varnel::StringView;
using varnel::Variant;
namespace com = varnel::com;

namespace {

std::string FileText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::map<std::string, std::string> Pairs(const std::string& path) {
  std::map<std::string, std::string> pairs;
  std::istringstream lines(FileText(path));
  for (std::string line; std::getline(lines, line);) {
    const auto tab = line.find('\t');
    if (tab != std::string::npos) pairs[line.substr(0, tab)] = line.substr(tab + 1);
  }
  return pairs;
}

std::string Unescaped(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '+') {
      plain += ' ';
    } else if (text[i] == '%' && i + 2 < text.size()) {
      plain += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

// All values of one key.
class ValueList : public Object {
 public:
  explicit ValueList(std::vector<String> values) : m_values(std::move(values)) {}
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"StringList",
                                        {ReadOnly<&ValueList::Item>(u"Item", {Missing()}).AsDefault(),
                                         ReadOnly<&ValueList::Count>(u"Count")}};
    return info;
  }
  Variant Item(const Variant& position) {
    if (!position.IsMissing()) return m_values.at(static_cast<std::size_t>(varnel::ToLong(position)) - 1);
    if (m_values.empty()) return {};
    String joined;
    for (const String& value : m_values) joined += (joined.empty() ? u"" : u", ") + value;
    return joined;
  }
  Long Count() { return static_cast<Long>(m_values.size()); }

 private:
  std::vector<String> m_values;
};

class Values : public Object {
 public:
  explicit Values(const std::string& encoded) {
    std::istringstream parts(encoded);
    for (std::string part; std::getline(parts, part, '&');) {
      const auto equals = part.find('=');
      Add(varnel::FromUtf8(Unescaped(part.substr(0, equals))),
          equals == std::string::npos ? u"" : varnel::FromUtf8(Unescaped(part.substr(equals + 1))));
    }
  }
  void Add(const String& key, const String& value) {
    for (auto& [known, values] : m_values) {
      if (varnel::EqualsNoCase(known, key)) return values.push_back(value);
    }
    m_values.push_back({key, {value}});
  }
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"RequestDictionary",
                                        {ReadOnly<&Values::Item>(u"Item").AsDefault(),
                                         ReadOnly<&Values::Count>(u"Count"), ReadOnly<&Values::Key>(u"Key")}};
    return info;
  }
  std::unique_ptr<varnel::Enumeration> Enumerate() override {
    struct Keys : varnel::Enumeration {
      explicit Keys(std::shared_ptr<Values> values) : all(std::move(values)) {}
      bool Next(Variant& value) override {
        if (at >= all->m_values.size()) return false;
        value = all->m_values[at++].first;
        return true;
      }
      std::shared_ptr<Values> all;
      std::size_t at = 0;
    };
    return std::make_unique<Keys>(varnel::SharedFrom(*this));
  }
  ObjectPtr Item(const Variant& key) {
    if (!key.IsText()) {
      const auto position = static_cast<std::size_t>(varnel::ToLong(key)) - 1;
      return std::make_shared<ValueList>(m_values.at(position).second);
    }
    return std::make_shared<ValueList>(Of(varnel::ToText(key)));
  }
  std::vector<String> Of(const String& key) const {
    for (const auto& [known, values] : m_values) {
      if (varnel::EqualsNoCase(known, key)) return values;
    }
    return {};
  }
  Long Count() { return static_cast<Long>(m_values.size()); }
  String Key(Long position) { return m_values.at(static_cast<std::size_t>(position) - 1).first; }

 private:
  std::vector<std::pair<String, std::vector<String>>> m_values;
};

class Request : public Object {
 public:
  Request(const std::string& page, const std::string& query, const std::string& form, bool posted)
      : m_query(std::make_shared<Values>(query)), m_variables(std::make_shared<Values>("")) {
    const bool isMultipart = form.starts_with("@");
    const std::string body = isMultipart ? FileText(form.substr(1)) : form;
    m_body.assign(body.begin(), body.end());
    m_form = std::make_shared<Values>(isMultipart ? "" : form);
    m_variables->Add(u"REQUEST_METHOD", posted ? u"POST" : u"GET");
    // A page has one address, whatever it is written in.
    m_variables->Add(u"URL", u"/rec/" + varnel::FromUtf8(page.substr(0, page.rfind('.'))) + u".asp");
    m_variables->Add(u"HTTP_CONTENT_TYPE", isMultipart ? u"multipart/form-data; boundary=frontier"
                                                       : u"application/x-www-form-urlencoded");
  }
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{
        u"Request",
        {ReadOnly<&Request::QueryString>(u"QueryString"), ReadOnly<&Request::Form>(u"Form"),
         ReadOnly<&Request::ServerVariables>(u"ServerVariables"),
         ReadOnly<&Request::Item>(u"Item").AsDefault(), ReadOnly<&Request::TotalBytes>(u"TotalBytes"),
         Method<&Request::BinaryRead>(u"BinaryRead")}};
    return info;
  }
  ObjectPtr QueryString() { return m_query; }
  ObjectPtr Form() { return m_form; }
  ObjectPtr ServerVariables() { return m_variables; }
  ObjectPtr Item(const String& key) {
    for (const auto& part : {m_query, m_form, m_variables}) {
      if (!part->Of(key).empty()) return part->Item(key);
    }
    return m_query->Item(key);
  }
  Long TotalBytes() { return static_cast<Long>(m_body.size()); }
  Variant BinaryRead(Long) { return varnel::BytesPtr(std::make_shared<const Bytes>(std::move(m_body))); }

 private:
  std::shared_ptr<Values> m_query;
  std::shared_ptr<Values> m_form;
  std::shared_ptr<Values> m_variables;
  Bytes m_body;
};

class Response : public Object {
 public:
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"Response", {Method<&Response::Write>(u"Write")}};
    return info;
  }
  void Write(const Variant& value) {
    if (!value.IsNull()) m_text += varnel::ToText(value);
  }
  const String& Text() const { return m_text; }

 private:
  String m_text;
};

// Application and session: named values.
class Store : public Object {
 public:
  explicit Store(const std::string& path) {
    for (const auto& [key, value] : Pairs(path)) Set(varnel::FromUtf8(key), varnel::FromUtf8(value));
  }
  void Set(const String& key, Variant value) { m_values[varnel::ToLower(key)] = std::move(value); }
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{
        u"Store",
        {ReadOnly<&Store::Value>(u"Value").AsDefault(), varnel::DataMember<&Store::m_lcid>(u"LCID")}};
    return info;
  }
  Variant Value(const String& key) { return m_values[varnel::ToLower(key)]; }
  Long m_lcid = 1033;

 private:
  std::map<String, Variant> m_values;
};

class Messages : public Object {
 public:
  explicit Messages(const std::string& path) : m_texts(Pairs(path)) {}
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"Messages", {Method<&Messages::getMessage>(u"getMessage")}};
    return info;
  }
  String getMessage(const String& key, const Variant&) {
    const auto found = m_texts.find(varnel::ToUtf8(key));
    if (found == m_texts.end()) varnel::RaiseRuntimeError(5, key);
    return varnel::FromUtf8(found->second);
  }

 private:
  std::map<std::string, std::string> m_texts;
};

class Log : public Object {
 public:
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"Log", {Method<&Log::WriteEntry>(u"WriteEntry")}};
    return info;
  }
  void WriteEntry(String& source, String& text, Long& level, Variant&) {
    std::fprintf(stderr, "log %d %s: %s\n", static_cast<int>(level), varnel::ToUtf8(source).c_str(),
                 varnel::ToUtf8(text).c_str());
  }
};

class User : public Object {
 public:
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{
        u"User", {Method<&User::BindAs>(u"BindAs"), ReadOnly<&User::LanguageID>(u"LanguageID")}};
    return info;
  }
  void BindAs(const Variant&, const Variant&, const Variant&) {}
  Long LanguageID() { return 1033; }
};

class Configuration : public Object {
 public:
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{
        u"Configuration",
        {Method<&Configuration::Prepare>(u"PrepareConfiguration"),
         Method<&Configuration::ConnectionString>(u"GetConfigurationConnectionString")}};
    return info;
  }
  void Prepare(Long&) {}
  String ConnectionString(const String&) { return u"recorded"; }
};

com::ComPointer<IDispatch> Create(const String& progID) {
  CLSID id;
  void* made = nullptr;
  HRESULT answer = ::CLSIDFromProgID(reinterpret_cast<const wchar_t*>(progID.c_str()), &id);
  if (SUCCEEDED(answer))
    answer = ::CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, com::kDispatchId, &made);
  if (FAILED(answer))
    throw varnel::Error({429, u"Host",
                         u"can't create " + progID + u" " + varnel::HexText(static_cast<Long>(answer)), u"",
                         0});
  return com::ComPointer<IDispatch>::Taking(static_cast<IDispatch*>(made));
}

// The context, and the server that pages ask for objects.
class Context : public Object {
 public:
  std::map<String, ObjectPtr> items;

  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{
        u"ObjectContext",
        {ReadOnly<&Context::Item>(u"Item").AsDefault(), Method<&Context::CreateInstance>(u"CreateInstance")}};
    return info;
  }
  ObjectPtr Item(const String& name) { return items.at(varnel::ToLower(name)); }
  Variant CreateInstance(const String& progID) {
    const auto is = [&](StringView name) { return varnel::EqualsNoCase(progID, name); };
    if (is(u"Ostrand.Log")) return std::make_shared<Log>();
    if (is(u"Ostrand.Configuration")) return std::make_shared<Configuration>();
    if (is(u"Tolvane.User")) return std::make_shared<User>();
    const auto made = Create(progID);
    if (const auto control = com::QueryFor<com::ComObjectControl>(made.Get(), com::kObjectControlId)) {
      m_controls.push_back(control);
      if (FAILED(control->Activate())) throw varnel::Error({-1, u"Host", u"not activated", u"", 0});
    }
    return com::UnwrapObject(made.Get());
  }
  void End() {
    for (const auto& control : m_controls) control->Deactivate();
    m_controls.clear();
  }

 private:
  std::vector<com::ComPointer<com::ComObjectControl>> m_controls;
};

// What a script gets for an object that was made outside of this program.
ObjectPtr AsRecorded(const Variant& made) {
  const ObjectPtr object = varnel::ToObject(made);
  const auto foreign = varnel::CastObject<com::ForeignObject>(object);
  return foreign == nullptr ? object : com::UnwrapObject(Recorded(foreign->Dispatch()).Get());
}

class Server : public Object {
 public:
  explicit Server(std::shared_ptr<Context> context) : m_context(std::move(context)) {}
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{
        u"Server",
        {Method<&Server::CreateObject>(u"CreateObject"), Method<&Server::URLEncode>(u"URLEncode"),
         Method<&Server::HTMLEncode>(u"HTMLEncode")}};
    return info;
  }
  Variant CreateObject(const String& progID) { return AsRecorded(m_context->CreateInstance(progID)); }
  String URLEncode(const String& text) {
    String encoded;
    for (const char c : varnel::ToUtf8(text)) {
      const auto byte = static_cast<unsigned char>(c);
      if (byte < 0x80 && std::isalnum(byte) != 0) {
        encoded += static_cast<char16_t>(byte);
      } else if (c == ' ') {
        encoded += u'+';
      } else {
        constexpr StringView kDigits = u"0123456789ABCDEF";
        encoded += u'%';
        encoded += kDigits[byte >> 4];
        encoded += kDigits[byte & 15];
      }
    }
    return encoded;
  }
  String HTMLEncode(const String& text) {
    String encoded = varnel::Replace(text, u"&", u"&amp;");
    encoded = varnel::Replace(encoded, u"<", u"&lt;");
    encoded = varnel::Replace(encoded, u">", u"&gt;");
    return varnel::Replace(encoded, u"\"", u"&quot;");
  }

 private:
  std::shared_ptr<Context> m_context;
};

// A value in an object, for engines that hand over nothing else by reference.
struct Holder : Object {
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"Holder", {ReadOnly<&Holder::Value>(u"Value").AsDefault()}};
    return info;
  }
  Variant Value() { return value; }
  Variant value;
};

// Basic's conversions, for engines that have none, and a look at bytes.
class Basic : public Object {
 public:
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{
        u"Basic",
        {Method<&Basic::CInt>(u"CInt"), Method<&Basic::CLng>(u"CLng"), Method<&Basic::CDbl>(u"CDbl"),
         Method<&Basic::CStr>(u"CStr"), Method<&Basic::ByRef>(u"ByRef"), Method<&Basic::Hex>(u"Hex")}};
    return info;
  }
  varnel::Integer CInt(const Variant& value) { return varnel::ToInteger(value); }
  Long CLng(const Variant& value) { return varnel::ToLong(value); }
  double CDbl(const Variant& value) { return varnel::ToDouble(value); }
  String CStr(const Variant& value) { return varnel::ToText(value); }
  // Two digits for each byte.
  String Hex(const Variant& value) {
    constexpr StringView kDigits = u"0123456789abcdef";
    const auto* bytes = value.As<varnel::BytesPtr>();
    if (bytes == nullptr || *bytes == nullptr)
      varnel::RaiseRuntimeError(varnel::runtime_error::kTypeMismatch);
    String text;
    for (const varnel::Byte byte : **bytes) (text += kDigits[byte >> 4]) += kDigits[byte & 15];
    return text;
  }
  ObjectPtr ByRef(const Variant& value) {
    auto holder = std::make_shared<Holder>();
    holder->value = value;
    return holder;
  }
};

// What an engine asks its host.
class Site final : public IActiveScriptSite {
 public:
  std::map<String, ObjectPtr> names;
  bool failed = false;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    *object = IsEqualGUID(id, IID_IUnknown) || IsEqualGUID(id, IID_IActiveScriptSite) ? this : nullptr;
    return *object != nullptr ? S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE GetLCID(LCID* lcid) override {
    *lcid = 1033;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetItemInfo(LPCOLESTR name, DWORD mask, IUnknown** item,
                                        ITypeInfo** info) override {
    if (info != nullptr && (mask & SCRIPTINFO_ITYPEINFO) != 0) *info = nullptr;
    const auto found = std::find_if(names.begin(), names.end(), [&](const auto& known) {
      return varnel::EqualsNoCase(known.first, com::TextUpToNul(name));
    });
    if (found == names.end()) return TYPE_E_ELEMENTNOTFOUND;
    if ((mask & SCRIPTINFO_IUNKNOWN) != 0) *item = com::WrapObject(found->second).Detach();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetDocVersionString(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE OnScriptTerminate(const VARIANT*, const EXCEPINFO*) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE OnStateChange(SCRIPTSTATE) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE OnEnterScript() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE OnLeaveScript() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE OnScriptError(IActiveScriptError* error) override {
    failed = true;
    EXCEPINFO info{};
    DWORD context = 0;
    ULONG line = 0;
    LONG column = 0;
    error->GetExceptionInfo(&info);
    error->GetSourcePosition(&context, &line, &column);
    std::fprintf(stderr, "error in line %lu: %08lX %s: %s\n", line + 1,
                 static_cast<unsigned long>(info.scode), varnel::ToUtf8(com::TextOf(info.bstrSource)).c_str(),
                 varnel::ToUtf8(com::TextOf(info.bstrDescription)).c_str());
    return S_OK;
  }
};

constexpr GUID kVBScript = {0xB54F3741, 0x5B07, 0x11CF, {0xA4, 0xB0, 0x00, 0xAA, 0x00, 0x4A, 0x55, 0xE8}};
constexpr GUID kJScript = {0xF414C260, 0x6AC0, 0x11CF, {0xB6, 0xD1, 0x00, 0xAA, 0x00, 0xBB, 0xBB, 0x58}};

#ifdef _WIN64
constexpr GUID kParse = {0xC7EF7658, 0xE1EE, 0x480E, {0x97, 0xEA, 0xD5, 0x2C, 0xB4, 0xD7, 0x6D, 0x17}};
#else
constexpr GUID kParse = {0xBB1A2AE2, 0xA4F9, 0x11CF, {0x8F, 0x20, 0x00, 0x80, 0x5F, 0x2C, 0xD0, 0x64}};
#endif

bool Run(Site& site, const ScriptText& script) {
  void* made = nullptr;
  if (FAILED(::CoCreateInstance(script.isBasic ? kVBScript : kJScript, nullptr, CLSCTX_INPROC_SERVER,
                                IID_IActiveScript, &made))) {
    std::fprintf(stderr, "there is no such script engine\n");
    return false;
  }
  auto* engine = static_cast<IActiveScript*>(made);
  IActiveScriptParse* parser = nullptr;
  engine->QueryInterface(kParse, reinterpret_cast<void**>(&parser));
  engine->SetScriptSite(&site);
  parser->InitNew();
  for (const auto& [name, object] : site.names)
    engine->AddNamedItem(reinterpret_cast<const wchar_t*>(name.c_str()), SCRIPTITEM_ISVISIBLE);
  EXCEPINFO info{};
  const HRESULT parsed =
      parser->ParseScriptText(reinterpret_cast<const wchar_t*>(script.text.c_str()), nullptr, nullptr,
                              nullptr, 0, 0, SCRIPTTEXT_ISVISIBLE, nullptr, &info);
  const HRESULT ran = SUCCEEDED(parsed) ? engine->SetScriptState(SCRIPTSTATE_STARTED) : parsed;
  engine->Close();
  parser->Release();
  engine->Release();
  return SUCCEEDED(ran) && !site.failed;
}

using SetObjectContext = HRESULT(__stdcall*)(IDispatch*);

int Main(int argc, char** argv) {
  if (argc < 4) return 2;
  const std::string folder = argv[1];
  const std::string page = argv[3];
  ProvideAdo(LoadRows(FileText(folder + "/rows.txt")));

  const auto context = std::make_shared<Context>();
  const auto response = std::make_shared<Response>();
  const auto application = std::make_shared<Store>(folder + "/application.txt");
  if (const char* folder = std::getenv("SCRIPT_HOST_UPLOADS"))
    application->Set(u"UploadFolder", varnel::FromUtf8(folder));
  application->Set(u"I18NMessageManager", ObjectPtr(std::make_shared<Messages>(folder + "/messages.txt")));
  context->items = {{u"request", std::make_shared<Request>(page, argc > 4 ? argv[4] : "",
                                                           argc > 5 ? argv[5] : "", argc > 5)},
                    {u"response", response},
                    {u"application", application},
                    {u"session", std::make_shared<Store>(folder + "/session.txt")},
                    {u"server", std::make_shared<Server>(context)}};

  // Made once by its name, so that the library is loaded and can be told the context.
  const auto first = Create(u"Varnel.Utilities");
  const auto setContext = reinterpret_cast<SetObjectContext>(
      reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleA("varnel.dll"), "VarnelSetObjectContext")));
  if (setContext == nullptr) return 3;
  setContext(com::WrapObject(context).Get());
  Site site;
  for (const StringView name : {u"Request", u"Response", u"Application", u"Session", u"Server"})
    site.names[String(name)] = context->Item(String(name));
  site.names[u"Basic"] = std::make_shared<Basic>();
  site.names[u"Utilities"] = com::UnwrapObject(Recorded(first.Get()).Get());
  const bool succeeded = Run(site, ReadPage(folder, argv[2], page));
  context->End();
  setContext(nullptr);
  std::fputs(CalledMembers().c_str(), stderr);
  const std::string text = varnel::ToUtf8(response->Text());
  ::_setmode(::_fileno(stdout), _O_BINARY);
  std::fwrite(text.data(), 1, text.size(), stdout);
  return succeeded ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  ::CoInitialize(nullptr);
  int result = 3;
  try {
    result = Main(argc, argv);
  } catch (const varnel::Error& error) {
    std::fprintf(stderr, "%d %s\n", static_cast<int>(error.Info().Number), error.what());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
  }
  std::fflush(stdout);
  return result;
}
