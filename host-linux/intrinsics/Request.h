// What a page sees of its request.
#pragma once

#include <functional>
#include <memory>

#include "host-linux/intrinsics/PageRequest.h"
#include "host-linux/intrinsics/RequestBound.h"
#include "host-linux/intrinsics/RequestCollection.h"
#include "varnel/automation/LocaleFacts.h"
#include "varnel/automation/Object.h"
#include "varnel/host/Intrinsics.h"

namespace hostlinux {

class Request : public varnel::Object, public varnel::host::IRequest, public RequestBound {
 public:
  // Lets go of the body's memory once it was read as bytes. `lcid`: the visitor's locale; without it the
  // user's.
  explicit Request(std::shared_ptr<PageRequest> request, std::function<varnel::Long()> lcid = {});

  const varnel::ClassInfo& Class() const override;

  const varnel::host::IRequestCollection& QueryString() override { return *QueryObject(); }
  // Empty unless the body is a url-encoded form. Raises 5 where BinaryRead has begun to read such a body.
  const varnel::host::IRequestCollection& Form() override { return *FormObject(); }
  const varnel::host::IRequestCollection& ServerVariables() override { return m_variables; }
  // A form that BinaryRead has begun to read is passed over.
  varnel::Variant Item(varnel::StringView key) override;
  varnel::Long TotalBytes() override;
  // Raises 5 for a negative count.
  varnel::Bytes BinaryRead(varnel::Long count) override;

  // The same as scripts see them.
  std::shared_ptr<RequestCollection> QueryObject();
  std::shared_ptr<RequestCollection> FormObject();
  std::shared_ptr<RequestCollection> CookiesObject();
  std::shared_ptr<RequestCollection> ServerVariablesObject();
  varnel::Variant ItemObject(const varnel::Variant& key);
  varnel::Variant ReadBytes(varnel::Long count);

  // The parameter of that name in the query, else in the form, as a text: several values are joined with ", ".
  // `otherwise` where there is none.
  varnel::String Text(const varnel::String& name, const varnel::String& otherwise);
  // The same parameter as a number, a Double, and as a day: read by the visitor's locale and strictly
  // (nls/TypedText.h). Null where it is missing or can't be read.
  varnel::Variant Number(const varnel::String& name);
  varnel::Variant Day(const varnel::String& name);

 private:
  // The server variables as the library asks for them: what each page needs without making all the others.
  class Variables final : public varnel::host::IRequestCollection {
   public:
    explicit Variables(Request& request) : m_request(request) {}
    varnel::Long Count() const override { return All().Count(); }
    varnel::String Key(varnel::Long position) const override { return All().Key(position); }
    varnel::String ValueAt(varnel::Long position) const override { return All().ValueAt(position); }
    varnel::Variant Value(varnel::StringView key) const override;
    varnel::Long ValueCount(varnel::StringView key) const override { return All().ValueCount(key); }

   private:
    const RequestCollection& All() const { return *m_request.ServerVariablesObject(); }

    Request& m_request;
  };

  std::shared_ptr<RequestCollection> FirstWith(varnel::StringView key);
  bool IsFormGone() const;
  const varnel::LocaleFacts& Locale() const;

  // Each collection is made when it is first asked for: most pages use one.
  std::shared_ptr<PageRequest> m_request;
  std::function<varnel::Long()> m_lcid;
  std::size_t m_totalBytes;
  std::shared_ptr<RequestCollection> m_query;
  std::shared_ptr<RequestCollection> m_form;
  std::shared_ptr<RequestCollection> m_cookies;
  std::shared_ptr<RequestCollection> m_serverVariables;
  Variables m_variables{*this};
  std::size_t m_bytesRead = 0;
  bool m_bodyTaken = false;
};

}  // namespace hostlinux
