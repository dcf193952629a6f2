// The arguments of one call from a script, and what comes back in them.
#pragma once

#include <v8.h>

#include <cstddef>
#include <vector>

#include "host-linux/script/Values.h"
#include "varnel/automation/Object.h"

namespace hostlinux {

class CallArguments {
 public:
  // What the texts among the arguments mostly are.
  enum class Texts { Data, Names };

  // Converts the arguments from left to right. Raises what ToVariant raises.
  CallArguments(ScriptCore& core, const v8::FunctionCallbackInfo<v8::Value>& call, Texts texts = Texts::Data);
  ~CallArguments();
  CallArguments(const CallArguments&) = delete;
  CallArguments& operator=(const CallArguments&) = delete;

  varnel::Arguments Values() { return m_values; }

  // Puts results into the script's ByRef objects, and changed elements and bytes into its arrays.
  void StoreBack();

 private:
  struct Reference {
    std::size_t position;
    v8::Local<v8::Object> holder;
    varnel::Variant before;
  };

  void Convert(const v8::FunctionCallbackInfo<v8::Value>& call);
  varnel::Variant Read(v8::Local<v8::Value> given);
  void Note(std::size_t position, v8::Local<v8::Value> given);

  // Most calls need no memory of their own, and pay for the values only that they have.
  static constexpr std::size_t kFew = 8;
  ScriptCore& m_core;
  const Texts m_texts;
  alignas(varnel::Variant) std::byte m_few[kFew * sizeof(varnel::Variant)];
  std::vector<varnel::Variant> m_many;
  varnel::Arguments m_values;
  std::vector<Reference> m_references;
  PassedArrays m_arrays;
};

}  // namespace hostlinux
