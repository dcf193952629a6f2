#include "host-windows/WindowsIntrinsics.h"

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace hostwindows {

using varnel::Long;
using varnel::ObjectPtr;
using varnel::String;
using varnel::StringView;
using varnel::Variant;
namespace host = varnel::host;

namespace {

// What has no members for scripts: they have the platform's own object.
class Intrinsic : public varnel::Object {
 public:
  explicit Intrinsic(ForeignPtr object) : m_object(std::move(object)) {}
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"Object", {}};
    return info;
  }

 protected:
  const ForeignPtr m_object;
};

// Values by key, where each one is a list of texts with a default value.
class Values : public host::IRequestCollection {
 public:
  explicit Values(ForeignPtr object) : m_object(std::move(object)) {}

  Long Count() const override { return varnel::ToLong(m_object->Get(u"Count")); }
  String Key(Long position) const override {
    RequirePosition(position);
    return varnel::ToText(m_object->CallWith(u"Key", position));
  }
  String ValueAt(Long position) const override {
    RequirePosition(position);
    return varnel::ToText(varnel::ToPlain(m_object->CallWith(u"Item", position)));
  }
  Variant Value(StringView key) const override { return varnel::ToPlain(m_object->CallWith(u"Item", key)); }
  Long ValueCount(StringView key) const override {
    const Variant values = m_object->CallWith(u"Item", key);
    if (!values.IsObject()) return values.IsEmpty() ? 0 : 1;
    const ObjectPtr list = varnel::ToObject(values);
    return list == nullptr ? 0 : varnel::ToLong(list->Get(u"Count"));
  }

 private:
  void RequirePosition(Long position) const {
    if (position < 1 || position > Count()) varnel::RaiseRuntimeError(varnel::runtime_error::kSubscript);
  }

  ForeignPtr m_object;
};

class WindowsRequest : public Intrinsic, public host::IRequest {
 public:
  using Intrinsic::Intrinsic;
  const host::IRequestCollection& QueryString() override { return Part(m_query, u"QueryString"); }
  const host::IRequestCollection& Form() override { return Part(m_form, u"Form"); }
  const host::IRequestCollection& ServerVariables() override { return Part(m_variables, u"ServerVariables"); }
  Variant Item(StringView key) override { return varnel::ToPlain(m_object->CallWith(u"Item", key)); }
  Long TotalBytes() override { return varnel::ToLong(m_object->Get(u"TotalBytes")); }
  varnel::Bytes BinaryRead(Long count) override {
    const Variant read = m_object->CallWith(u"BinaryRead", count);
    const auto* bytes = read.As<varnel::BytesPtr>();
    return bytes == nullptr || *bytes == nullptr ? varnel::Bytes() : **bytes;
  }

 private:
  const Values& Part(std::unique_ptr<Values>& part, StringView name) {
    if (part == nullptr)
      part = std::make_unique<Values>(RequireForeign(varnel::ToObject(m_object->Get(name))));
    return *part;
  }

  std::unique_ptr<Values> m_query;
  std::unique_ptr<Values> m_form;
  std::unique_ptr<Values> m_variables;
};

class WindowsResponse : public Intrinsic, public host::IResponse {
 public:
  using Intrinsic::Intrinsic;
  void Write(StringView text) override { m_object->CallWith(u"Write", text); }
};

class WindowsSession : public Intrinsic, public host::ISession {
 public:
  using Intrinsic::Intrinsic;
  Variant Value(StringView key) override { return m_object->CallWith(u"Value", key); }
  Long LCID() override { return varnel::ToLong(m_object->Get(u"LCID")); }
};

class WindowsApplication : public Intrinsic, public host::IApplication {
 public:
  using Intrinsic::Intrinsic;
  Variant Value(StringView key) override { return m_object->CallWith(u"Value", key); }
};

class WindowsServer : public Intrinsic, public host::IServer {
 public:
  using Intrinsic::Intrinsic;
  String URLEncode(StringView text) override {
    return varnel::ToText(m_object->CallWith(u"URLEncode", text));
  }
  String HTMLEncode(StringView text) override {
    return varnel::ToText(m_object->CallWith(u"HTMLEncode", text));
  }
};

}  // namespace

ObjectPtr MakeIntrinsic(StringView name, ForeignPtr object) {
  const auto is = [&](StringView known) { return varnel::EqualsNoCase(name, known); };
  if (is(u"Request")) return std::make_shared<WindowsRequest>(std::move(object));
  if (is(u"Response")) return std::make_shared<WindowsResponse>(std::move(object));
  if (is(u"Session")) return std::make_shared<WindowsSession>(std::move(object));
  if (is(u"Application")) return std::make_shared<WindowsApplication>(std::move(object));
  if (is(u"Server")) return std::make_shared<WindowsServer>(std::move(object));
  varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, name);
}

}  // namespace hostwindows
