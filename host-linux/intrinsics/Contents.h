// `Session.Contents` and `Application.Contents`: the values by key, to read and to write.
#pragma once

#include <memory>
#include <vector>

#include "host-linux/intrinsics/RequestBound.h"
#include "varnel/automation/Object.h"

namespace hostlinux {

// What the values belong to.
class IKeyedValues {
 public:
  virtual ~IKeyedValues() = default;
  virtual varnel::Variant Read(varnel::StringView key) = 0;  // Empty where it isn't set
  virtual void Store(varnel::StringView key, const varnel::Variant& value) = 0;
  virtual void Remove(varnel::StringView key) = 0;
  virtual void RemoveAll() = 0;
  virtual std::vector<varnel::String> Keys() = 0;  // in the order of their first setting
};

// `contents["a"] = v` writes; a name that is a member can't be written so (438). A for-each walks the keys.
class Contents : public varnel::Object, public RequestBound {
 public:
  explicit Contents(std::shared_ptr<IKeyedValues> values) : m_values(std::move(values)) {}

  const varnel::ClassInfo& Class() const override;
  varnel::Variant Get(varnel::StringView name) override;
  void Put(varnel::StringView name, const varnel::Variant& value) override;
  std::unique_ptr<varnel::Enumeration> Enumerate() override;

  // By key (text; Empty where it isn't set) or position from 1 (anything else; 9 outside).
  varnel::Variant Item(const varnel::Variant& keyOrPosition);
  varnel::Long Count();
  varnel::String Key(varnel::Long position);  // 9 outside
  void Remove(const varnel::Variant& keyOrPosition);
  void RemoveAll();

 private:
  varnel::String KeyOf(const varnel::Variant& keyOrPosition);

  std::shared_ptr<IKeyedValues> m_values;
};

}  // namespace hostlinux
