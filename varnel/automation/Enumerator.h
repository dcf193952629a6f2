// A collection's enumerator as an object, for who asks a collection for it by name.
#pragma once

#include "varnel/automation/Object.h"

namespace varnel {

// Has no members of its own: each for-each over it walks the elements of its collection from the first one
// on.
class Enumerator : public Object {
 public:
  // `collection` isn't Nothing.
  explicit Enumerator(ObjectPtr collection) : m_collection(std::move(collection)) {}

  const ClassInfo& Class() const override;
  std::unique_ptr<Enumeration> Enumerate() override { return m_collection->Enumerate(); }

 private:
  const ObjectPtr m_collection;
};

}  // namespace varnel
