// ADODB.Parameter and the collection of a command's parameters.
#pragma once

#include <memory>
#include <vector>

#include "varnel/automation/Object.h"
#include "varnel/host/Ado.h"

namespace hostlinux {

// One value of a command, which goes into it only: no engine gives values back by parameters. Without a type (0, or
// 12) the value goes as it is; else it is converted when the command runs, and so read by the user's locale where it
// is a text.
class AdoParameter : public varnel::Object {
 public:
  const varnel::ClassInfo& Class() const override;

  varnel::String Name() { return m_name; }
  void SetName(const varnel::String& name) { m_name = name; }
  varnel::Long Type() { return m_type; }
  // Raises 3001 for a code that is no type of a value.
  void SetType(varnel::Long type);
  varnel::Long Direction() { return 1; }
  // 1 is the only one; 3219 for another.
  void SetDirection(varnel::Long direction);
  // The longest text or the most bytes; 0 is no limit. Raises 3001 below 0.
  varnel::Long Size() { return m_size; }
  void SetSize(varnel::Long size);
  varnel::Variant Value() { return m_value; }
  // An object gives its default value now. Raises 5 for what is no value, such as undefined.
  void SetValue(const varnel::Variant& value);

  // What a statement gets for `value`, which is Empty or one that SetValue has taken. Raises 3421 for Empty, for a
  // value that isn't of the type, and for one that is too long.
  varnel::Variant Converted(const varnel::Variant& value) const;

 private:
  varnel::String m_name;
  varnel::Long m_type = 0;
  varnel::Long m_size = 0;
  varnel::Variant m_value;
};

// Positions from 0; names in any case of letters.
class AdoParameters : public varnel::Object {
 public:
  const varnel::ClassInfo& Class() const override;
  std::unique_ptr<varnel::Enumeration> Enumerate() override;
  void LetGo() noexcept override { m_parameters.clear(); }

  varnel::Long Count() { return static_cast<varnel::Long>(m_parameters.size()); }
  // A number is a position, any other value a name. Raises 3265 for what isn't there.
  std::shared_ptr<AdoParameter> Item(const varnel::Variant& key);
  // Raises 3001 for Nothing, 3367 for a name that is taken.
  void Append(const std::shared_ptr<AdoParameter>& parameter);
  void Delete(const varnel::Variant& key);

  const std::vector<std::shared_ptr<AdoParameter>>& All() const { return m_parameters; }

 private:
  std::size_t Find(const varnel::Variant& key) const;

  std::vector<std::shared_ptr<AdoParameter>> m_parameters;
};

}  // namespace hostlinux
