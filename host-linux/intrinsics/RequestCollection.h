// The values that a request carries in one place: query, form, cookies or server variables.
#pragma once

#include <map>
#include <vector>

#include "host-linux/intrinsics/FormFields.h"
#include "host-linux/intrinsics/RequestBound.h"
#include "varnel/automation/Object.h"
#include "varnel/host/Intrinsics.h"

namespace hostlinux {

// The values of one key, as a script sees them: as a value all of them joined with ", ", or Empty where there
// is none; called with a position from 1, one of them. A for-each walks the values.
class RequestValue : public varnel::Object, public RequestBound {
 public:
  explicit RequestValue(std::vector<varnel::String> values) : m_values(std::move(values)) {}

  const varnel::ClassInfo& Class() const override;
  std::unique_ptr<varnel::Enumeration> Enumerate() override;

  // The value at that position; left out: all joined. Raises 9 outside.
  varnel::Variant Item(const varnel::Variant& position) const;
  varnel::Long Count() const { return static_cast<varnel::Long>(m_values.size()); }

 private:
  std::vector<varnel::String> m_values;
};

// Keys ignore case and keep the order and spelling of their first value. A for-each walks the keys.
class RequestCollection : public varnel::Object,
                          public varnel::host::IRequestCollection,
                          public RequestBound {
 public:
  // `fields` in UTF-8. `raw` is what the collection is as a value, the text before it was taken apart.
  RequestCollection(const std::vector<FormField>& fields, varnel::String raw);

  const varnel::ClassInfo& Class() const override;
  std::unique_ptr<varnel::Enumeration> Enumerate() override;

  varnel::Long Count() const override;
  varnel::String Key(varnel::Long position) const override;
  varnel::String ValueAt(varnel::Long position) const override;
  varnel::Variant Value(varnel::StringView key) const override;
  varnel::Long ValueCount(varnel::StringView key) const override;

  // The values of a key (text; a missing one has a Count of 0) or at a position from 1 (anything else, raises
  // 9 outside). Left out: the raw text.
  varnel::Variant Item(const varnel::Variant& keyOrPosition) const;

 private:
  struct Entry {
    varnel::String key;
    std::vector<varnel::String> values;
  };

  const Entry* Find(varnel::StringView key) const;
  const Entry& At(varnel::Long position) const;

  varnel::String m_raw;
  std::vector<Entry> m_entries;
  std::map<varnel::String, std::size_t> m_positions;  // of folded keys
};

}  // namespace hostlinux
