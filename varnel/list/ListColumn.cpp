#include "varnel/list/ListColumn.h"

#include "varnel/automation/Members.h"

namespace varnel {

namespace {

constexpr Long kMostDecimals = 9;

ListFormatKind FormatNamed(const String& name) {
  if (EqualsNoCase(name, u"number")) return ListFormatKind::Number;
  if (EqualsNoCase(name, u"date")) return ListFormatKind::Date;
  if (EqualsNoCase(name, u"datetime")) return ListFormatKind::DateAndTime;
  if (EqualsNoCase(name, u"text")) return ListFormatKind::Plain;
  RaiseRuntimeError(runtime_error::kInvalidArgument,
                    u"a format is \"number\", \"date\", \"datetime\" or \"text\"");
}

}  // namespace

String FieldOfName(StringView name) {
  const auto dot = name.rfind(u'.');
  return Trim(dot == StringView::npos ? name : name.substr(dot + 1));
}

ListColumn::ListColumn(const String& name, const String& title) {
  m_sName = m_sExpression = Trim(name);
  m_sField = FieldOfName(m_sName);
  m_sTitle = title;
}

const ClassInfo& ListColumn::Class() const {
  using C = ListColumn;
  static const ClassInfo info{u"ListColumn",
                              {
                                  Method<&C::Link>(u"Link", {Missing()}).Taking(u"file, field, parameter"),
                                  Method<&C::Format>(u"Format", {Missing()}).Taking(u"kind, decimals"),
                                  Method<&C::Align>(u"Align").Taking(u"side"),
                                  Method<&C::Sortable>(u"Sortable").Taking(u"isSortable"),
                                  Method<&C::SortBy>(u"SortBy").Taking(u"name"),
                                  Method<&C::Expression>(u"Expression").Taking(u"expression"),
                                  Method<&C::Template>(u"Template").Taking(u"function"),
                              }};
  return info;
}

std::shared_ptr<ListColumn> ListColumn::Link(const String& file, const String& field,
                                             const Variant& parameter) {
  m_Link = {file, FieldOfName(field), parameter.IsMissing() ? FieldOfName(field) : ToText(parameter)};
  return Self();
}

std::shared_ptr<ListColumn> ListColumn::Format(const String& kind, const Variant& decimals) {
  const ListFormatKind format = FormatNamed(kind);
  const Long count = decimals.IsMissing() ? -1 : ToLong(decimals);
  if (!decimals.IsMissing() && (count < 0 || count > kMostDecimals))
    RaiseRuntimeError(runtime_error::kInvalidArgument, u"a number has 0 to 9 decimals");
  m_eFormat = format;
  m_lDecimals = count;
  return Self();
}

std::shared_ptr<ListColumn> ListColumn::Align(const String& side) {
  const String name = ToLower(side);
  if (name != u"start" && name != u"center" && name != u"end")
    RaiseRuntimeError(runtime_error::kInvalidArgument, u"a side is \"start\", \"center\" or \"end\"");
  m_sAlign = name;
  return Self();
}

std::shared_ptr<ListColumn> ListColumn::Sortable(bool isSortable) {
  m_bSortable = isSortable;
  return Self();
}

std::shared_ptr<ListColumn> ListColumn::SortBy(const String& name) {
  m_sSortName = Trim(name);
  m_bSortable = true;
  return Self();
}

std::shared_ptr<ListColumn> ListColumn::Expression(const String& expression) {
  m_sExpression = Trim(expression);
  return Self();
}

std::shared_ptr<ListColumn> ListColumn::Template(const ObjectPtr& function) {
  if (function == nullptr) RaiseRuntimeError(runtime_error::kInvalidArgument, u"a template is a function");
  m_Template = function;
  return Self();
}

bool ListColumn::IsNamed(StringView name) const {
  return EqualsNoCase(name, m_sField) || EqualsNoCase(name, m_sName);
}

}  // namespace varnel
