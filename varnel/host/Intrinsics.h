// The objects that a page host gives to a running page: request, response, session, application and server.
#pragma once

#include <memory>

#include "varnel/automation/Variant.h"

namespace varnel::host {

// The values that a request carries in one place (query, form, server variables).
class IRequestCollection {
 public:
  virtual ~IRequestCollection() = default;
  // How many keys there are.
  virtual Long Count() const = 0;
  // The key at `position`, from 1. Raises 9 outside.
  virtual String Key(Long position) const = 0;
  // The value at `position`, from 1: several values of one key are joined with ", ". Raises 9 outside.
  virtual String ValueAt(Long position) const = 0;
  // The value of `key`, in any case of letters, joined in the same way: Empty if there is none.
  virtual Variant Value(StringView key) const = 0;
  // How many values `key` has: 0 if there is none.
  virtual Long ValueCount(StringView key) const = 0;
};

class IRequest {
 public:
  virtual ~IRequest() = default;
  virtual const IRequestCollection& QueryString() = 0;
  // Reads the body. Raises if `BinaryRead` has read it already.
  virtual const IRequestCollection& Form() = 0;
  virtual const IRequestCollection& ServerVariables() = 0;
  // The first of query, form, cookies and server variables that has `key`: Empty if none has.
  virtual Variant Item(StringView key) = 0;
  virtual Long TotalBytes() = 0;
  // At most `count` further bytes of the body.
  virtual Bytes BinaryRead(Long count) = 0;
};

class IResponse {
 public:
  virtual ~IResponse() = default;
  // Appends `text` to the page.
  virtual void Write(StringView text) = 0;
};

class ISession {
 public:
  virtual ~ISession() = default;
  // Empty if the key isn't set. Keys ignore case.
  virtual Variant Value(StringView key) = 0;
  virtual Long LCID() = 0;
};

class IApplication {
 public:
  virtual ~IApplication() = default;
  // Empty if the key isn't set. Keys ignore case.
  virtual Variant Value(StringView key) = 0;
};

class IServer {
 public:
  virtual ~IServer() = default;
  // Letters and digits stay, a blank becomes "+", every other byte of the UTF-8 text %XX.
  virtual String URLEncode(StringView text) = 0;
  // Encodes & < > and the double quote.
  virtual String HTMLEncode(StringView text) = 0;
};

}  // namespace varnel::host
