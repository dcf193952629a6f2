#include "varnel/automation/Error.h"

#include <new>
#include <utility>

namespace varnel {

Error::Error(ErrInfo info) : m_info(std::move(info)), m_what(ToUtf8(m_info.Description)) {}

ArgumentError::ArgumentError(ErrInfo info, std::size_t position, String wanted, String given)
    : Error(std::move(info)), m_position(position), m_wanted(std::move(wanted)), m_given(std::move(given)) {}

void ArgumentError::SetOperation(String operation, bool isProperty) {
  m_operation = std::move(operation);
  m_isProperty = isProperty;
}

namespace {

StringView RuntimeErrorText(Long number) {
  switch (number) {
    case runtime_error::kInvalidArgument:
      return u"Invalid argument";
    case runtime_error::kOverflow:
      return u"Overflow";
    case runtime_error::kOutOfMemory:
      return u"Out of memory";
    case runtime_error::kSubscript:
      return u"Subscript out of range";
    case runtime_error::kDivisionByZero:
      return u"Division by zero";
    case runtime_error::kTypeMismatch:
      return u"Type mismatch";
    case runtime_error::kObjectNotSet:
      return u"Object not set";
    case runtime_error::kInvalidUseOfNull:
      return u"Invalid use of Null";
    case runtime_error::kNoSuchMember:
      return u"The object has no such member";
    case runtime_error::kWrongArgumentCount:
      return u"Wrong number of arguments";
    case runtime_error::kKeyTaken:
      return u"The key is already taken";
    default:
      return u"Run-time error";
  }
}

}  // namespace

void RaiseRuntimeError(Long number, StringView detail) {
  ErrInfo info;
  info.Number = number;
  info.Source = u"Varnel";
  info.Description = RuntimeErrorText(number);
  if (!detail.empty()) info.Description.append(u": ").append(detail);
  throw Error(std::move(info));
}

ErrInfo CurrentError() {
  if (!std::current_exception()) return {};
  try {
    throw;
  } catch (const Error& error) {
    return error.Info();
  } catch (const std::bad_alloc&) {
    return {
        runtime_error::kOutOfMemory, u"Varnel", String(RuntimeErrorText(runtime_error::kOutOfMemory)), {}, 0};
  } catch (const std::exception& error) {
    return {runtime_error::kInvalidArgument, u"Varnel", FromUtf8(error.what()), {}, 0};
  }
}

}  // namespace varnel
