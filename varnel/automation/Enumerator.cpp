#include "varnel/automation/Enumerator.h"

namespace varnel {

const ClassInfo& Enumerator::Class() const {
  static const ClassInfo info{u"Enumerator", {}};
  return info;
}

}  // namespace varnel
