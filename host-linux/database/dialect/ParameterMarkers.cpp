#include "host-linux/database/dialect/ParameterMarkers.h"

#include "host-linux/base/NearestName.h"
#include "host-linux/database/dialect/ParameterValue.h"
#include "host-linux/database/dialect/SqlLexer.h"

namespace hostlinux {
namespace {

std::u16string Number(std::size_t number) {
  const std::string digits = std::to_string(number);
  return std::u16string(digits.begin(), digits.end());
}

}  // namespace

std::optional<std::size_t> ParameterMarkers::Find(std::u16string_view marker) {
  if (marker.starts_with(u':')) return FindNamed(marker.substr(1));
  if (marker.size() > 1) {
    return Refuse(u"The parameter " + std::u16string(marker) + u" has a number: write ? or :name.");
  }
  const std::size_t position = m_marks++;
  if (!m_parameters.byOrder) {
    return Refuse(
        u"Nobody gave the parameter ? a value. A Parameter of an ADODB.Command does; the text of a "
        u"DRecordset "
        u"names its parameters, as in :name.");
  }
  if (position >= m_parameters.values.size()) return std::nullopt;
  if (!CanBeBound(m_parameters.values[position].Value)) {
    return Refuse(u"The parameter at position " + Number(position) +
                  u" has no value that a statement can take.");
  }
  return position;
}

std::optional<std::size_t> ParameterMarkers::FindNamed(std::u16string_view name) {
  m_hasNames = true;
  if (m_names.empty()) {
    for (std::size_t i = m_parameters.values.size(); i-- > 0;) {
      m_names[UpperAscii(m_parameters.values[i].Name)] = i;
    }
  }
  const auto found = m_names.find(UpperAscii(name));
  if (found == m_names.end()) {
    return Refuse(u"Nobody gave the parameter :" + std::u16string(name) +
                  u" a value. SetParameter of a DRecordset does, or a Parameter of an ADODB.Command." +
                  NearestTo(name));
  }
  if (CanBeBound(m_parameters.values[found->second].Value)) return found->second;
  return Refuse(u"The parameter :" + std::u16string(name) + u" has no value that a statement can take.");
}

// The first one is told.
std::optional<std::size_t> ParameterMarkers::Refuse(std::u16string sentence) {
  if (m_fault.empty()) m_fault = std::move(sentence);
  return std::nullopt;
}

std::u16string ParameterMarkers::NearestTo(std::u16string_view name) const {
  std::vector<varnel::String> names;
  names.reserve(m_parameters.values.size());
  for (const varnel::host::StatementParameter& parameter : m_parameters.values)
    names.push_back(parameter.Name);
  return DidYouMean(name, names);
}

std::u16string ParameterMarkers::Fault() const {
  if (!m_fault.empty() || m_marks == 0) return m_fault;
  if (m_hasNames) return u"The text has parameters of both kinds, ? and :name. Use one of them.";
  if (m_marks == m_parameters.values.size()) return {};
  return u"The text has " + Number(m_marks) + (m_marks == 1 ? u" question mark" : u" question marks") +
         u", but the number of values for them is " + Number(m_parameters.values.size()) + u".";
}

}  // namespace hostlinux
