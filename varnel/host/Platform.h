// The platform itself: where a component finds its context and makes other components.
#pragma once

#include <memory>

#include "varnel/automation/Error.h"
#include "varnel/automation/Object.h"
#include "varnel/host/Ado.h"
#include "varnel/host/ICodePages.h"
#include "varnel/host/IFileSystem.h"
#include "varnel/host/IListWatcher.h"
#include "varnel/host/IStateGuard.h"
#include "varnel/host/Locale.h"

namespace varnel::host {

// The context of the running request.
class IObjectContext {
 public:
  virtual ~IObjectContext() = default;
  // "Server", "Session", "Application", "Response" or "Request": an object that implements the interface of
  // that name in Intrinsics.h.
  virtual ObjectPtr Item(StringView name) = 0;
  // Makes a component inside the context; activates it where it implements IObjectControl.
  virtual ObjectPtr CreateInstance(StringView progID) = 0;
  // What the host asks each posted form to bear, as HTML of hidden fields; empty where it asks nothing.
  virtual String FormFields() = 0;
};

class IPlatform {
 public:
  virtual ~IPlatform() = default;
  // The context of the request that runs on this thread: null when there is none.
  virtual std::shared_ptr<IObjectContext> GetObjectContext() = 0;
  // Makes a component without a context. Raises 429 for a class that isn't known.
  virtual ObjectPtr CreateObject(StringView progID) = 0;
  virtual std::shared_ptr<IConnection> CreateConnection() = 0;
  virtual std::shared_ptr<IRecordset> CreateRecordset() = 0;
  virtual ILocale& Locale() = 0;
  virtual IFileSystem& FileSystem() = 0;
  virtual ICodePages& CodePages() = 0;
  // Guards the lists of the request that runs on this thread: null where nothing guards them.
  virtual IStateGuard* StateGuard() = 0;
  // Looks at the lists of the request that runs on this thread: null where nobody does.
  virtual IListWatcher* ListWatcher() = 0;
  // Before and after a log entry is made. False if one is being made on this thread already: a log that fails
  // reports its failure, and that report must not come back to the log. `LeaveLog` follows only on True.
  virtual bool EnterLog() = 0;
  virtual void LeaveLog() = 0;
};

// The platform that the library runs on: set once by the host (or by a test), before anything else is called.
void SetPlatform(IPlatform* platform);
IPlatform& Platform();

// Short for Platform().GetObjectContext().
std::shared_ptr<IObjectContext> GetObjectContext();

// Short for Platform().StateGuard().
IStateGuard* StateGuard();

// The request's object `name` of `context` as the interface T of Intrinsics.h. Raises 13 if it is none.
template <typename T>
std::shared_ptr<T> RequiredIntrinsic(IObjectContext& context, StringView name) {
  auto intrinsic = CastObject<T>(context.Item(name));
  if (intrinsic == nullptr) RaiseRuntimeError(runtime_error::kTypeMismatch, name);
  return intrinsic;
}

}  // namespace varnel::host
