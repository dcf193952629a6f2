// Which value each parameter of a text stands for, and what is wrong where one has none.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "varnel/host/Ado.h"

namespace hostlinux {

// Asked for each parameter of one text, from the first to the last.
class ParameterMarkers {
 public:
  // `parameters` outlive it.
  explicit ParameterMarkers(const varnel::host::StatementParameters& parameters) : m_parameters(parameters) {}

  // The position of the value of `marker`, as it stands in the text; nothing where it has none.
  std::optional<std::size_t> Find(std::u16string_view marker);
  // The first thing that is wrong with the parameters, as a sentence; empty where nothing is. To be asked when all
  // parameters of the text have been.
  std::u16string Fault() const;

 private:
  std::optional<std::size_t> FindNamed(std::u16string_view name);
  std::optional<std::size_t> Refuse(std::u16string sentence);
  std::u16string NearestTo(std::u16string_view name) const;

  const varnel::host::StatementParameters& m_parameters;
  std::unordered_map<std::u16string, std::size_t> m_names;  // in upper case; made when first needed
  std::size_t m_marks = 0;                                  // question marks
  bool m_hasNames = false;
  std::u16string m_fault;
};

}  // namespace hostlinux
