#include "host-linux/database/AdoParameters.h"

#include <algorithm>
#include <cmath>

#include "host-linux/base/ListWalk.h"
#include "host-linux/base/NearestName.h"
#include "host-linux/database/AdoFailure.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

using varnel::ClassInfo;
using varnel::Long;
using varnel::Method;
using varnel::Property;
using varnel::ReadOnly;
using varnel::String;
using varnel::Variant;

namespace {

constexpr varnel::StringView kClass = u"Parameter";
constexpr varnel::StringView kCollection = u"Parameters";
constexpr Long kInput = 1;
constexpr std::size_t kShown = 40;  // characters of a value in a message

enum class Taken { AsItIs, Integer, WholeNumber, Number, Boolean, Day, Date, Text, Bytes, Nothing };

Taken TakenBy(Long type) {
  switch (type) {
    case 0:   // adEmpty
    case 12:  // adVariant
      return Taken::AsItIs;
    case 2:   // adSmallInt
    case 3:   // adInteger
    case 16:  // adTinyInt
    case 17:  // adUnsignedTinyInt
    case 18:  // adUnsignedSmallInt
      return Taken::Integer;
    case 19:  // adUnsignedInt
    case 20:  // adBigInt
    case 21:  // adUnsignedBigInt
      return Taken::WholeNumber;
    case 4:    // adSingle
    case 5:    // adDouble
    case 6:    // adCurrency
    case 14:   // adDecimal
    case 131:  // adNumeric
    case 139:  // adVarNumeric
      return Taken::Number;
    case 11:  // adBoolean
      return Taken::Boolean;
    case 133:  // adDBDate
      return Taken::Day;
    case 7:    // adDate
    case 135:  // adDBTimeStamp
      return Taken::Date;
    case 8:    // adBSTR
    case 129:  // adChar
    case 130:  // adWChar
    case 200:  // adVarChar
    case 201:  // adLongVarChar
    case 202:  // adVarWChar
    case 203:  // adLongVarWChar
      return Taken::Text;
    case 128:  // adBinary
    case 204:  // adVarBinary
    case 205:  // adLongVarBinary
      return Taken::Bytes;
    default:
      return Taken::Nothing;
  }
}

Variant BytesOf(const Variant& value) {
  if (!value.Is<varnel::BytesPtr>()) varnel::RaiseRuntimeError(varnel::runtime_error::kTypeMismatch);
  return value;
}

// "yyyy-mm-dd", as days are stored.
Variant DayOf(const Variant& value) {
  return Variant(varnel::FormatDatePattern(u"yyyy-MM-dd", varnel::SplitDate(varnel::ToDate(value)), {}, {}));
}

Variant Convert(Taken taken, const Variant& value) {
  switch (taken) {
    case Taken::Integer:
      return varnel::ToLong(value);
    case Taken::WholeNumber:
      return std::nearbyint(varnel::ToDouble(value));
    case Taken::Number:
      return varnel::ToDouble(value);
    case Taken::Boolean:
      return varnel::ToBoolean(value);
    case Taken::Day:
      return DayOf(value);
    case Taken::Date:
      return varnel::ToDate(value);
    case Taken::Text:
      return varnel::ToText(value);
    case Taken::Bytes:
      return BytesOf(value);
    default:
      return value;
  }
}

std::size_t LengthOf(const Variant& value) {
  if (const auto* text = value.As<String>()) return text->size();
  const auto* bytes = value.As<varnel::BytesPtr>();
  return bytes == nullptr || *bytes == nullptr ? 0 : (*bytes)->size();
}

String Shown(const Variant& value) {
  if (!value.IsText()) return varnel::TypeName(value);
  const String& text = *value.As<String>();
  return text.size() <= kShown ? u"'" + text + u"'" : u"'" + text.substr(0, kShown) + u"...'";
}

String DecimalText(std::size_t number) { return varnel::DecimalText(static_cast<std::int64_t>(number)); }

}  // namespace

const ClassInfo& AdoParameter::Class() const {
  using P = AdoParameter;
  static const ClassInfo info{u"Parameter",
                              {
                                  Property<&P::Name, &P::SetName>(u"Name"),
                                  Property<&P::Type, &P::SetType>(u"Type"),
                                  Property<&P::Direction, &P::SetDirection>(u"Direction"),
                                  Property<&P::Size, &P::SetSize>(u"Size"),
                                  Property<&P::Value, &P::SetValue>(u"Value").AsDefault(),
                              }};
  return info;
}

void AdoParameter::SetType(Long type) {
  if (TakenBy(type) == Taken::Nothing) {
    RaiseAdo(AdoFailure::InvalidArgument, kClass, varnel::DecimalText(type) + u" is no type of a parameter.");
  }
  m_type = type;
}

void AdoParameter::SetDirection(Long direction) {
  if (direction != kInput) {
    RaiseAdo(AdoFailure::NotAllowed, kClass, u"Values only go into a statement (direction 1).");
  }
}

void AdoParameter::SetSize(Long size) {
  if (size < 0) RaiseAdo(AdoFailure::InvalidArgument, kClass, u"A size is 0 or more.");
  m_size = size;
}

void AdoParameter::SetValue(const Variant& value) { m_value = varnel::host::ToParameterValue(value); }

Variant AdoParameter::Converted(const Variant& value) const {
  const String subject = u"The parameter '" + m_name + u"' ";
  if (value.IsEmpty()) RaiseAdo(AdoFailure::WrongType, kClass, subject + u"has no value.");
  if (value.IsNull()) return value;
  Variant converted;
  try {
    converted = Convert(TakenBy(m_type), value);
  } catch (const varnel::Error&) {
    RaiseAdo(
        AdoFailure::WrongType, kClass,
        subject + u"is of type " + varnel::DecimalText(m_type) + u" and can't take " + Shown(value) + u".");
  }
  if (m_size > 0 && LengthOf(converted) > static_cast<std::size_t>(m_size)) {
    RaiseAdo(AdoFailure::WrongType, kClass,
             subject + u"has a size of " + varnel::DecimalText(m_size) + u", and its value is " +
                 DecimalText(LengthOf(converted)) + u" long.");
  }
  return converted;
}

const ClassInfo& AdoParameters::Class() const {
  using P = AdoParameters;
  static const ClassInfo info{u"Parameters",
                              {
                                  ReadOnly<&P::Count>(u"Count"),
                                  ReadOnly<&P::Item>(u"Item").AsDefault(),
                                  Method<&P::Append>(u"Append"),
                                  Method<&P::Delete>(u"Delete"),
                              }};
  return info;
}

std::unique_ptr<varnel::Enumeration> AdoParameters::Enumerate() {
  return std::make_unique<ListWalk<varnel::ObjectPtr>>(
      std::vector<varnel::ObjectPtr>(m_parameters.begin(), m_parameters.end()));
}

std::size_t AdoParameters::Find(const Variant& key) const {
  const Variant plain = varnel::ToPlain(key);
  if (!plain.IsText()) {
    const Long position = varnel::ToLong(plain);
    if (position < 0 || position >= static_cast<Long>(m_parameters.size())) {
      RaiseAdo(AdoFailure::NoSuchItem, kCollection);
    }
    return static_cast<std::size_t>(position);
  }
  const String& name = *plain.As<String>();
  std::vector<String> names;
  for (const auto& parameter : m_parameters) {
    if (varnel::EqualsNoCase(parameter->Name(), name)) return names.size();
    names.push_back(parameter->Name());
  }
  RaiseAdo(AdoFailure::NoSuchItem, kCollection,
           u"There is no parameter '" + name + u"'." + DidYouMean(name, names));
}

std::shared_ptr<AdoParameter> AdoParameters::Item(const Variant& key) { return m_parameters[Find(key)]; }

void AdoParameters::Append(const std::shared_ptr<AdoParameter>& parameter) {
  if (parameter == nullptr) RaiseAdo(AdoFailure::InvalidArgument, kCollection);
  const String name = parameter->Name();
  const bool taken =
      !name.empty() && std::any_of(m_parameters.begin(), m_parameters.end(), [&](const auto& other) {
        return varnel::EqualsNoCase(other->Name(), name);
      });
  if (taken) RaiseAdo(AdoFailure::AlreadyPresent, kCollection, u"There is a parameter '" + name + u"'.");
  m_parameters.push_back(parameter);
}

void AdoParameters::Delete(const Variant& key) {
  m_parameters.erase(m_parameters.begin() + static_cast<std::ptrdiff_t>(Find(key)));
}

}  // namespace hostlinux
