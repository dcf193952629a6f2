// A script's object or function as the library sees it.
#pragma once

#include <v8.h>

#include <memory>
#include <unordered_set>

#include "host-linux/script/ScriptValue.h"
#include "varnel/automation/Object.h"

namespace hostlinux {

class ScriptCore;
class ScriptObjects;

// Members are found under their exact name, or else in any case of letters. Errors that the script throws
// arrive as varnel::Error with their number, source and description.
class ScriptObject final : public varnel::Object, public IScriptValue {
 public:
  ScriptObject(ScriptCore& core, ScriptObjects& owner, v8::Local<v8::Object> object);
  ~ScriptObject() override;

  const varnel::ClassInfo& Class() const override;
  varnel::Variant Call(varnel::StringView name, varnel::Arguments arguments) override;
  varnel::Variant Get(varnel::StringView name) override;
  void Put(varnel::StringView name, const varnel::Variant& value) override;
  // Calls a function; any other object gives its primitive value, when called without arguments.
  varnel::Variant CallDefault(varnel::Arguments arguments) override;
  // The elements of anything iterable, read when it is called.
  std::unique_ptr<varnel::Enumeration> Enumerate() override;

  // The script's object. Raises 91 once its request is over.
  v8::Local<v8::Object> Local() const;

 private:
  friend class ScriptObjects;
  varnel::Variant DefaultValue();
  template <typename Body>
  auto InScript(Body body) const;
  v8::Local<v8::Name> FindName(v8::Local<v8::Object> object, varnel::StringView name) const;
  varnel::Variant CallFunction(v8::Local<v8::Object> function, v8::Local<v8::Value> receiver,
                               varnel::Arguments arguments) const;

  ScriptCore* m_core;  // null once the request is over
  ScriptObjects* m_owner;
  v8::Global<v8::Object> m_object;
};

// The script objects of the running request.
class ScriptObjects {
 public:
  std::shared_ptr<ScriptObject> Make(ScriptCore& core, v8::Local<v8::Object> object);
  // Cuts all of them off from the script.
  void ReleaseAll();

 private:
  friend class ScriptObject;
  std::unordered_set<ScriptObject*> m_alive;
};

}  // namespace hostlinux
