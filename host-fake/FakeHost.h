// A whole host in memory: the platform that the library runs on in a test.
//
//   FakeHost host;                                     // installed from here to the end of its scope
//   host.Application().Set(u"A_ConnectionString", u"fake");
//   host.Database().Answer(u"SELECT ID FROM T", {{{u"ID", kTypeLong}}, {{Long{1}}, {Long{2}}}, {}, {}});
//   const auto page = host.Create<Page>(u"Varnel.Page");
#pragma once

#include <functional>
#include <map>

#include "host-fake/FakeDatabase.h"
#include "host-fake/FakeFiles.h"
#include "host-fake/FakeIntrinsics.h"
#include "host-fake/FakeLocale.h"
#include "host-fake/FakeServices.h"
#include "varnel/host/Platform.h"

namespace hostfake {

class FakeContext;

class FakeHost : public varnel::host::IPlatform {
 public:
  // Installs itself as the platform; there is one at a time.
  FakeHost();
  ~FakeHost() override;
  FakeHost(const FakeHost&) = delete;
  FakeHost& operator=(const FakeHost&) = delete;

  FakeRequest& Request() { return *m_request; }
  FakeResponse& Response() { return *m_response; }
  FakeSession& Session() { return *m_session; }
  FakeApplication& Application() { return *m_application; }
  FakeServer& Server() { return *m_server; }
  FakeDatabase& Database() { return *m_database; }
  FakeLog& Log() { return *m_log; }
  FakeUser& User() { return *m_user; }
  FakeConfiguration& Configuration() { return *m_configuration; }
  FakeMessageManager& MessageManager() { return *m_messageManager; }
  FakeLocale& LocaleAnswers() { return *m_locale; }
  // Locale calls in place of the fake ones.
  void UseLocale(std::shared_ptr<varnel::host::ILocale> locale) { m_usedLocale = std::move(locale); }
  FakeFileSystem& Files() { return m_files; }
  FakeCodePages& Pages() { return m_codePages; }
  // Puts the message manager into the Application, where pages look for it. Not done at first.
  void InstallMessageManager();

  // What was asked of the host, in order: "Context: Item Server", "Connection 1: Close", ...
  hostfake::Trace& Trace() { return *m_trace; }

  // Takes the object context away, or gives it back.
  void SetHasContext(bool hasContext) { m_hasContext = hasContext; }
  // Every further creation of `progID` fails.
  void FailCreation(StringView progID, varnel::ErrInfo failure);
  // Classes of a test's own, or in place of the library's. A factory that gives null fails with 429.
  void Register(StringView progID, std::function<ObjectPtr()> factory);
  // An object in place of the context's "Server", "Session", ... ; null takes it away.
  void ReplaceItem(StringView name, ObjectPtr object);
  // Guards the lists from now on; null: nothing does, as at first. The guard outlives its use.
  void UseStateGuard(varnel::host::IStateGuard* guard) { m_stateGuard = guard; }
  void UseListWatcher(varnel::host::IListWatcher* watcher) { m_listWatcher = watcher; }
  // Deactivates what was made in the context and is still held, in the order of creation.
  void EndRequest();

  // A component made as the library's callers make it, as one of its classes.
  template <typename T>
  std::shared_ptr<T> Create(StringView progID) {
    const auto context = GetObjectContext();
    return varnel::CastObject<T>(context == nullptr ? CreateObject(progID) : context->CreateInstance(progID));
  }

  std::shared_ptr<varnel::host::IObjectContext> GetObjectContext() override;
  ObjectPtr CreateObject(StringView progID) override;
  std::shared_ptr<varnel::host::IConnection> CreateConnection() override;
  std::shared_ptr<varnel::host::IRecordset> CreateRecordset() override;
  varnel::host::ILocale& Locale() override { return *m_usedLocale; }
  varnel::host::IFileSystem& FileSystem() override { return m_files; }
  varnel::host::ICodePages& CodePages() override { return m_codePages; }
  varnel::host::IStateGuard* StateGuard() override { return m_stateGuard; }
  varnel::host::IListWatcher* ListWatcher() override { return m_listWatcher; }
  bool EnterLog() override;
  void LeaveLog() override { m_logging = false; }

 private:
  friend class FakeContext;

  ObjectPtr Make(StringView progID);

  TracePtr m_trace;
  std::shared_ptr<FakeRequest> m_request;
  std::shared_ptr<FakeResponse> m_response;
  std::shared_ptr<FakeSession> m_session;
  std::shared_ptr<FakeApplication> m_application;
  std::shared_ptr<FakeServer> m_server;
  std::shared_ptr<FakeDatabase> m_database;
  std::shared_ptr<FakeLog> m_log;
  std::shared_ptr<FakeUser> m_user;
  std::shared_ptr<FakeMessageManager> m_messageManager;
  std::shared_ptr<FakeConfiguration> m_configuration;
  std::shared_ptr<FakeLocale> m_locale;
  std::shared_ptr<varnel::host::ILocale> m_usedLocale;
  FakeFileSystem m_files;
  FakeCodePages m_codePages;
  std::shared_ptr<FakeContext> m_context;
  std::map<String, std::function<ObjectPtr()>> m_factories;  // by folded ProgID
  std::map<String, varnel::ErrInfo> m_failing;               // by folded ProgID
  std::map<String, ObjectPtr> m_items;                       // by folded name
  varnel::host::IStateGuard* m_stateGuard = nullptr;
  varnel::host::IListWatcher* m_listWatcher = nullptr;
  bool m_hasContext = true;
  bool m_logging = false;
};

// The context of the one request of a FakeHost, which must outlive it.
class FakeContext : public varnel::host::IObjectContext {
 public:
  explicit FakeContext(FakeHost& host) : m_host(host) {}

  // 5 for a name that the context doesn't have.
  ObjectPtr Item(StringView name) override;
  ObjectPtr CreateInstance(StringView progID) override;
  String FormFields() override { return formFields; }
  void DeactivateAll();

  String formFields;  // nothing is asked at first

 private:
  FakeHost& m_host;
  std::vector<std::weak_ptr<Object>> m_made;
};

}  // namespace hostfake
