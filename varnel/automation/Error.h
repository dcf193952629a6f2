// The one exception of the library, and the record of an error that it carries.
#pragma once

#include <exception>
#include <string>

#include "varnel/automation/String.h"

namespace varnel {

// The record of an error. A Number of 0 means that there is no error.
struct ErrInfo {
  Long Number = 0;
  String Source;       // what raised it
  String Description;  // the text
  String HelpFile;     // passed along unchanged
  Long HelpContext = 0;

  bool operator==(const ErrInfo&) const = default;
};

class Error : public std::exception {
 public:
  explicit Error(ErrInfo info);
  const ErrInfo& Info() const { return m_info; }
  const char* what() const noexcept override { return m_what.c_str(); }

 private:
  ErrInfo m_info;
  std::string m_what;
};

// The same error where an argument couldn't be made what its operation takes, with what a host may tell of it. To all
// others it is the error of the conversion.
class ArgumentError : public Error {
 public:
  // `position` counts from 0; `wanted` and `given` are for people: "a whole number", "'abc'".
  ArgumentError(ErrInfo info, std::size_t position, String wanted, String given);

  std::size_t Position() const { return m_position; }
  const String& Wanted() const { return m_wanted; }
  const String& Given() const { return m_given; }
  // "DRecordset.SetPageSize"; empty where it isn't known yet.
  const String& Operation() const { return m_operation; }
  bool IsProperty() const { return m_isProperty; }  // the value of one that is set
  void SetOperation(String operation, bool isProperty);

 private:
  std::size_t m_position;
  String m_wanted;
  String m_given;
  String m_operation;
  bool m_isProperty = false;
};

// Thrown where the host ends the page in the middle of an operation. It is no failure, so no handler looks at
// it: `CurrentError` lets it pass.
struct PageEnded {};

// The run-time errors that scripts know by number.
namespace runtime_error {
inline constexpr Long kInvalidArgument = 5;
inline constexpr Long kOverflow = 6;
inline constexpr Long kOutOfMemory = 7;
inline constexpr Long kSubscript = 9;
inline constexpr Long kDivisionByZero = 11;
inline constexpr Long kTypeMismatch = 13;
inline constexpr Long kObjectNotSet = 91;
inline constexpr Long kInvalidUseOfNull = 94;
inline constexpr Long kNoSuchMember = 438;
inline constexpr Long kWrongArgumentCount = 450;
inline constexpr Long kKeyTaken = 457;
}  // namespace runtime_error

// Raises run-time error `number` with its own text; `detail`, if there is one, stands behind it after ": ".
[[noreturn]] void RaiseRuntimeError(Long number, StringView detail = {});

// The error in flight as a record: call it inside a catch clause. Without one the Number is 0; an exception
// that is not ours becomes number 7 (out of memory) or 5 with its text. A PageEnded in flight goes on from
// here.
ErrInfo CurrentError();

}  // namespace varnel
