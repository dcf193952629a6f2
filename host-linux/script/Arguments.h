// The arguments of one call from a script, and what comes back in them.
#pragma once

#include <v8.h>

#include <array>
#include <vector>

#include "host-linux/script/Values.h"
#include "varnel/automation/Object.h"

namespace hostlinux {

class CallArguments {
 public:
  // Converts the arguments from left to right. Raises what ToVariant raises.
  CallArguments(ScriptCore& core, const v8::FunctionCallbackInfo<v8::Value>& call);

  varnel::Arguments Values();

  // Puts results into the script's ByRef objects, and changed elements into its arrays.
  void StoreBack();

 private:
  struct Reference {
    std::size_t position;
    v8::Local<v8::Object> holder;
    varnel::Variant before;
  };

  void Convert(const v8::FunctionCallbackInfo<v8::Value>& call, std::size_t count);

  ScriptCore& m_core;
  std::size_t m_count;
  std::array<varnel::Variant, 6> m_few;  // most calls need no memory of their own
  std::vector<varnel::Variant> m_many;
  std::vector<Reference> m_references;
  PassedArrays m_arrays;
};

}  // namespace hostlinux
